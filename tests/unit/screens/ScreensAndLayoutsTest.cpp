// Screens (a display at one resolution, known by an id that outlives restarts and
// unplugging, with conversions between desktop and layout space) and each screen's
// catalogue of layouts and its active layout, as stored in the settings.
#include "FakePlatform.h"
#include "TestSupport.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/LayoutBridge.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

const QString kUuidA = "0F3C1B2A-1111-5222-8333-444455556666";
const QString kUuidB = "7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF";
const DisplayInfo kLeft = FakeDisplayServer::display(kUuidA, "LEFT", {0, 0, 1512, 982}, {0, 25, 1512, 957});
const DisplayInfo kRight = FakeDisplayServer::display(kUuidB, "RIGHT", {1512, 0, 1920, 1080}, {1582, 0, 1850, 1050});

QStringList idsOf(const LayoutList& list)
{
    QStringList ids;
    for (const auto& layout : list)
        ids << layout->idText();
    return ids;
}

class ScreenManagerTest : public ::testing::Test
{
protected:
    ScreenManagerTest()
    {
        QObject::connect(manager.get(), &LayoutManager::activeLayoutChanged,
            [this](std::shared_ptr<Layout> layout) { announced.push_back(layout); });
    }
    QMap<QString, QByteArray> stored() const { return settings.blobs(Keys::screens); }

    FakeDisplayServer displays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    FakeHotkeyBackend hotkeys;
    GlobalShortcuts shortcuts {hotkeys, settings};
    ScreenManager screens {displays, settings};
    std::unique_ptr<LayoutManager> manager = std::make_unique<LayoutManager>(settings, screens, shortcuts);
    LayoutList announced;
};

TEST_F(ScreenManagerTest, ScreensFollowThePlatformOrderAndAreRememberedWithTheNameTheyFirstHad)
{
    displays.setDisplays({kRight, kLeft});
    const QList<Screen> found = screens.screens();
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0].id(), kUuidB + "-1920x1080");
    EXPECT_EQ(found[1].id(), kUuidA + "-1512x982");
    EXPECT_EQ(Screen::fromJson(stored().value(found[1].id()))->name(), "LEFT");

    // Another start without displays still knows them; a renamed display keeps its first name.
    FakeDisplayServer renamed;
    DisplayInfo builtIn = kLeft;
    builtIn.name = "Built-in";
    ScreenManager later(renamed, settings);
    EXPECT_TRUE(later.screens().isEmpty());
    renamed.setDisplays({builtIn});
    EXPECT_EQ(later.screens().value(0).name(), "LEFT");
    EXPECT_EQ(later.add(builtIn)->name(), "Built-in") << "add() from the display takes the current name";
}

TEST_F(ScreenManagerTest, TheIdIsTheDisplayAndItsTruncatedSizeAndANewSizeIsANewScreen)
{
    DisplayInfo odd = kLeft;
    odd.frame = QRectF(0, 0, 1511.5, 981.99);
    EXPECT_EQ(ScreenManager::identifierOf(odd), kUuidA + "-1511x981");
    DisplayInfo noUuid = kLeft;
    noUuid.uuid.clear();
    DisplayInfo infinite = kRight;
    infinite.frame.setWidth(std::numeric_limits<double>::infinity());
    DisplayInfo huge = kRight;
    huge.frame.setHeight(1e12);
    displays.setDisplays({noUuid, infinite, huge});
    EXPECT_TRUE(screens.screens().isEmpty()) << "no usable identifier, no screen";
    EXPECT_TRUE(stored().isEmpty());

    displays.setDisplays({kLeft});
    const Screen before = screens.screens().value(0);
    DisplayInfo bigger = kLeft;
    bigger.frame = QRectF(0, 0, 1800, 1169);
    bigger.visibleFrame = QRectF(0, 25, 1800, 1144);
    QList<quint32> flags;
    QObject::connect(&screens, &ScreenManager::displayReconfiguration, [&](quint32 f) { flags << f; });
    displays.changeDisplays({bigger}, 0x20);
    const Screen after = screens.screens().value(0);
    EXPECT_EQ(after.id(), kUuidA + "-1800x1169");
    EXPECT_FALSE(screens.visibleFrameOf(before).has_value()) << "not connected at that size";
    EXPECT_EQ(screens.visibleFrameOf(after), QRectF(0, 25, 1800, 1144));
    EXPECT_EQ(screens.displayUuidOf(after), kUuidA);
    displays.changeDisplays({kLeft}, 1);
    EXPECT_EQ(screens.screens().value(0), before) << "found again, not made anew";
    EXPECT_EQ(stored().keys(), (QStringList {before.id(), after.id()}));
    EXPECT_EQ(flags, (QList<quint32> {0x20, 1}));
}

TEST_F(ScreenManagerTest, UndecodableEntriesSurviveAndAreReplacedOnlyForTheirOwnDisplay)
{
    const QString leftId = kUuidA + "-1512x982";
    settings.setBlobs(Keys::screens, {{"someone-else-800x600", "{not json"}, {leftId, R"({"id":"wrong-1x1","name":"x"})"}});
    EXPECT_FALSE(screens.screen(leftId).has_value()) << "an entry must carry its own key as id";
    displays.setDisplays({kLeft});
    EXPECT_EQ(screens.screens().value(0).name(), "LEFT");
    EXPECT_EQ(stored().value("someone-else-800x600"), "{not json");
}

TEST_F(ScreenManagerTest, PointsBelongToTheFirstDisplayWhoseFrameHoldsThemLeftAndTopEdgesIncluded)
{
    displays.setDisplays({kLeft, kRight});
    const struct
    {
        QPointF point;
        const char* screen;
    } rows[] = {{{0, 0}, "LEFT"}, {{1511.9, 981.9}, "LEFT"}, {{1512, 10}, "RIGHT"}, {{100, 982}, ""},
        {{-1, 5}, ""}, {{3431.9, 1079.9}, "RIGHT"}, {{3432, 500}, ""}};
    for (const auto& row : rows)
        EXPECT_EQ(screens.screenWithPoint(row.point).value_or(Screen()).name(), row.screen) << row.point.x();
    displays.setPointer(QPointF(2000, 500));
    EXPECT_EQ(screens.screenWithMouse()->name(), "RIGHT");
}

// Catalogues on two screens: A (LEFT) and B (RIGHT).
class LayoutManagerTest : public ScreenManagerTest
{
protected:
    LayoutManagerTest()
    {
        displays.setDisplays({kLeft, kRight});
        a = screens.screens().at(0);
        b = screens.screens().at(1);
    }

    // What a fresh reader of the store finds: the ids of the readable layouts of a key.
    QStringList storedIds(const QString& key) const
    {
        QStringList ids;
        for (const QByteArray& blob : settings.blobLists(Keys::layouts).value(key))
            if (const auto layout = LayoutBridge::deserialize(blob))
                ids << layout->idText();
        return ids;
    }
    QString storedActive(const Screen& screen) const { return settings.strings(Keys::activeLayouts).value(screen.id()); }

    Screen a, b;
};

TEST_F(LayoutManagerTest, StoredTreesThatDoNotFitTheirScreenAreScaledOrShownAsOneZoneButKeptAsStored)
{
    // LEFT's visible frame is 1512 x 957.
    const QByteArray huge = R"({"id":"11111111-0000-4000-8000-000000000001","root":{"x":0,"y":0,"width":1e12,"height":957,)"
                            R"("children":[{"x":0,"y":0,"width":2.5e11,"height":957,"splitType":0},)"
                            R"({"x":2.5e11,"y":0,"width":7.5e11,"height":957,"splitType":0}]}})";
    const QByteArray broken = R"({"id":"11111111-0000-4000-8000-000000000002","root":{"x":0,"y":0,"width":1512,"height":957,)"
                              R"("children":[{"x":0,"y":0,"width":300,"height":957,"splitType":0},)"
                              R"({"x":900,"y":0,"width":-50,"height":957,"splitType":0}]}})";
    settings.setBlobLists(Keys::layouts, {{a.id(), {huge, broken}}});
    const LayoutList list = manager->layouts(a);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]->root()->rect(), QRectF(0, 0, 1512, 957));
    EXPECT_EQ(list[0]->zones().at(0)->rect(), QRectF(0, 0, 378, 957)) << "a quarter, on a whole point";
    ASSERT_EQ(list[1]->zones().size(), 1u);
    EXPECT_EQ(list[1]->zones()[0]->rect(), QRectF(0, 0, 1512, 957));
    EXPECT_EQ(settings.blobLists(Keys::layouts).value(a.id()), (QList<QByteArray> {huge, broken}))
        << "what is stored stays until it is saved over";
}

TEST_F(LayoutManagerTest, RemovingALayoutMovesTheActiveOneOnlyWhenItWasTheOneRemoved)
{
    EXPECT_EQ(manager->activeFor(a)->zones()[0]->rect(), QRectF(0, 0, 1512, 957)) << "an unknown screen: one zone";
    EXPECT_TRUE(settings.blobLists(Keys::layouts).isEmpty()) << "stored only once saved";
    manager->setDefaultLayouts();
    const LayoutList presets = manager->layouts(a);
    ASSERT_EQ(presets.size(), 3u);
    manager->setActiveFor(a, presets[1]);
    announced.clear();

    manager->remove(presets[2]);
    EXPECT_EQ(storedActive(a), presets[1]->idText());
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(storedIds(a.id()), idsOf({presets[0], presets[1]}));
    manager->remove(presets[1]);
    EXPECT_EQ(manager->activeFor(a), presets[0]);
    EXPECT_EQ(announced, LayoutList {presets[0]});
    manager->remove(presets[0]);
    ASSERT_EQ(manager->layouts(a).size(), 1u) << "never without a layout";
    EXPECT_EQ(storedActive(a), manager->layouts(a)[0]->idText());
    EXPECT_EQ(storedIds(b.id()).size(), 3) << "the other screen is untouched";

    // Presets are activated for all screens only while each has exactly its three.
    manager->setActiveLayoutForAllScreens(DefaultLayoutType::rightT);
    EXPECT_EQ(storedActive(b), "");
    manager->setDefaultLayouts();
    manager->setActiveLayoutForAllScreens(DefaultLayoutType::rightT);
    EXPECT_EQ(manager->activeFor(b)->zones().size(), 3u);
}

TEST_F(LayoutManagerTest, TheCatalogueSurvivesARestartAndOneStoredUnderTheBareDisplayMovesToTheScreen)
{
    const auto first = manager->defaultLayout(DefaultLayoutType::vertical, a);
    const auto second = manager->defaultLayout(DefaultLayoutType::doubleRightT, a);
    settings.setBlobLists(Keys::layouts, {{kUuidA, {*LayoutBridge::serialize(first), "{not json", *LayoutBridge::serialize(second)}}});
    const LayoutList loaded = manager->layouts(a);
    EXPECT_EQ(idsOf(loaded), idsOf({first, second}));
    EXPECT_EQ(loaded[1]->zones().front()->screen(), a);
    EXPECT_FALSE(settings.blobLists(Keys::layouts).contains(kUuidA));
    EXPECT_EQ(storedIds(a.id()), idsOf({first, second}));

    loaded[0]->root()->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
    manager->save(loaded[0]);
    manager->setActiveFor(a, loaded[0]);
    LayoutManager restarted(settings, screens, shortcuts);
    EXPECT_EQ(restarted.activeFor(a)->idText(), first->idText());
    ASSERT_EQ(restarted.activeFor(a)->zones().size(), 3u);
    EXPECT_EQ(restarted.activeFor(a)->zones()[2]->rect(), loaded[0]->zones()[2]->rect());
    restarted.save(LayoutList {restarted.defaultLayout(DefaultLayoutType::rightT, a)}, a);
    EXPECT_EQ(manager->layouts(a).size(), 2u) << "a loaded catalogue is not reread";
}

TEST_F(LayoutManagerTest, ALayoutsShortcutActivatesItUntilItIsRemovedOrTheManagerIsGone)
{
    const KeyCombination key(Qt::ControlModifier | Qt::AltModifier, Qt::Key_2);
    manager->setDefaultLayouts();
    const auto target = manager->layouts(a)[2];
    announced.clear();
    ASSERT_TRUE(shortcuts.setShortcut(target->idText(), key).ok());
    manager->registerShortcutIfNeeded(target);
    manager->registerShortcutIfNeeded(target);
    ASSERT_TRUE(hotkeys.press(key));
    EXPECT_EQ(announced, LayoutList {target}) << "once, however often registered";

    manager.reset();
    ASSERT_TRUE(hotkeys.press(key)); // the handler outlives its manager without acting for it
    manager = std::make_unique<LayoutManager>(settings, screens, shortcuts);
    manager->setActiveFor(a, manager->layouts(a)[0]);
    ASSERT_TRUE(hotkeys.press(key)) << "a manager that loads the catalogue binds the stored shortcut";
    EXPECT_EQ(storedActive(a), target->idText());
    manager->remove(manager->layouts(a)[2]);
    EXPECT_FALSE(hotkeys.press(key));
}

} // namespace
