// The settings window offscreen: every control writes its key with the key's type at
// once and follows the key when it changes elsewhere; the adjusters show only under their
// switches; a cancelled colour dialog changes nothing; the Layouts tab adds, activates,
// removes and gives layouts shortcuts that work.
#include "views/SettingsWindow.h"
#include "FakePlatform.h"
#include "TestSupport.h"
#include "app/StatusMenu.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "views/ColorWell.h"
#include "views/CrispValueAdjuster.h"
#include "views/CrispValueAdjusterModel.h"
#include "views/LayoutsViewModel.h"
#include "views/MoreSettingsView.h"
#include "views/ShortcutRecorder.h"
#include "views/ShortcutRecorderModel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMenu>

#include <gtest/gtest.h>

namespace {

// One display, connected before anything reads the screens.
FakeDisplayServer& withOneDisplay(FakeDisplayServer& displays)
{
    displays.setDisplays({FakeDisplayServer::display(
        "11111111-1111-1111-1111-111111111111", "LEFT", QRectF(0, 0, 1280, 1080), QRectF(0, 0, 1280, 1050))});
    return displays;
}

// The presets installed before the window reads the catalogue.
struct Presets
{
    Presets(GlobalShortcuts& shortcuts, LayoutManager& layouts)
    {
        shortcuts.registerDefaultShortcuts();
        layouts.setDefaultLayouts();
    }
};

class SettingsWindowTest : public ::testing::Test
{
protected:
    template <typename T> T* find(const char* name) { return window.findChild<T*>(QString::fromLatin1(name)); }
    Screen screen() { return screens.screens().at(0); }

    FakeDisplayServer displays;
    FakeHotkeyBackend hotkeys;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    ScreenManager screens {withOneDisplay(displays), settings};
    GlobalShortcuts shortcuts {hotkeys, settings};
    LayoutManager layouts {settings, screens, shortcuts};
    Presets presets {shortcuts, layouts};
    SettingsWindow window {{settings, layouts, screens,
        [this](
            const QString& name, QWidget* parent) -> QWidget* { return new ShortcutRecorder(shortcuts, name, parent); },
        QStringLiteral("0.1.0 (7)"), QStringLiteral("the application menu")}};
};

TEST_F(SettingsWindowTest, EverySwitchWritesItsKeyAtOnceAndFollowsItBack)
{
    const BoolKey* keys[] = {&Keys::launchAtLogin, &Keys::hideMenuBarIcon, &Keys::restoreSizeOnUnsnap,
        &Keys::spanAdjancedZones, &Keys::enableGaps, &Keys::useSystemAccentColor, &Keys::holdShiftToSnap,
        &Keys::shortcutsOnEveryScreen, &Keys::automaticUpdates, &Keys::betaUpdates};
    window.more().setUpdatesAvailable(true);
    for (const BoolKey* key : keys) {
        SCOPED_TRACE(key->name);
        auto* toggle = find<QAbstractButton>(key->name);
        ASSERT_NE(toggle, nullptr);
        EXPECT_EQ(toggle->isChecked(), key->defaultValue);
        toggle->click();
        EXPECT_EQ(settings.value(*key), !key->defaultValue);
        settings.setValue(*key, key->defaultValue); // the tray, or the file edited by hand
        EXPECT_EQ(toggle->isChecked(), key->defaultValue);
    }
}

TEST_F(SettingsWindowTest, AdjustersWriteNumbersAndShowOnlyUnderTheirSwitches)
{
    window.show();
    const std::tuple<const DoubleKey*, const BoolKey*, const char*, double> rows[] = {
        {&Keys::gapSize, &Keys::enableGaps, "12", 12.0},
        {&Keys::gapSize, &Keys::enableGaps, "400", 50.0}, // clamped at the slider's end
        {&Keys::autoSpanDistance, &Keys::spanAdjancedZones, "35.5", 35.5},
    };
    for (const auto& [number, toggle, typed, stored] : rows) {
        SCOPED_TRACE(std::string(number->name) + " " + typed);
        auto* adjuster = find<CrispValueAdjuster>(number->name);
        ASSERT_NE(adjuster, nullptr);
        settings.setValue(*toggle, false);
        EXPECT_FALSE(adjuster->isVisible());
        settings.setValue(*toggle, true);
        EXPECT_TRUE(adjuster->isVisible());
        EXPECT_TRUE(adjuster->model().submitText(QString::fromLatin1(typed)));
        EXPECT_EQ(settings.value(*number), stored);
        settings.setValue(*number, 4.0);
        EXPECT_EQ(adjuster->model().value(), 4.0) << "an outside change shows";
    }
}

TEST_F(SettingsWindowTest, ColourWellsStoreWhatIsChosenAndNothingWhenCancelled)
{
    for (const ColorKey* key : {&Keys::customAccentColor, &Keys::zoneHighlightColor, &Keys::zoneTextLightColor,
             &Keys::zoneTextDarkColor, &Keys::zoneBackgroundLightColor, &Keys::zoneBackgroundDarkColor}) {
        SCOPED_TRACE(key->name);
        auto* well = find<ColorWell>(key->name);
        ASSERT_NE(well, nullptr);
        const QColor before = settings.value(*key);
        well->setPicker([](const QColor&) { return QColor(); });
        well->click();
        EXPECT_EQ(settings.value(*key), before);
        well->setPicker([](const QColor&) { return QColor(10, 20, 30, 40); });
        well->click();
        EXPECT_EQ(settings.value(*key), QColor(10, 20, 30, 40));
    }
}

TEST_F(SettingsWindowTest, LayoutsAreAddedActivatedRemovedAndGetShortcutsThatWork)
{
    LayoutsViewModel& model = window.layoutsModel();
    std::shared_ptr<Layout> edited;
    QObject::connect(&model, &LayoutsViewModel::editRequested,
        [&](const Screen&, const std::shared_ptr<Layout>& layout) { edited = layout; });
    ASSERT_EQ(model.layouts().size(), 3u);
    model.add(std::nullopt);
    ASSERT_EQ(model.layouts().size(), 4u);
    ASSERT_TRUE(edited) << "a new layout opens in the editor";
    EXPECT_EQ(edited->zones().size(), 1u);
    EXPECT_EQ(layouts.lookupLayouts(screen())->size(), 4u) << "saved at once";

    model.activate(2);
    EXPECT_EQ(model.activeIndex(), 2);
    EXPECT_EQ(layouts.activeFor(screen())->id(), model.layouts()[2]->id());

    // A layout's shortcut, recorded through its control, makes it active.
    const KeyCombination combination(Qt::ControlModifier | Qt::AltModifier, Qt::Key_F5);
    ASSERT_TRUE(shortcuts.setShortcut(model.layouts()[1]->idText(), combination).ok());
    ASSERT_TRUE(hotkeys.press(combination));
    EXPECT_EQ(model.activeIndex(), 1);
    // While any recorder listens, the layout's keys reach it instead of switching layouts.
    ShortcutRecorderModel recorder(shortcuts, ShortcutNames::cycleWindowLeft);
    recorder.startListening();
    EXPECT_FALSE(hotkeys.press(combination));
    recorder.cancel();
    EXPECT_TRUE(hotkeys.press(combination));

    while (!model.layouts().empty() && model.layouts().front()->zones().size() != 1)
        model.remove(0);
    model.remove(0);
    ASSERT_EQ(model.layouts().size(), 1u) << "the last layout of a screen leaves a single zone";
    EXPECT_EQ(model.layouts().front()->zones().size(), 1u);
}

} // namespace

namespace {

// The tray menu in its order: the editor, the version, About, updates (disabled without
// an update service), the community link only with an address, the layouts, Settings
// with its shortcut, Quit.
TEST(StatusMenuTest, ItemsInTheirOrder)
{
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    for (const QString& community : {QString(), QStringLiteral("https://example.org/chat")}) {
        StatusMenu status(settings, community);
        // A build with an update feed (here the one with a community link too) offers checks.
        const bool updates = !community.isEmpty();
        status.setUpdatesAvailable(updates);
        QStringList items;
        for (QAction* action : status.menu()->actions()) {
            if (!action->isVisible())
                continue;
            QString item = action->isSeparator() ? QStringLiteral("-") : action->text();
            if (!action->isEnabled())
                item += QStringLiteral(" (disabled)");
            if (!action->shortcut().isEmpty())
                item += QLatin1Char(' ') + action->shortcut().toString();
            items << item;
        }
        QStringList expected {"Open layout editor…", "-",
            "Version " + QApplication::applicationVersion() + " (disabled)", "About " + QApplication::applicationName()};
        if (updates)
            expected << "Check for updates…";
        if (!community.isEmpty())
            expected << "Join our community";
        expected << "-"
                 << "Layouts"
                 << "Settings… Ctrl+,"
                 << "Quit";
        EXPECT_EQ(items, expected);
    }
}

} // namespace
