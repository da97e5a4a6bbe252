// Each screen's catalogue of layouts and its active layout, as stored in the settings.
#include "FakeDisplayServer.h"
#include "FakeHotkeyBackend.h"
#include "TestSupport.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/LayoutBridge.h"

#include <gtest/gtest.h>

namespace {

const QString kUuidA = "0F3C1B2A-1111-5222-8333-444455556666";

QStringList idsOf(const LayoutList& list)
{
    QStringList ids;
    for (const auto& layout : list)
        ids << layout->idText();
    return ids;
}

class LayoutManagerTest : public ::testing::Test
{
protected:
    LayoutManagerTest()
    {
        displays.setDisplays({FakeDisplayServer::display(kUuidA, "A", {0, 0, 1512, 982}, {0, 25, 1512, 957}),
            FakeDisplayServer::display("7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF", "B", {1512, 0, 1920, 1080})});
        a = screens.screens().at(0);
        b = screens.screens().at(1);
        QObject::connect(manager.get(), &LayoutManager::activeLayoutChanged,
            [this](std::shared_ptr<Layout> layout) { announced.push_back(layout); });
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

    FakeDisplayServer displays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    FakeHotkeyBackend hotkeys;
    GlobalShortcuts shortcuts {hotkeys, settings};
    ScreenManager screens {displays, settings};
    std::unique_ptr<LayoutManager> manager = std::make_unique<LayoutManager>(settings, screens, shortcuts);
    Screen a, b;
    LayoutList announced;
};

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
    LayoutList borders;
    QObject::connect(manager.get(), &LayoutManager::layoutBordersRequested,
        [&](std::shared_ptr<Layout> layout) { borders.push_back(layout); });
    ASSERT_TRUE(shortcuts.setShortcut(target->idText(), key).ok());
    manager->registerShortcutIfNeeded(target);
    manager->registerShortcutIfNeeded(target);
    ASSERT_TRUE(hotkeys.press(key));
    EXPECT_EQ(manager->activeFor(a), target);
    EXPECT_EQ(borders, LayoutList {target}) << "once, however often registered";

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
