// Parqueta on the desktops people run, each on two monitors with its own panel: the
// zones fill exactly what the window manager itself maximizes a window to, a Shift-drag
// and a shortcut snap on each monitor, no title bar ends above a screen, and the
// overlays cover the visible frames; at device-pixel ratio 1 and 2 (Xft.dpi 192, the
// way users set it), and at the fractional ratios 1.25 and 1.5 once each.
#include "E2EFixture.h"

using namespace E2E;

namespace {

struct DesktopCase
{
    DesktopSetup setup;
    int xftDpi = 0; // 0: none set (ratio 1)
    const char* name = "";
    friend void PrintTo(const DesktopCase& c, std::ostream* os) { *os << c.name; }
};

class Desktops : public Fixture, public ::testing::WithParamInterface<DesktopCase>
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(prepare(GetParam().setup));
        ASSERT_TRUE(desktop.setXftDpi(GetParam().xftDpi));
        // Moving by shortcut on the second monitor needs the switch; without it the window's
        // desktop position is compared with layout-space zones, which fits only the first.
        ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) { s.setValue(Keys::shortcutsOnEveryScreen, true); }));
    }
    void TearDown() override
    {
        Fixture::TearDown();
        desktop.setXftDpi(0);
    }
};

TEST_P(Desktops, ZonesFillWhatTheWindowManagerMaximizesToAndDragsAndShortcutsSnapOnBothMonitors)
{
    const xcb_window_t window = plainWindow("desktop", QRect(150, 200, 420, 300));
    const QList<QRect> visibleFrames {zones.visibleFrame(kLeft)->toRect(), zones.visibleFrame(kRight)->toRect()};
    for (const QString& screen : {kLeft, kRight}) {
        SCOPED_TRACE(screen.toStdString());
        QList<QRect> shown;
        DragOptions options;
        // KWin 5.27 tiles a window dragged with Shift held into its own tiles, over
        // Parqueta's snap: there zone mode is switched on with the right click.
        if (GetParam().setup.windowManager == WindowManagerKind::Kwin)
            options.toggle = ZoneToggle::RightClick;
        options.beforeRelease = [&] { shown = overlays.mappedGeometries(); };
        const DragReport report = driver.drag(window, zones.dropPoint(screen, "1"), options);
        EXPECT_TRUE(report.windowMoved && report.overlayShown) << log();
        EXPECT_EQ(shown, visibleFrames) << "one overlay per monitor, each exactly its visible frame";
        ASSERT_TRUE(lands(window, frame(screen, "1")));
        EXPECT_GT(desktop.clientGeometry(window)->top(), driver.frameOf(window)->top())
            << "the title bar is inside the screen";

        ASSERT_TRUE(driver.activate(window));
        ASSERT_TRUE(driver.press(WindowShortcut::CycleRight));
        EXPECT_TRUE(lands(window, frame(screen, "2"))) << "the shortcut moved the window to the next zone";

        // Where this window manager puts a maximized window is the free space a user
        // expects the zones to share: the visible frame lies between its client area and
        // its frame (icewm pushes the borders of a maximized window off screen).
        ASSERT_TRUE(desktop.setMaximized(window, true));
        const QRect visible = visibleFrames.value(screen == kLeft ? 0 : 1);
        const QRect client = *desktop.clientGeometry(window);
        const QRect maximized = *desktop.visibleFrame(window);
        EXPECT_TRUE(visible.contains(client) && maximized.contains(visible))
            << ::testing::PrintToString(client) << " within " << ::testing::PrintToString(visible) << " within "
            << ::testing::PrintToString(maximized);
        ASSERT_TRUE(desktop.setMaximized(window, false));
    }
}

// A panel per desktop: xfce4-panel at the top of LEFT, icewm's taskbar and fluxbox's
// toolbar at the bottom of LEFT, tint2 at the bottom of RIGHT (openbox, kwin) or LEFT.
const DesktopSetup kXfce {WindowManagerKind::Xfce, CompositorKind::None, "xfce", -1};
const DesktopSetup kIcewm {WindowManagerKind::Icewm, CompositorKind::None, "icewm", -1};
const DesktopSetup kFluxbox {WindowManagerKind::Fluxbox, CompositorKind::None, "fluxbox", -1};
const DesktopSetup kOpenbox {WindowManagerKind::Openbox, CompositorKind::None, "openbox_tint2", 1};
const DesktopSetup kMetacity {WindowManagerKind::Metacity, CompositorKind::None, "metacity_tint2", 0};
const DesktopSetup kKwin {WindowManagerKind::Kwin, CompositorKind::None, "kwin_tint2", 1};

INSTANTIATE_TEST_SUITE_P(Desktops, Desktops,
    ::testing::Values(DesktopCase {kXfce, 0, "xfce"}, DesktopCase {kXfce, 192, "xfce_ratio2"},
        DesktopCase {kXfce, 144, "xfce_ratio1_5"}, DesktopCase {kIcewm, 120, "icewm_ratio1_25"},
        DesktopCase {kIcewm, 0, "icewm"}, DesktopCase {kIcewm, 192, "icewm_ratio2"},
        DesktopCase {kFluxbox, 0, "fluxbox"}, DesktopCase {kFluxbox, 192, "fluxbox_ratio2"},
        DesktopCase {kOpenbox, 0, "openbox_tint2"}, DesktopCase {kOpenbox, 192, "openbox_tint2_ratio2"},
        DesktopCase {kMetacity, 0, "metacity_tint2"}, DesktopCase {kMetacity, 192, "metacity_tint2_ratio2"},
        DesktopCase {kKwin, 0, "kwin_tint2"}, DesktopCase {kKwin, 192, "kwin_tint2_ratio2"}),
    [](const auto& param) { return std::string(param.param.name); });

} // namespace
