// Screens: a display at one resolution, known by an id that outlives restarts and
// unplugging, and the conversions between desktop space and a screen's layout space.
#include "FakeDisplayServer.h"
#include "TestSupport.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/ScreenManager.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

const QString kUuidA = "0F3C1B2A-1111-5222-8333-444455556666";
const QString kUuidB = "7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF";
const DisplayInfo kLeft = FakeDisplayServer::display(kUuidA, "LEFT", {0, 0, 1512, 982}, {0, 25, 1512, 957});
const DisplayInfo kRight = FakeDisplayServer::display(kUuidB, "RIGHT", {1512, 0, 1920, 1080}, {1582, 0, 1850, 1050});

class ScreenManagerTest : public ::testing::Test
{
protected:
    QMap<QString, QByteArray> stored() const { return settings.blobs(Keys::screens); }

    FakeDisplayServer displays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    ScreenManager manager {displays, settings};
};

TEST_F(ScreenManagerTest, ScreensFollowThePlatformOrderAndAreRememberedWithTheNameTheyFirstHad)
{
    displays.setDisplays({kRight, kLeft});
    const QList<Screen> screens = manager.screens();
    ASSERT_EQ(screens.size(), 2);
    EXPECT_EQ(screens[0].id(), kUuidB + "-1920x1080");
    EXPECT_EQ(screens[1].id(), kUuidA + "-1512x982");
    EXPECT_EQ(screens[0].name(), "RIGHT");
    ASSERT_EQ(stored().size(), 2);
    EXPECT_EQ(Screen::fromJson(stored().value(screens[1].id()))->name(), "LEFT");

    // Another start without displays still knows them; a renamed display keeps its first name.
    FakeDisplayServer renamed;
    DisplayInfo builtIn = kLeft;
    builtIn.name = "Built-in";
    ScreenManager later(renamed, settings);
    EXPECT_TRUE(later.screens().isEmpty());
    renamed.setDisplays({builtIn});
    EXPECT_EQ(later.screens().value(0).name(), "LEFT");
    EXPECT_EQ(later.add(builtIn)->name(), "Built-in") << "add() from the display takes the current name";
    EXPECT_EQ(stored().size(), 2);
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
    EXPECT_TRUE(manager.screens().isEmpty()) << "no usable identifier, no screen";
    EXPECT_TRUE(stored().isEmpty());

    displays.setDisplays({kLeft});
    const Screen before = manager.screens().value(0);
    DisplayInfo bigger = kLeft;
    bigger.frame = QRectF(0, 0, 1800, 1169);
    bigger.visibleFrame = QRectF(0, 25, 1800, 1144);
    QList<quint32> flags;
    QObject::connect(&manager, &ScreenManager::displayReconfiguration, [&](quint32 f) { flags << f; });
    displays.changeDisplays({bigger}, 0x20);
    const Screen after = manager.screens().value(0);
    EXPECT_EQ(after.id(), kUuidA + "-1800x1169");
    EXPECT_FALSE(manager.visibleFrameOf(before).has_value()) << "not connected at that size";
    EXPECT_EQ(manager.visibleFrameOf(after), QRectF(0, 25, 1800, 1144));
    EXPECT_EQ(manager.displayUuidOf(after), kUuidA);
    displays.changeDisplays({kLeft}, 1);
    EXPECT_EQ(manager.screens().value(0), before) << "found again, not made anew";
    EXPECT_EQ(stored().keys(), (QStringList {before.id(), after.id()}));
    EXPECT_EQ(flags, (QList<quint32> {0x20, 1}));
}

TEST_F(ScreenManagerTest, UndecodableEntriesSurviveAndAreReplacedOnlyForTheirOwnDisplay)
{
    const QString leftId = kUuidA + "-1512x982";
    settings.setBlobs(Keys::screens, {{"someone-else-800x600", "{not json"}, {leftId, R"({"id":"wrong-1x1","name":"x"})"}});
    EXPECT_FALSE(manager.screen(leftId).has_value()) << "an entry must carry its own key as id";
    displays.setDisplays({kLeft});
    EXPECT_EQ(manager.screens().value(0).name(), "LEFT");
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
        EXPECT_EQ(manager.screenWithPoint(row.point).value_or(Screen()).name(), row.screen) << row.point.x();
    displays.setPointer(QPointF(2000, 500));
    EXPECT_EQ(manager.screenWithMouse()->name(), "RIGHT");
    DisplayInfo mirror = kRight;
    mirror.frame = kLeft.frame;
    displays.setDisplays({mirror, kLeft});
    EXPECT_EQ(manager.screenWithPoint(QPointF(10, 10))->name(), "RIGHT") << "mirrored: the first in platform order";

    // Layout space is the visible frame's own space.
    displays.setDisplays({kLeft, kRight});
    const Screen screen = manager.screens().value(1);
    EXPECT_EQ(manager.layoutToDesktop(screen, QRectF(10, 20, 300, 400)), QRectF(1592, 20, 300, 400));
    EXPECT_EQ(manager.positionInVisibleFrame(screen, QPointF(1600, 30)), QPointF(18, 30));
    EXPECT_FALSE(manager.layoutToDesktop(Screen("gone-1x1", "gone"), QRectF(0, 0, 1, 1)).has_value());
}

} // namespace
