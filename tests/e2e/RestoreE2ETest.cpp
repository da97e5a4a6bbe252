// Windows coming back to their zones with the real program: two terminals snapped, then
// moved elsewhere while Parqueta is stopped, are back in their zones once it runs again;
// the one on the monitor that is unplugged and plugged back returns; a terminal closed and
// started again the same way opens in its zone.
#include "E2EFixture.h"

using namespace E2E;

namespace {

TEST_F(Fixture, SnappedWindowsComeBackAfterARestartAReplugAndTheirApplicationRestarting)
{
    ASSERT_NO_FATAL_FAILURE(prepare({WindowManagerKind::Openbox, CompositorKind::None, "openbox"}));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    xcb_window_t build = xterm(QStringLiteral("build"), QStringLiteral("ParquetaBuild"));
    const xcb_window_t logs = xterm(QStringLiteral("logs"), QStringLiteral("ParquetaLogs"));
    driver.drag(build, zones.dropPoint(kLeft, "1"));
    ASSERT_TRUE(lands(build, frame(kLeft, "1"), kCell));
    driver.drag(logs, zones.dropPoint(kRight, "2"));
    ASSERT_TRUE(lands(logs, frame(kRight, "2"), kCell));

    // Stopped, the windows moved by hand, started again.
    ASSERT_EQ(m_parqueta->terminate(), std::optional<int>(0)) << log();
    DragOptions byHand;
    byHand.toggle = ZoneToggle::None;
    driver.drag(build, QPoint(900, 700), byHand);
    driver.drag(logs, QPoint(1500, 300), byHand);
    ASSERT_FALSE(driver.waitForFrame(build, frame(kLeft, "1"), kCell, 200));
    ASSERT_TRUE(m_parqueta->start()) << m_parqueta->lastError().toStdString();
    EXPECT_TRUE(lands(build, frame(kLeft, "1"), kCell));
    EXPECT_TRUE(lands(logs, frame(kRight, "2"), kCell));

    // RIGHT unplugged; its window is maximized meanwhile; RIGHT plugged back.
    s_desktopChanged = true;
    ASSERT_TRUE(desktop.deleteMonitor(kRight));
    ASSERT_TRUE(desktop.setMaximized(logs, true));
    ASSERT_TRUE(desktop.resetMonitors());
    EXPECT_TRUE(lands(logs, frame(kRight, "2"), kCell));
    EXPECT_TRUE(lands(build, frame(kLeft, "1"), kCell));

    // The terminal's program ends and is started again: its window opens in its zone.
    desktop.stopClient(build);
    build = xterm(QStringLiteral("build"), QStringLiteral("ParquetaBuild"));
    // Seen as it appears, not as a placement left over for the old window: the server
    // may give the new one the old window's number.
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return m_parqueta->logCount(QStringLiteral("appeared; snapping it")) == 1; }))
        << log();
    EXPECT_TRUE(lands(build, frame(kLeft, "1"), kCell));
}

} // namespace
