#include "managers/LayoutManager.h"
#include "FakeDisplayServer.h"
#include "FakeHotkeyBackend.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/ScreenManager.h"
#include "models/LayoutBridge.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

const QString kUuidA = QStringLiteral("0F3C1B2A-1111-5222-8333-444455556666");
const QString kUuidB = QStringLiteral("7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF");
const KeyCombination kCombo(Qt::ControlModifier | Qt::AltModifier, Qt::Key_2);

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
            FakeDisplayServer::display(kUuidB, "B", {1512, 0, 1920, 1080})});
        a = screens.screens().at(0);
        b = screens.screens().at(1);
        QObject::connect(manager.get(), &LayoutManager::activeLayoutChanged,
            [this](std::shared_ptr<Layout> layout) { announced.push_back(layout); });
    }

    // What a fresh reader of the store finds: the ids of the readable layouts per key.
    QStringList storedIds(const QString& key) const
    {
        QStringList ids;
        for (const QByteArray& blob : settings.blobLists(Keys::layouts).value(key))
            if (const auto layout = LayoutBridge::deserialize(blob))
                ids << layout->idText();
        return ids;
    }
    QMap<QString, QString> active() const { return settings.strings(Keys::activeLayouts); }

    FakeDisplayServer displays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    FakeHotkeyBackend hotkeys;
    GlobalShortcuts shortcuts {hotkeys, settings};
    ScreenManager screens {displays, settings};
    std::unique_ptr<LayoutManager> manager = std::make_unique<LayoutManager>(settings, screens, shortcuts);
    Screen a, b;
    LayoutList announced;
};

TEST_F(LayoutManagerTest, UnknownScreenGetsACachedSingleZoneThatIsStoredOnlyWhenSaved)
{
    const auto layout = manager->activeFor(a);
    ASSERT_EQ(layout->zones().size(), 1u);
    EXPECT_EQ(layout->zones()[0]->rect(), QRectF(0, 0, 1512, 957));
    EXPECT_EQ(layout->screen(), a);
    EXPECT_EQ(manager->activeFor(a), layout);
    EXPECT_TRUE(settings.blobLists(Keys::layouts).isEmpty());

    manager->save(layout);
    EXPECT_EQ(storedIds(a.id()), QStringList {layout->idText()});
}

TEST_F(LayoutManagerTest, RemovingKeepsTheActiveLayoutUnlessItWasTheOneRemoved)
{
    manager->setDefaultLayouts();
    const LayoutList presets = manager->layouts(a);
    ASSERT_EQ(presets.size(), 3u);
    EXPECT_EQ(storedIds(b.id()).size(), 3);
    manager->setActiveFor(a, presets[1]);
    const auto activeBefore = active();
    announced.clear();

    manager->remove(presets[2]);
    EXPECT_EQ(active(), activeBefore);
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(storedIds(a.id()), idsOf({presets[0], presets[1]}));

    manager->remove(presets[1]);
    EXPECT_EQ(manager->activeFor(a), presets[0]);
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(announced[0], presets[0]);

    manager->remove(presets[0]);
    const LayoutList left = manager->layouts(a);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0]->zones().size(), 1u);
    EXPECT_FALSE(sameLayout(left[0], presets[0]));
    EXPECT_EQ(active().value(a.id()), left[0]->idText());
    EXPECT_EQ(storedIds(a.id()), idsOf(left));
    EXPECT_EQ(storedIds(b.id()).size(), 3); // the other screen is untouched
}

TEST_F(LayoutManagerTest, PresetActivationStopsAtTheFirstScreenWithoutExactlyThreeLayouts)
{
    manager->setDefaultLayouts();
    const auto extra = manager->defaultLayout(DefaultLayoutType::vertical, a);
    manager->save(extra);
    manager->setActiveLayoutForAllScreens(DefaultLayoutType::rightT);
    EXPECT_TRUE(active().isEmpty());
    EXPECT_TRUE(announced.empty());

    manager->remove(extra);
    manager->setActiveLayoutForAllScreens(DefaultLayoutType::rightT);
    EXPECT_EQ(manager->activeFor(a), manager->layouts(a)[1]);
    EXPECT_EQ(manager->activeFor(b), manager->layouts(b)[1]);
    EXPECT_EQ(manager->activeFor(b)->zones().size(), 3u);
    EXPECT_EQ(announced.size(), 2u);
}

TEST_F(LayoutManagerTest, CatalogueUnderTheBareDisplayUuidMovesToTheScreenDroppingUnreadableBlobs)
{
    const auto first = manager->defaultLayout(DefaultLayoutType::vertical, a);
    const auto second = manager->defaultLayout(DefaultLayoutType::doubleRightT, a);
    const QByteArray other = *LayoutBridge::serialize(manager->defaultLayout(DefaultLayoutType::rightT, b));
    settings.setBlobLists(Keys::layouts,
        {{kUuidA, {*LayoutBridge::serialize(first), "{not json", *LayoutBridge::serialize(second)}},
            {b.id(), {other}}});

    const LayoutList loaded = manager->layouts(a);
    EXPECT_EQ(idsOf(loaded), idsOf({first, second}));
    for (const auto& layout : loaded) {
        EXPECT_EQ(layout->screen(), a);
        EXPECT_EQ(layout->zones().front()->screen(), a);
    }
    const auto stored = settings.blobLists(Keys::layouts);
    EXPECT_FALSE(stored.contains(kUuidA));
    EXPECT_EQ(storedIds(a.id()), idsOf({first, second}));
    EXPECT_EQ(stored.value(b.id()), QList<QByteArray> {other});

    // A screen whose entry holds nothing readable falls back to one zone.
    settings.setBlobLists(Keys::layouts, {{b.id(), {"garbage"}}});
    EXPECT_EQ(manager->layouts(b).size(), 1u);
}

TEST_F(LayoutManagerTest, CatalogueSurvivesANewManagerWhileALoadedCacheIgnoresTheStore)
{
    manager->setDefaultLayouts();
    const auto edited = manager->layouts(a)[0];
    edited->root()->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
    manager->save(edited);
    manager->setActiveFor(a, edited);

    LayoutManager second(settings, screens, shortcuts);
    const LayoutList reloaded = second.layouts(a);
    EXPECT_EQ(idsOf(reloaded), idsOf(manager->layouts(a)));
    EXPECT_EQ(second.activeFor(a)->idText(), edited->idText());
    ASSERT_EQ(second.activeFor(a)->zones().size(), 3u);
    EXPECT_EQ(second.activeFor(a)->zones()[2]->rect(), edited->zones()[2]->rect());

    second.save(LayoutList {second.defaultLayout(DefaultLayoutType::doubleRightT, a)}, a);
    EXPECT_EQ(manager->layouts(a).size(), 3u);
    EXPECT_EQ(manager->activeFor(a), edited);
}

TEST_F(LayoutManagerTest, LayoutShortcutActivatesItsLayoutOnceUntilRemovedOrTheManagerIsGone)
{
    manager->setDefaultLayouts();
    const auto target = manager->layouts(a)[2];
    LayoutList borders;
    QObject::connect(manager.get(), &LayoutManager::layoutBordersRequested,
        [&](std::shared_ptr<Layout> layout) { borders.push_back(layout); });

    manager->registerShortcutIfNeeded(target);
    EXPECT_FALSE(shortcuts.isEnabled(target->idText()));

    ASSERT_TRUE(shortcuts.setShortcut(target->idText(), kCombo).ok());
    manager->registerShortcutIfNeeded(target);
    manager->registerShortcutIfNeeded(target);
    ASSERT_TRUE(hotkeys.press(kCombo));
    EXPECT_EQ(manager->activeFor(a), target);
    EXPECT_EQ(announced, LayoutList {target});
    EXPECT_EQ(borders, LayoutList {target});

    // The handler outlives its manager without acting for it.
    manager.reset();
    ASSERT_TRUE(hotkeys.press(kCombo));
    EXPECT_EQ(borders.size(), 1u);

    // A manager that loads the catalogue binds the stored shortcut by itself.
    manager = std::make_unique<LayoutManager>(settings, screens, shortcuts);
    manager->setActiveFor(a, manager->layouts(a)[0]);
    ASSERT_TRUE(hotkeys.press(kCombo));
    EXPECT_EQ(active().value(a.id()), target->idText());

    manager->remove(manager->layouts(a)[2]);
    EXPECT_FALSE(hotkeys.press(kCombo));
    EXPECT_EQ(announced.size(), 1u);
}

} // namespace
