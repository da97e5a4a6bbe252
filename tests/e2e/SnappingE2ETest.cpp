// The main road with the real program: title-bar drags of real windows into the zones of
// both monitors, zone mode switched on by Shift or a right click, multi-zone with Alt and
// by spanning, and unsnapping by dragging out. Run per window manager, with and without a
// compositor.
#include "E2EFixture.h"

using namespace E2E;

namespace {

const QString kLeft = QStringLiteral("LEFT");
const QString kRight = QStringLiteral("RIGHT");

class SnappingTest : public Fixture, public ::testing::WithParamInterface<DesktopSetup>
{
protected:
    void SetUp() override { prepare(GetParam()); }
};

TEST_P(SnappingTest, ShiftDragSnapsIntoEveryZoneOfBothMonitors)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("plain"));
    const xcb_window_t term = xterm(QStringLiteral("terminal"));
    ASSERT_EQ(zones.zones().size(), 4) << "first run: the two-column preset on each monitor";

    for (const DesktopZone& zone : zones.zones()) {
        SCOPED_TRACE(zone.screenName.toStdString() + " zone " + zone.zoneId.toStdString());
        const DragReport report = driver.drag(plain, zones.dropPoint(zone.screenName, zone.zoneId));
        EXPECT_TRUE(report.windowMoved);
        EXPECT_TRUE(report.overlayShown) << log();
        EXPECT_EQ(report.overlaysAtDrop, 2) << "one overlay per monitor";
        EXPECT_TRUE(report.overlayHiddenAfter);
        EXPECT_TRUE(driver.waitForFrame(plain, zone.frame)) << "got " << frameText(plain);

        const DragReport terminal = driver.drag(term, zones.dropPoint(zone.screenName, zone.zoneId, QPoint(0, 100)));
        EXPECT_TRUE(terminal.overlayShown);
        EXPECT_TRUE(driver.waitForFrame(term, zone.frame, kCell)) << "got " << frameText(term);
    }
}

TEST_P(SnappingTest, OverlaysCoverExactlyTheVisibleFrames)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("overlay geometry"));
    QList<QRect> seen;
    DragOptions options;
    options.beforeRelease = [&] { seen = overlays.mappedGeometries(); };
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")), options);
    EXPECT_EQ(seen, (QList<QRect> {zones.visibleFrame(kLeft)->toRect(), zones.visibleFrame(kRight)->toRect()}));
    EXPECT_EQ(zones.visibleFrame(kRight)->height(), VirtualDesktop::kHeight - VirtualDesktop::kPanelHeight)
        << "the panel's strut is left out on RIGHT";
}

TEST_P(SnappingTest, RightClickTogglesZoneModeOnAndOff)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("right click"));
    const QRect target = frame(kRight, QStringLiteral("2"));

    DragOptions on;
    on.toggle = ZoneToggle::RightClick;
    const DragReport first = driver.drag(plain, zones.dropPoint(kRight, QStringLiteral("2")), on);
    EXPECT_TRUE(first.overlayShown) << log();
    EXPECT_TRUE(first.overlayHiddenAfter);
    // openbox goes on moving the window after a right click; metacity ends its own move
    // there, and the release snaps the window from where it stopped.
    EXPECT_EQ(first.windowMovedAfterToggle, GetParam().windowManager == WindowManagerKind::Openbox);
    EXPECT_TRUE(driver.waitForFrame(plain, target)) << "got " << frameText(plain);

    // On and off again: nothing is snapped and the window is out of its zone.
    DragOptions twice;
    twice.toggle = ZoneToggle::RightClickTwice;
    const DragReport second = driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("1")), twice);
    EXPECT_TRUE(second.overlayShown);
    EXPECT_EQ(second.overlaysAtDrop, 0) << "the second click switched zone mode off";
    GestureDriver::pump(300);
    const QRect after = driver.frameOf(plain).value_or(QRect());
    EXPECT_NE(after, frame(kLeft, QStringLiteral("1")));
    EXPECT_NE(after, target);
}

TEST_P(SnappingTest, InToggleModeShiftLetGoBeforeTheButtonStillSnaps)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("toggle"));
    DragOptions early;
    early.toggle = ZoneToggle::ShiftReleasedEarly;
    const DragReport report = driver.drag(plain, zones.dropPoint(kRight, QStringLiteral("1")), early);
    EXPECT_TRUE(report.overlayShown) << log();
    EXPECT_EQ(report.overlaysAtDrop, 2);
    EXPECT_TRUE(driver.waitForFrame(plain, frame(kRight, QStringLiteral("1")))) << "got " << frameText(plain);
}

TEST_P(SnappingTest, AltSelectsEveryZoneThePointerCrosses)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("multi zone"));
    DragOptions options;
    options.multiZone = true;
    options.via = {zones.dropPoint(kRight, QStringLiteral("1"))};
    const DragReport report = driver.drag(plain, zones.dropPoint(kRight, QStringLiteral("2")), options);
    EXPECT_TRUE(report.overlayShown) << log();
    const QRect both = *zones.unitedFrame(kRight, {QStringLiteral("1"), QStringLiteral("2")});
    EXPECT_TRUE(driver.waitForFrame(plain, both)) << "got " << frameText(plain);

    // Without Alt only the zone under the pointer at the end counts.
    options.multiZone = false;
    options.via = {zones.dropPoint(kLeft, QStringLiteral("1"))};
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")), options);
    EXPECT_TRUE(driver.waitForFrame(plain, frame(kLeft, QStringLiteral("2")))) << "got " << frameText(plain);
}

TEST_P(SnappingTest, NearABorderTheWindowSpansBothNeighbours)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    ASSERT_GT(zones.spanDistance(), 2) << "span-adjacent is on by default";
    const xcb_window_t plain = plainWindow(QStringLiteral("span"));
    const DesktopZone left = *zones.zone(kLeft, QStringLiteral("1"));
    const int border = qRound(left.rect.right());
    const int inside = int(zones.spanDistance() / 2) - 2;
    const QPoint nearBorder(border - inside, qRound(left.rect.center().y()));
    driver.drag(plain, nearBorder);
    const QRect both = *zones.unitedFrame(kLeft, {QStringLiteral("1"), QStringLiteral("2")});
    EXPECT_TRUE(driver.waitForFrame(plain, both)) << "got " << frameText(plain);

    // Just beyond the span square's reach: one zone.
    driver.drag(plain, QPoint(border - inside - 8, nearBorder.y() + 50));
    EXPECT_TRUE(driver.waitForFrame(plain, left.frame)) << "got " << frameText(plain);
}

TEST_P(SnappingTest, DraggingASnappedWindowOutRestoresItsSize)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("restore"), QRect(150, 200, 420, 300));
    const QSize before = driver.frameOf(plain)->size();
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")));
    ASSERT_TRUE(driver.waitForFrame(plain, frame(kLeft, QStringLiteral("2")))) << "got " << frameText(plain);

    DragOptions plainDrag;
    plainDrag.toggle = ZoneToggle::None;
    const DragReport out = driver.drag(plain, QPoint(1700, 500), plainDrag);
    EXPECT_FALSE(out.overlayShown) << "no zone mode without a toggle";
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.frameOf(plain)->size() == before; }))
        << "got " << frameText(plain);
    EXPECT_GT(driver.frameOf(plain)->left(), 1280) << "left where it was dropped";
}

TEST_P(SnappingTest, WithRestoreSizeOffADraggedOutWindowKeepsTheZoneSize)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) { s.setValue(Keys::restoreSizeOnUnsnap, false); }));
    const xcb_window_t plain = plainWindow(QStringLiteral("keep size"));
    const QRect zone = frame(kRight, QStringLiteral("1"));
    driver.drag(plain, zones.dropPoint(kRight, QStringLiteral("1")));
    ASSERT_TRUE(driver.waitForFrame(plain, zone)) << "got " << frameText(plain);

    DragOptions plainDrag;
    plainDrag.toggle = ZoneToggle::None;
    driver.drag(plain, QPoint(700, 300), plainDrag);
    GestureDriver::pump(300);
    EXPECT_EQ(driver.frameOf(plain)->size(), zone.size());
    EXPECT_LT(driver.frameOf(plain)->left(), 1280);
}

TEST_P(SnappingTest, ShiftAlreadyDownAtThePressDependsOnTheWindowManager)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("shift first"));
    const QRect before = *driver.frameOf(plain);
    DragOptions options;
    options.toggle = ZoneToggle::ShiftHeldAtPress;
    const DragReport report = driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")), options);
    if (GetParam().windowManager == WindowManagerKind::Openbox) {
        // Its title-bar binding does not match with Shift down: no move, no gesture.
        EXPECT_FALSE(report.windowMoved);
        EXPECT_FALSE(report.overlayShown);
        EXPECT_EQ(driver.frameOf(plain), before);
    } else {
        // The drag starts with Shift down: zone mode at once.
        EXPECT_TRUE(report.windowMoved);
        EXPECT_TRUE(report.overlayShown) << log();
        EXPECT_TRUE(driver.waitForFrame(plain, frame(kLeft, QStringLiteral("2")))) << "got " << frameText(plain);
    }
}

INSTANTIATE_TEST_SUITE_P(Desktops, SnappingTest,
    ::testing::Values(DesktopSetup {WindowManagerKind::Openbox, CompositorKind::Xcompmgr},
        DesktopSetup {WindowManagerKind::Metacity, CompositorKind::None}),
    [](const auto& param) { return describe(param.param); });

} // namespace

namespace {

// xfwm4 on RandR monitors made with --setmonitor (all Xvfb offers) treats the screen as
// one head as wide as the first monitor and pulls windows back inside it, so it is
// driven on LEFT only here.
class Xfwm4Test : public Fixture
{
protected:
    void SetUp() override { prepare({WindowManagerKind::Xfwm4, CompositorKind::Picom}); }
};

TEST_F(Xfwm4Test, ShiftRightClickAndShiftFirstAllSnapOnTheFirstMonitor)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow(QStringLiteral("xfwm4"));
    const xcb_window_t term = xterm(QStringLiteral("xfwm4 terminal"));

    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("1")));
    EXPECT_TRUE(driver.waitForFrame(plain, frame(kLeft, QStringLiteral("1")))) << "got " << frameText(plain);

    // A right click ends xfwm4's own move; zone mode still comes on and the release snaps.
    DragOptions right;
    right.toggle = ZoneToggle::RightClick;
    const DragReport report = driver.drag(term, zones.dropPoint(kLeft, QStringLiteral("2")), right);
    EXPECT_TRUE(report.overlayShown) << log();
    EXPECT_FALSE(report.windowMovedAfterToggle);
    EXPECT_TRUE(driver.waitForFrame(term, frame(kLeft, QStringLiteral("2")), kCell)) << "got " << frameText(term);

    DragOptions first;
    first.toggle = ZoneToggle::ShiftHeldAtPress;
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2"), QPoint(0, 200)), first);
    EXPECT_TRUE(driver.waitForFrame(plain, frame(kLeft, QStringLiteral("2")))) << "got " << frameText(plain);
}

} // namespace
