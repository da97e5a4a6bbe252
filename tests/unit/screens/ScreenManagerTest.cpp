#include "managers/ScreenManager.h"
#include "FakeDisplayServer.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

const QString kUuidA = QStringLiteral("0F3C1B2A-1111-5222-8333-444455556666");
const QString kUuidB = QStringLiteral("7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF");

class ScreenManagerTest : public ::testing::Test
{
protected:
    ScreenManagerTest()
        : settings(std::make_unique<MemorySettingsBackend>())
        , manager(displays, settings)
    { }

    static DisplayInfo left()
    {
        return FakeDisplayServer::display(
            kUuidA, QStringLiteral("LEFT"), QRectF(0, 0, 1512, 982), QRectF(0, 25, 1512, 957));
    }
    static DisplayInfo right()
    {
        return FakeDisplayServer::display(
            kUuidB, QStringLiteral("RIGHT"), QRectF(1512, 0, 1920, 1080), QRectF(1582, 0, 1850, 1050));
    }

    QMap<QString, QByteArray> stored() const { return settings.blobs(Keys::screens); }

    FakeDisplayServer displays;
    Settings settings;
    ScreenManager manager;
};

TEST_F(ScreenManagerTest, ScreensFollowThePlatformOrderAndArePersistedOnFirstSight)
{
    displays.setDisplays({right(), left()});
    const QList<Screen> screens = manager.screens();
    ASSERT_EQ(screens.size(), 2);
    EXPECT_EQ(screens[0].id(), kUuidB + QStringLiteral("-1920x1080"));
    EXPECT_EQ(screens[0].name(), QStringLiteral("RIGHT"));
    EXPECT_EQ(screens[1].id(), kUuidA + QStringLiteral("-1512x982"));

    const QMap<QString, QByteArray> blobs = stored();
    ASSERT_EQ(blobs.size(), 2);
    for (const Screen& screen : screens) {
        const std::optional<Screen> decoded = Screen::fromJson(blobs.value(screen.id()));
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->name(), screen.name());
    }

    // A second manager on the same settings knows them without a display.
    FakeDisplayServer none;
    ScreenManager later(none, settings);
    EXPECT_TRUE(later.screens().isEmpty()) << "no display connected: no screens";
    ASSERT_TRUE(later.screen(screens[1].id()).has_value());
    EXPECT_EQ(later.screen(screens[1].id())->name(), QStringLiteral("LEFT"));
}

TEST_F(ScreenManagerTest, KnownScreenKeepsTheNameItWasCreatedWith)
{
    const QString id = kUuidA + QStringLiteral("-1512x982");
    manager.add(Screen(id, QStringLiteral("Built-in")));
    displays.setDisplays({left()});
    ASSERT_EQ(manager.screens().size(), 1);
    EXPECT_EQ(manager.screens()[0].name(), QStringLiteral("Built-in"));
    EXPECT_EQ(manager.screenFor(left())->name(), QStringLiteral("Built-in"));

    // add() from the display replaces the entry with the current name.
    const std::optional<Screen> replaced = manager.add(left());
    ASSERT_TRUE(replaced.has_value());
    EXPECT_EQ(replaced->name(), QStringLiteral("LEFT"));
    EXPECT_EQ(manager.screen(id)->name(), QStringLiteral("LEFT"));
    EXPECT_EQ(stored().size(), 1);
}

TEST_F(ScreenManagerTest, DisplaysWithoutIdentifierAreSkippedAndNothingIsStored)
{
    DisplayInfo noUuid = left();
    noUuid.uuid.clear();
    DisplayInfo infinite = right();
    infinite.frame.setWidth(std::numeric_limits<double>::infinity());
    DisplayInfo huge = right();
    huge.uuid = QStringLiteral("11111111-2222-5333-8444-555555555555");
    huge.frame.setHeight(1e12);
    displays.setDisplays({noUuid, infinite, huge});

    EXPECT_TRUE(manager.screens().isEmpty());
    EXPECT_FALSE(manager.add(noUuid).has_value());
    EXPECT_FALSE(manager.screenFor(infinite).has_value());
    EXPECT_FALSE(ScreenManager::identifierOf(huge).has_value());
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(ScreenManagerTest, IdentifierTruncatesTheSizeAndTellsModelsApart)
{
    DisplayInfo odd = left();
    odd.frame = QRectF(0, 0, 1511.5, 981.99);
    EXPECT_EQ(ScreenManager::identifierOf(odd), kUuidA + QStringLiteral("-1511x981"));

    // Two displays of the same model at the same size differ by their UUID only.
    DisplayInfo twin = right();
    twin.uuid = kUuidA;
    displays.setDisplays({right(), twin});
    const QList<Screen> screens = manager.screens();
    ASSERT_EQ(screens.size(), 2);
    EXPECT_NE(screens[0].id(), screens[1].id());
    EXPECT_EQ(stored().size(), 2);
}

TEST_F(ScreenManagerTest, NewResolutionIsANewScreenAndTheOldOneStaysStored)
{
    displays.setDisplays({left()});
    const Screen before = manager.screens().value(0);
    ASSERT_TRUE(manager.visibleFrameOf(before).has_value());

    DisplayInfo bigger = left();
    bigger.frame = QRectF(0, 0, 1800, 1169);
    bigger.visibleFrame = QRectF(0, 25, 1800, 1144);
    displays.changeDisplays({bigger});
    const QList<Screen> after = manager.screens();
    ASSERT_EQ(after.size(), 1);
    EXPECT_TRUE(after[0].id().endsWith(QStringLiteral("-1800x1169")));
    EXPECT_NE(after[0], before);
    EXPECT_TRUE(stored().contains(before.id()));
    EXPECT_TRUE(stored().contains(after[0].id()));

    EXPECT_FALSE(manager.displayFor(before).has_value());
    EXPECT_FALSE(manager.visibleFrameOf(before).has_value());
    EXPECT_FALSE(manager.displayUuidOf(before).has_value());
    EXPECT_EQ(manager.visibleFrameOf(after[0]), QRectF(0, 25, 1800, 1144));
    EXPECT_EQ(manager.displayUuidOf(after[0]), kUuidA);

    // Back at the old size, the old screen is found again, not created anew.
    displays.changeDisplays({left()});
    EXPECT_EQ(manager.screens().value(0), before);
    EXPECT_EQ(stored().size(), 2);
}

TEST_F(ScreenManagerTest, UndecodableEntriesSurviveAndAreReplacedOnlyForTheirOwnDisplay)
{
    const QString leftId = kUuidA + QStringLiteral("-1512x982");
    settings.setBlobs(Keys::screens,
        {{QStringLiteral("someone-else-800x600"), QByteArray("{not json")},
            {leftId, QByteArray(R"({"id":"wrong-1x1","name":"x"})")}});
    EXPECT_FALSE(manager.screen(QStringLiteral("someone-else-800x600")).has_value());
    EXPECT_FALSE(manager.screen(leftId).has_value()) << "an entry must carry its own key as id";

    displays.setDisplays({left()});
    ASSERT_EQ(manager.screens().size(), 1);
    EXPECT_EQ(manager.screens()[0].id(), leftId);
    EXPECT_EQ(manager.screen(leftId)->name(), QStringLiteral("LEFT"));
    EXPECT_EQ(stored().value(QStringLiteral("someone-else-800x600")), QByteArray("{not json"));
}

TEST_F(ScreenManagerTest, ScreenWithPointPrefersTheFirstDisplayAndHonoursEdges)
{
    displays.setDisplays({left(), right()});
    EXPECT_EQ(manager.screenWithPoint(QPointF(0, 0))->name(), QStringLiteral("LEFT"));
    EXPECT_EQ(manager.screenWithPoint(QPointF(1511.9, 981.9))->name(), QStringLiteral("LEFT"));
    EXPECT_EQ(manager.screenWithPoint(QPointF(1512, 10))->name(), QStringLiteral("RIGHT")) << "shared edge";
    EXPECT_FALSE(manager.screenWithPoint(QPointF(100, 982)).has_value()) << "below LEFT, beside RIGHT's x range";
    EXPECT_FALSE(manager.screenWithPoint(QPointF(-1, 5)).has_value());

    // Overlapping (mirrored) displays: the first in platform order wins.
    DisplayInfo mirror = right();
    mirror.frame = left().frame;
    displays.setDisplays({mirror, left()});
    EXPECT_EQ(manager.screenWithPoint(QPointF(10, 10))->name(), QStringLiteral("RIGHT"));

    displays.setDisplays({left(), right()});
    displays.setPointer(QPointF(2000, 500));
    EXPECT_EQ(manager.screenWithMouse()->name(), QStringLiteral("RIGHT"));
    displays.setPointer(QPointF(5000, 500));
    EXPECT_FALSE(manager.screenWithMouse().has_value());
}

TEST_F(ScreenManagerTest, ConvertsThroughTheConnectedVisibleFrame)
{
    displays.setDisplays({left(), right()});
    const Screen screen = manager.screens().value(1);
    EXPECT_EQ(manager.layoutToDesktop(screen, QRectF(10, 20, 300, 400)), QRectF(1592, 20, 300, 400));
    EXPECT_EQ(manager.positionInVisibleFrame(screen, QPointF(1600, 30)), QPointF(18, 30));
    const Screen gone(QStringLiteral("gone-1x1"), QStringLiteral("gone"));
    EXPECT_FALSE(manager.layoutToDesktop(gone, QRectF(0, 0, 1, 1)).has_value());
    EXPECT_FALSE(manager.positionInVisibleFrame(gone, QPointF()).has_value());
    const ScreenGeometry& geometry = manager;
    EXPECT_EQ(geometry.visibleFrameOf(screen), right().visibleFrame);
}

TEST_F(ScreenManagerTest, EveryDisplayChangeIsPassedOnUnfiltered)
{
    QList<quint32> received;
    QObject::connect(&manager, &ScreenManager::displayReconfiguration, [&](quint32 flags) { received << flags; });
    displays.changeDisplays({left()}, 1);
    displays.changeDisplays({left()}, 1);
    displays.changeDisplays({}, 0x20);
    EXPECT_EQ(received, (QList<quint32> {1, 1, 0x20}));
    EXPECT_TRUE(manager.screens().isEmpty());
}

} // namespace
