// The rest of the main road with the real program: hold-to-snap, gaps, the six window
// shortcuts, what the overlay looks like mid-gesture; and the program under a changing
// desktop: a window closing or a monitor going away mid-drag, the window manager
// replaced or killed, input in an unusual order.
#include "ChildProcess.h"
#include "E2EFixture.h"
#include "RobustnessSupport.h"
#include "RootScreenshot.h"

#include <QImage>

#include <csignal>

using namespace E2E;

namespace {

const DesktopSetup kOpenboxPicom {WindowManagerKind::Openbox, CompositorKind::Picom};
const DesktopSetup kOpenboxPlain {WindowManagerKind::Openbox, CompositorKind::None};

TEST_F(Fixture, HoldShiftModeSnapsWhileShiftIsHeldAndCancelsWhenItIsLetGo)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPicom));
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) { s.setValue(Keys::holdShiftToSnap, true); }));
    const xcb_window_t plain = plainWindow("hold");
    EXPECT_TRUE(driver.drag(plain, zones.dropPoint(kRight, "1")).overlayShown) << log();
    EXPECT_TRUE(lands(plain, frame(kRight, "1")));

    DragOptions early;
    early.toggle = ZoneToggle::ShiftReleasedEarly;
    int overlaysAfterShiftUp = -1;
    early.beforeRelease = [&] {
        driver.input().keyUp(Keysym::ShiftL);
        overlays.waitForHidden(2000);
        overlaysAfterShiftUp = overlays.mappedCount();
    };
    EXPECT_EQ(driver.drag(plain, zones.dropPoint(kLeft, "2"), early).overlaysAtDrop, 2);
    EXPECT_EQ(overlaysAfterShiftUp, 0) << "Shift up ends the gesture before the button does";
    GestureDriver::pump(300);
    EXPECT_NE(driver.frameOf(plain), frame(kLeft, "2"));
    EXPECT_EQ(driver.frameOf(plain)->size(), QSize(422, 325)) << "unsnapped: the size from before the first snap";
}

TEST_F(Fixture, WithGapsWindowsKeepTheirDistanceFromEachOtherAndTheScreenEdges)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPicom));
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) {
        s.setValue(Keys::enableGaps, true);
        s.setValue(Keys::gapSize, 16);
    }));
    const xcb_window_t first = plainWindow("gap one");
    const xcb_window_t second = plainWindow("gap two", QRect(700, 300, 300, 200));
    driver.drag(first, zones.dropPoint(kRight, "1"));
    driver.drag(second, zones.dropPoint(kRight, "2"));
    // A whole gap at the screen's edges (the panel's edge included), half a gap each side
    // of the border between the zones; computed here, not by the program's model code.
    const int height = int(zones.visibleFrame(kRight)->height()) - 32;
    EXPECT_TRUE(lands(first, QRect(1280 + 16, 16, 640 - 16 - 8, height)));
    EXPECT_TRUE(lands(second, QRect(1280 + 640 + 8, 16, 640 - 8 - 16, height)));
}

TEST_F(Fixture, TheSixShortcutsMoveSpanAndCycleTheFocusedWindow)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPicom));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    // Two columns and two rows: the third preset.
    ASSERT_NO_FATAL_FAILURE(restartParqueta([](SettingsFile& file) { return file.activateLayout(2); }));
    ASSERT_EQ(zones.zonesOn(kLeft).size(), 4);
    const auto united = [&](QStringList ids) { return *zones.unitedFrame(kLeft, ids); };
    const xcb_window_t plain = plainWindow("keys");
    driver.drag(plain, zones.dropPoint(kLeft, "1"));
    ASSERT_TRUE(lands(plain, frame(kLeft, "1")));
    ASSERT_TRUE(driver.activate(plain));
    const std::pair<WindowShortcut, QRect> steps[] = {
        {WindowShortcut::CycleRight, frame(kLeft, "2")},
        {WindowShortcut::CycleRight, frame(kLeft, "3")},
        {WindowShortcut::CycleRight, frame(kLeft, "4")},
        {WindowShortcut::CycleRight, frame(kLeft, "1")}, // wraps around
        {WindowShortcut::CycleLeft, frame(kLeft, "4")}, // and back
        {WindowShortcut::SpanLeft, united({"3", "4"})},
        {WindowShortcut::SpanRight, united({"3", "4"})}, // nothing right of the last zone
        {WindowShortcut::CycleLeft, frame(kLeft, "2")}, // from zone 3, which holds the probe point
        {WindowShortcut::SpanRight, united({"2", "3"})},
    };
    for (const auto& [shortcut, expected] : steps) {
        ASSERT_TRUE(driver.press(shortcut));
        EXPECT_TRUE(lands(plain, expected)) << "shortcut " << int(shortcut);
    }

    // Two windows stacked in zone 1: next and previous raise one, then the other.
    const xcb_window_t term = xterm("stacked");
    driver.drag(plain, zones.dropPoint(kLeft, "1"));
    driver.drag(term, zones.dropPoint(kLeft, "1", QPoint(0, 100)));
    ASSERT_TRUE(lands(term, frame(kLeft, "1"), kCell));
    ASSERT_TRUE(driver.activate(term));
    ASSERT_TRUE(driver.press(WindowShortcut::CycleNext));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.activeWindow() == plain; })) << log();
    ASSERT_TRUE(driver.press(WindowShortcut::CyclePrev));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.activeWindow() == term; }));
    EXPECT_EQ(driver.frameOf(plain), frame(kLeft, "1"));
}

// The zones whose sampled patches all carry the highlight colour (magenta), as
// "SCREEN:zone", and how many zones show none of it.
std::pair<QStringList, int> highlightedZones(const QImage& shot, const DesktopZones& zones, const QRect& avoid)
{
    QStringList highlighted;
    int plain = 0;
    for (const DesktopZone& zone : zones.zones()) {
        // Patches on a grid, clear of the outline, the number and the dragged window;
        // averaging smooths the root window's stipple.
        const QRect r = zone.rect.toRect().adjusted(12, 12, -24, -24);
        const QRect number(zone.rect.toRect().center() - QPoint(90, 90), QSize(180, 180));
        int magenta = 0, sampled = 0;
        for (int y = r.top(); y < r.bottom(); y += 48) {
            for (int x = r.left(); x < r.right(); x += 48) {
                const QRect patch(x, y, 8, 8);
                if (patch.intersects(avoid) || patch.intersects(number))
                    continue;
                long red = 0, green = 0, blue = 0;
                for (int py = patch.top(); py <= patch.bottom(); ++py)
                    for (int px = patch.left(); px <= patch.right(); ++px) {
                        red += qRed(shot.pixel(px, py));
                        green += qGreen(shot.pixel(px, py));
                        blue += qBlue(shot.pixel(px, py));
                    }
                ++sampled;
                magenta += (red - green) / 64 > 50 && (blue - green) / 64 > 50 ? 1 : 0;
            }
        }
        if (sampled >= 10 && magenta == sampled)
            highlighted << zone.screenName + ':' + zone.zoneId;
        plain += sampled >= 10 && magenta == 0 ? 1 : 0;
    }
    return {highlighted, plain};
}

class OverlayLook : public Fixture, public ::testing::WithParamInterface<DesktopSetup>
{ };

TEST_P(OverlayLook, MidGestureOnlyTheHoveredZoneCarriesTheHighlightColour)
{
    ASSERT_NO_FATAL_FAILURE(prepare(GetParam()));
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) {
        s.setValue(Keys::useSystemAccentColor, false);
        s.setValue(Keys::zoneHighlightColor, QColor(255, 0, 255));
    }));
    const xcb_window_t plain = plainWindow("look", QRect(300, 300, 300, 200));
    for (const auto& [screen, zone] : {std::pair {kRight, QStringLiteral("1")}, std::pair {kLeft, QStringLiteral("2")}}) {
        SCOPED_TRACE(screen.toStdString() + ":" + zone.toStdString());
        QImage shot;
        QRect dragged;
        DragOptions options;
        options.beforeRelease = [&] {
            // The overlays fade in over 300 ms: wait until the hovered zone shows its colour.
            VirtualDesktop::waitUntil([&] {
                dragged = driver.frameOf(plain).value_or(QRect()).adjusted(-4, -4, 4, 4);
                shot = RootScreenshot::take();
                const auto [highlighted, plainZones] = highlightedZones(shot, zones, dragged);
                return highlighted == QStringList {screen + ':' + zone} && plainZones == zones.zones().size() - 1;
            });
        };
        driver.drag(plain, zones.dropPoint(screen, zone, QPoint(0, -150)), options);
        ASSERT_FALSE(shot.isNull());
        shot.save(QStringLiteral("%1/logs/highlight-%2-%3.png").arg(desktop.scratchDir(), QString::fromStdString(GetParam().name()), screen));
        const auto [highlighted, plainZones] = highlightedZones(shot, zones, dragged);
        EXPECT_EQ(highlighted, QStringList {screen + ':' + zone});
        EXPECT_EQ(plainZones, zones.zones().size() - 1);
        EXPECT_TRUE(lands(plain, frame(screen, zone)));
    }
    EXPECT_TRUE(highlightedZones(RootScreenshot::take(), zones, {}).first.isEmpty()) << "no zone drawn after the gesture";
}

INSTANTIATE_TEST_SUITE_P(Desktops, OverlayLook,
    ::testing::Values(kOpenboxPicom, DesktopSetup {WindowManagerKind::Metacity, CompositorKind::None}),
    [](const auto& param) { return param.param.name(); });

TEST_F(Fixture, AWindowClosedOrAMonitorRemovedMidDragLeavesParquetaWorking)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPlain));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t doomed = plainWindow("doomed");
    DragOptions closing;
    closing.beforeRelease = [&] {
        desktop.stopClient(doomed);
        GestureDriver::pump(200);
    };
    EXPECT_TRUE(driver.drag(doomed, zones.dropPoint(kLeft, "2"), closing).overlayHiddenAfter) << log();

    s_desktopChanged = true;
    const xcb_window_t plain = plainWindow("unplugged");
    int overlaysAfterRemoval = -1;
    DragOptions unplugging;
    unplugging.beforeRelease = [&] {
        ASSERT_TRUE(desktop.deleteMonitor(kRight));
        overlays.waitForShown(1);
        GestureDriver::pump(300);
        overlaysAfterRemoval = overlays.mappedCount();
        // No further motion: the rebuilt overlay must show the zone under the pointer by
        // itself, or the release would snap nothing.
    };
    EXPECT_EQ(driver.drag(plain, zones.dropPoint(kLeft, "1"), unplugging).overlaysAtDrop, 2);
    EXPECT_EQ(overlaysAfterRemoval, 1) << "the overlay of the monitor that went away is gone:\n" << log();
    EXPECT_TRUE(lands(plain, frame(kLeft, "1")));

    ASSERT_TRUE(desktop.resetMonitors());
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        const std::optional<DesktopZones> again = DesktopZones::read();
        return again && again->zonesOn(kRight).size() == 2;
    }));
    driver.drag(plain, zones.dropPoint(kRight, "1"));
    EXPECT_TRUE(lands(plain, frame(kRight, "1"))) << "the monitor is back: its zones work again";
}

// Moves the window one zone on with Ctrl+Alt+Super+Right: from "1" to "2" and back.
class ChangingDesktop : public Fixture
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPlain));
        s_desktopChanged = true;
        ASSERT_NO_FATAL_FAILURE(startParqueta());
        window = plainWindow("survivor", QRect(200, 150, 500, 400));
    }
    void TearDown() override
    {
        Fixture::TearDown();
        if (replacement)
            replacement->stop();
    }
    void dragIntoTheFirstHalf()
    {
        driver.drag(window, zones.dropPoint(kLeft, "1"));
        ASSERT_TRUE(lands(window, frame(kLeft, "1")));
        zone = "1";
    }
    void snapsToTheOtherHalf()
    {
        ASSERT_TRUE(m_parqueta->isRunning()) << log();
        ASSERT_TRUE(driver.activate(window)) << "the window manager did not activate the window";
        ASSERT_TRUE(driver.press(WindowShortcut::CycleRight));
        zone = zone == "1" ? "2" : "1";
        EXPECT_TRUE(lands(window, frame(kLeft, zone)));
    }
    xcb_window_t supportingWmCheck()
    {
        return desktop.property32(desktop.root(), "_NET_SUPPORTING_WM_CHECK").value(0, XCB_WINDOW_NONE);
    }

    xcb_window_t window = XCB_WINDOW_NONE;
    QString zone; // the half of LEFT the window was last snapped into
    std::unique_ptr<ChildProcess> replacement; // an openbox started with --replace
};

TEST_F(ChangingDesktop, SurvivesOpenboxReplacingItselfAndStillSnaps)
{
    ASSERT_NO_FATAL_FAILURE(dragIntoTheFirstHalf());
    ASSERT_NO_FATAL_FAILURE(snapsToTheOtherHalf());
    const xcb_window_t oldCheck = supportingWmCheck();
    replacement = std::make_unique<ChildProcess>();
    ASSERT_TRUE(replacement->start("openbox", {"--replace", "--sm-disable"}, desktop.scratchDir() + "/logs/openbox-replacement.log"))
        << replacement->errorString().toStdString();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return supportingWmCheck() != XCB_WINDOW_NONE && supportingWmCheck() != oldCheck; }))
        << replacement->logTail().toStdString();
    // Snapping while the new manager still adopts the window would measure its old frame.
    ASSERT_TRUE(lands(window, frame(kLeft, zone))) << "the new openbox did not adopt the window where it was";
    ASSERT_NO_FATAL_FAILURE(snapsToTheOtherHalf());
}

TEST_F(ChangingDesktop, SurvivesOpenboxKilledAndMetacityStartedAndStillSnaps)
{
    driver.drag(window, zones.dropPoint(kLeft, "1"));
    const pid_t openbox = Robustness::childNamed("openbox");
    ASSERT_GT(openbox, 0) << "cannot find the openbox this test started";
    ASSERT_EQ(::kill(openbox, SIGKILL), 0);
    const xcb_window_t check = supportingWmCheck(); // goes with the dead manager's connection
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.clientGeometry(check); })) << "openbox did not die";
    EXPECT_TRUE(driver.press(WindowShortcut::CycleRight)) << "a shortcut with no window manager at all";
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Metacity));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.clientList().contains(window); }));
    ASSERT_NO_FATAL_FAILURE(dragIntoTheFirstHalf());
    ASSERT_NO_FATAL_FAILURE(snapsToTheOtherHalf());
    ASSERT_NO_FATAL_FAILURE(snapsToTheOtherHalf());
}

// A multi-zone drag let go in the natural order, button first and Alt after it: Alt's
// release comes when no drag is watched. The next drag, switched on by a right click (no
// modifier change to read Alt from again), must be single-zone, not gather every zone
// it passes and snap once per screen it crossed.
TEST_F(ChangingDesktop, AltLetGoAfterTheButtonLeavesTheNextDragSingleZone)
{
    DragOptions multi;
    multi.multiZone = true;
    multi.via = {zones.dropPoint(kLeft, "1")};
    driver.drag(window, zones.dropPoint(kLeft, "2"), multi);
    ASSERT_TRUE(lands(window, *zones.unitedFrame(kLeft, {"1", "2"})));
    DragOptions plain;
    plain.toggle = ZoneToggle::RightClick;
    plain.via = {zones.dropPoint(kLeft, "2"), zones.dropPoint(kRight, "1")};
    driver.drag(window, zones.dropPoint(kRight, "2"), plain);
    EXPECT_TRUE(lands(window, frame(kRight, "2")));
}

} // namespace
