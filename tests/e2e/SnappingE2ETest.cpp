// The main road with the real program: title-bar drags of real windows into the zones of
// both monitors, zone mode switched on by Shift or a right click, multi-zone with Alt and
// by spanning, and unsnapping by dragging out. Per window manager, with and without a
// compositor.
#include "E2EFixture.h"

using namespace E2E;

namespace {

class Snapping : public Fixture, public ::testing::WithParamInterface<DesktopSetup>
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(prepare(GetParam()));
        ASSERT_NO_FATAL_FAILURE(startParqueta());
    }
};

TEST_P(Snapping, ShiftDragsSnapIntoEveryZoneOfBothMonitorsAndOverlaysCoverTheVisibleFrames)
{
    const xcb_window_t plain = plainWindow("plain");
    const xcb_window_t term = xterm("terminal");
    ASSERT_EQ(zones.zones().size(), 4) << "first run: the two-column preset on each monitor";
    EXPECT_EQ(zones.visibleFrame(kRight)->height(), VirtualDesktop::kHeight - VirtualDesktop::kPanelHeight)
        << "the panel's strut is left out on RIGHT";
    for (const DesktopZone& zone : zones.zones()) {
        SCOPED_TRACE(zone.screenName.toStdString() + " zone " + zone.zoneId.toStdString());
        QList<QRect> shown;
        DragOptions options;
        options.beforeRelease = [&] { shown = overlays.mappedGeometries(); };
        const DragReport report = driver.drag(plain, zones.dropPoint(zone.screenName, zone.zoneId), options);
        EXPECT_TRUE(report.windowMoved && report.overlayShown && report.overlayHiddenAfter) << log();
        EXPECT_EQ(shown, (QList<QRect> {zones.visibleFrame(kLeft)->toRect(), zones.visibleFrame(kRight)->toRect()}));
        EXPECT_TRUE(lands(plain, zone.frame));
        driver.drag(term, zones.dropPoint(zone.screenName, zone.zoneId, QPoint(0, 100)));
        EXPECT_TRUE(lands(term, zone.frame, kCell));
    }
}

TEST_P(Snapping, AltGathersTheZonesCrossedAndShiftMayBeLetGoFirst)
{
    const xcb_window_t plain = plainWindow("multi zone");
    DragOptions options;
    options.multiZone = true;
    options.via = {zones.dropPoint(kRight, "1")};
    driver.drag(plain, zones.dropPoint(kRight, "2"), options);
    EXPECT_TRUE(lands(plain, *zones.unitedFrame(kRight, {"1", "2"})));
    options.multiZone = false; // without Alt only the zone under the pointer at the end
    options.via = {zones.dropPoint(kLeft, "1")};
    driver.drag(plain, zones.dropPoint(kLeft, "2"), options);
    EXPECT_TRUE(lands(plain, frame(kLeft, "2")));

    // In toggle mode Shift let go before the button still snaps.
    DragOptions early;
    early.toggle = ZoneToggle::ShiftReleasedEarly;
    const DragReport report = driver.drag(plain, zones.dropPoint(kRight, "1"), early);
    EXPECT_EQ(report.overlaysAtDrop, 2) << log();
    EXPECT_TRUE(lands(plain, frame(kRight, "1")));
}

TEST_P(Snapping, ARightClickSnapsDraggingOutRestoresTheSizeAndShiftAtThePressDependsOnTheWindowManager)
{
    const xcb_window_t plain = plainWindow("restore");
    const QSize before = driver.frameOf(plain)->size();
    DragOptions rightClick;
    rightClick.toggle = ZoneToggle::RightClick;
    const DragReport in = driver.drag(plain, zones.dropPoint(kLeft, "2"), rightClick);
    // openbox goes on moving the window after a right click; metacity ends its own move
    // there, and the release snaps the window from where it stopped.
    EXPECT_EQ(in.windowMovedAfterToggle, GetParam().windowManager == WindowManagerKind::Openbox) << log();
    ASSERT_TRUE(lands(plain, frame(kLeft, "2")));
    DragOptions plainDrag;
    plainDrag.toggle = ZoneToggle::None;
    EXPECT_FALSE(driver.drag(plain, QPoint(1700, 500), plainDrag).overlayShown) << "no zone mode without a toggle";
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.frameOf(plain)->size() == before; })) << log();
    EXPECT_GT(driver.frameOf(plain)->left(), 1280) << "left where it was dropped";

    const QRect where = *driver.frameOf(plain);
    DragOptions shiftFirst;
    shiftFirst.toggle = ZoneToggle::ShiftHeldAtPress;
    const DragReport report = driver.drag(plain, zones.dropPoint(kLeft, "2"), shiftFirst);
    if (GetParam().windowManager == WindowManagerKind::Openbox) {
        // Its title-bar binding does not match with Shift down: no move, no gesture.
        EXPECT_FALSE(report.windowMoved || report.overlayShown);
        EXPECT_EQ(driver.frameOf(plain), where);
    } else {
        EXPECT_TRUE(report.overlayShown) << log();
        EXPECT_TRUE(lands(plain, frame(kLeft, "2")));
    }
}

INSTANTIATE_TEST_SUITE_P(Desktops, Snapping,
    ::testing::Values(DesktopSetup {WindowManagerKind::Openbox, CompositorKind::Xcompmgr, "openbox_xcompmgr"},
        DesktopSetup {WindowManagerKind::Metacity, CompositorKind::None, "metacity"}),
    [](const auto& param) { return std::string(param.param.name); });

// xfwm4 on RandR monitors made with --setmonitor (all Xvfb offers) sees one head as wide
// as the first monitor and pulls windows back inside it: it is driven on LEFT only.
TEST_F(Fixture, Xfwm4ShiftRightClickAndShiftFirstAllSnapOnTheFirstMonitor)
{
    ASSERT_NO_FATAL_FAILURE(prepare({WindowManagerKind::Xfwm4, CompositorKind::Picom, "xfwm4_picom"}));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t plain = plainWindow("xfwm4");
    const xcb_window_t term = xterm("xfwm4 terminal");
    driver.drag(plain, zones.dropPoint(kLeft, "1"));
    EXPECT_TRUE(lands(plain, frame(kLeft, "1")));
    DragOptions options;
    options.toggle = ZoneToggle::RightClick; // ends xfwm4's own move; the release still snaps
    EXPECT_FALSE(driver.drag(term, zones.dropPoint(kLeft, "2"), options).windowMovedAfterToggle);
    EXPECT_TRUE(lands(term, frame(kLeft, "2"), kCell));
    options.toggle = ZoneToggle::ShiftHeldAtPress;
    driver.drag(plain, zones.dropPoint(kLeft, "2", QPoint(0, 200)), options);
    EXPECT_TRUE(lands(plain, frame(kLeft, "2")));
}

} // namespace
