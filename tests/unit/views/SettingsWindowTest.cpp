// The settings window offscreen: every control writes its key with the key's type at
// once and follows the key when it changes elsewhere; the adjusters show only under their
// switches; a cancelled colour dialog changes nothing; the Layouts tab adds, activates,
// removes and gives layouts shortcuts that work.
#include "views/SettingsWindow.h"
#include "FakePlatform.h"
#include "FakeWindowControl.h"
#include "TestSupport.h"
#include "app/StatusMenu.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowManager.h"
#include "views/ColorWell.h"
#include "views/CrispValueAdjuster.h"
#include "views/CrispValueAdjusterModel.h"
#include "views/ExcludedApplicationsModel.h"
#include "views/ExcludedApplicationsView.h"
#include "views/LayoutsViewModel.h"
#include "views/MoreSettingsView.h"
#include "views/ShortcutRecorder.h"
#include "views/ShortcutRecorderModel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QTabWidget>
#include <QTest>

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
    FakeWindowControl control;
    WindowManager windows {control};
    SettingsWindow window {{settings, layouts, screens, windows,
        [this](
            const QString& name, QWidget* parent) -> QWidget* { return new ShortcutRecorder(shortcuts, name, parent); },
        QStringLiteral("0.1.0 (7)"), QStringLiteral("the application menu")}};
};

TEST_F(SettingsWindowTest, EverySwitchWritesItsKeyAtOnceAndFollowsItBack)
{
    const BoolKey* keys[] = {&Keys::launchAtLogin, &Keys::hideMenuBarIcon, &Keys::restoreSizeOnUnsnap,
        &Keys::restoreSnappedWindows, &Keys::spanAdjancedZones, &Keys::enableGaps, &Keys::useSystemAccentColor,
        &Keys::holdShiftToSnap, &Keys::shortcutsOnEveryScreen, &Keys::automaticUpdates, &Keys::betaUpdates};
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
    // On each tab every Alt+letter leads to one control only (hidden tabs' letters do not fire).
    auto* tabs = window.findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    const QRegularExpression mnemonic(QStringLiteral("&([^&])"));
    for (int tab = 0; tab < tabs->count(); ++tab) {
        QStringList letters {QStringLiteral("q")}; // Quit, below the tabs
        for (QWidget* widget : tabs->widget(tab)->findChildren<QWidget*>()) {
            const auto* button = qobject_cast<QAbstractButton*>(widget);
            const auto* label = qobject_cast<QLabel*>(widget);
            const QString text = button ? button->text() : label ? label->text() : QString();
            if (const QRegularExpressionMatch match = mnemonic.match(text); match.hasMatch())
                letters << match.captured(1).toLower();
        }
        EXPECT_EQ(QSet<QString>(letters.begin(), letters.end()).size(), letters.size())
            << tabs->tabText(tab).toStdString() << ": " << letters.join(' ').toStdString();
        if (tab == 0) {
            EXPECT_EQ(letters.size(), 10) << "every switch and button of General has one";
        }
    }
}

// Names typed (Enter) or picked with a click on a window, removed by the button or
// Delete: each change writes excludedApplications whole at once, and a change made by
// another program shows in the list.
TEST_F(SettingsWindowTest, NeverSnappedApplicationsAreTypedOrPickedRemovedAndFollowTheFile)
{
    window.show();
    auto* view = window.findChild<ExcludedApplicationsView*>();
    auto* list = find<QListWidget>(Keys::excludedApplications.name);
    auto* name = find<QLineEdit>("excludedApplicationName");
    auto* remove = find<QPushButton>("removeExcludedApplication");
    auto* pick = find<QPushButton>("pickWindow");
    ASSERT_TRUE(view && list && name && remove && pick);
    const auto shown = [list] {
        QStringList items;
        for (int row = 0; row < list->count(); ++row)
            items << list->item(row)->text();
        return items;
    };
    for (const char* typed : {" xterm ", "", "XTERM", "Gimp"}) {
        name->setText(QString::fromLatin1(typed));
        QTest::keyClick(name, Qt::Key_Return);
    }
    EXPECT_EQ(settings.value(Keys::excludedApplications), (QStringList {"xterm", "Gimp"})) << "trimmed, once";
    EXPECT_EQ(shown(), (QStringList {"xterm", "Gimp"}));

    // Esc ends a pick without a name; a click on Parqueta's own window adds nothing; a
    // click elsewhere adds the class of the window there.
    control.addWindow(8, QRectF(0, 0, 300, 300), "Parqueta").app.pid = QCoreApplication::applicationPid();
    control.addWindow(9, QRectF(0, 0, 300, 300), "Firefox");
    const QString idle = pick->text();
    pick->click();
    EXPECT_TRUE(pick->text().contains("Esc")) << pick->text().toStdString();
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_EQ(pick->text(), idle);
    for (const quint32 id : {8u, 9u}) {
        control.setWindowAtCursor(id);
        pick->click();
        QTest::mouseClick(view, Qt::LeftButton);
    }
    EXPECT_FALSE(view->model().isPicking());
    EXPECT_EQ(shown(), (QStringList {"xterm", "Gimp", "org.example.Firefox"}));

    list->setCurrentRow(0);
    remove->click();
    list->setCurrentRow(1);
    QTest::keyClick(list, Qt::Key_Delete);
    EXPECT_EQ(settings.value(Keys::excludedApplications), (QStringList {"Gimp"}));
    settings.setValue(Keys::excludedApplications, QStringList {"Steam", "krita"});
    EXPECT_EQ(shown(), (QStringList {"Steam", "krita"}));
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
