// The rest of the main road with the real program: gaps, the six window shortcuts, an
// application never snapped; and the program under a changing desktop: a window closing
// or a monitor going away mid-drag, the window manager replaced or killed, input in an
// unusual order.
#include "ChildProcess.h"
#include "E2EFixture.h"


using namespace E2E;

namespace {

const DesktopSetup kOpenboxPicom {WindowManagerKind::Openbox, CompositorKind::Picom, "openbox_picom"};
const DesktopSetup kOpenboxPlain {WindowManagerKind::Openbox, CompositorKind::None, "openbox"};

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
    // A whole gap at the screen's edges (the panel's too), half a gap each side of the
    // border between the zones; computed here, not with the program's model code.
    const int height = int(zones.visibleFrame(kRight)->height()) - 32;
    EXPECT_TRUE(lands(first, QRect(1280 + 16, 16, 640 - 16 - 8, height)));
    EXPECT_TRUE(lands(second, QRect(1280 + 640 + 8, 16, 640 - 8 - 16, height)));
}

TEST_F(Fixture, TheShortcutsMoveAndSpanTheFocusedWindow)
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

}

// xterm on the list of applications never snapped: a Shift drag of one shows no zones
// and leaves it where the window manager dropped it, at its own size; a window of another
// class still snaps.
TEST_F(Fixture, AnExcludedApplicationIsNeverSnappedWhileOthersStillAre)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPlain));
    ASSERT_NO_FATAL_FAILURE(
        startParqueta([](Settings& s) { s.setValue(Keys::excludedApplications, QStringList {"xterm"}); }));
    const xcb_window_t term = xterm("excluded");
    const xcb_window_t plain = plainWindow("not excluded");
    const std::optional<QRect> before = driver.frameOf(term);
    ASSERT_TRUE(before);
    const DragReport excluded = driver.drag(term, zones.dropPoint(kLeft, "2", QPoint(0, 100)));
    EXPECT_TRUE(excluded.windowMoved) << "the window manager moved it";
    EXPECT_FALSE(excluded.overlayShown) << log();
    EXPECT_EQ(excluded.overlaysAtDrop, 0);
    EXPECT_FALSE(driver.waitForFrame(term, frame(kLeft, "2"), kCell, 1000)) << "snapped:\n" << log();
    EXPECT_EQ(driver.frameOf(term).value_or(QRect()).size(), before->size());

    const DragReport other = driver.drag(plain, zones.dropPoint(kLeft, "2"));
    EXPECT_TRUE(other.overlayShown) << log();
    EXPECT_TRUE(lands(plain, frame(kLeft, "2")));
}

TEST_F(Fixture, AWindowClosedOrAMonitorRemovedMidDragLeavesParquetaWorking)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPlain));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t doomed = plainWindow("doomed");
    DragOptions closing;
    closing.beforeRelease = [&] {
        desktop.stopClient(doomed);
        VirtualDesktop::waitUntil([&] { return !driver.frameOf(doomed); });
    };
    EXPECT_TRUE(driver.drag(doomed, zones.dropPoint(kLeft, "2"), closing).overlayHiddenAfter) << log();

    s_desktopChanged = true;
    const xcb_window_t plain = plainWindow("unplugged");
    QList<QRect> afterRemoval;
    DragOptions unplugging;
    unplugging.beforeRelease = [&] {
        ASSERT_TRUE(desktop.deleteMonitor(kRight));
        // Read once per look: while the overlays are rebuilt, the old ones leave the
        // screen one after the other and the new one fades in.
        VirtualDesktop::waitUntil([&] {
            afterRemoval = overlays.mappedGeometries();
            return afterRemoval.size() == 1 && afterRemoval.first().left() == 0;
        });
        // No further motion: the rebuilt overlay must show the zone under the pointer by
        // itself, or the release would snap nothing.
    };
    EXPECT_EQ(driver.drag(plain, zones.dropPoint(kLeft, "1"), unplugging).overlaysAtDrop, 2);
    EXPECT_EQ(afterRemoval.size(), 1) << "the overlay of the monitor that went away is gone:\n" << log();
    // tint2 moves to LEFT once RIGHT is gone; if it has by the release, the window stops
    // at the panel instead of going under it.
    const QRect zone = frame(kLeft, "1");
    const QRect abovePanel(zone.topLeft(), QSize(zone.width(), VirtualDesktop::kHeight - VirtualDesktop::kPanelHeight));
    EXPECT_TRUE(driver.waitForFrame(plain, zone, {}, 1500) || lands(plain, abovePanel));

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
