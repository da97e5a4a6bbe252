#include "RobustnessSupport.h"

#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "VirtualDesktop.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <sys/wait.h>

namespace {

// How long parqueta may take to notice and leave.
constexpr int kExitLimitMs = 5000;

// Each test brings up a desktop of its own, because each one kills its X server.
class XServerGone : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // Only matters when PARQUETA_EXECUTABLE is a sanitizer build.
        qputenv("LSAN_OPTIONS", "suppressions=" PARQUETA_X_SERVER_GONE_SUPPRESSIONS);
        ASSERT_TRUE(desktop.start());
        VirtualDesktop::setShared(&desktop);
        ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
        ASSERT_TRUE(parqueta.start());
        serverPid = Robustness::childNamed("Xvfb");
        ASSERT_GT(serverPid, 0) << "cannot find the Xvfb of " << desktop.displayName().toStdString();
    }

    void TearDown() override { VirtualDesktop::setShared(nullptr); }

    // Kills the X server, then waits for parqueta: it must log why, quit in order and
    // exit with status 1 within kExitLimitMs, never hang or crash.
    void killServerAndExpectACleanExit(int signal)
    {
        ASSERT_EQ(::kill(serverPid, signal), 0);
        QElapsedTimer timer;
        timer.start();
        while (parqueta.isRunning() && timer.elapsed() < kExitLimitMs * 2)
            GestureDriver::pump(20);
        const qint64 tookMs = timer.elapsed();
        std::printf(
            "parqueta exited %lld ms after the X server got signal %d\n", static_cast<long long>(tookMs), signal);
        ASSERT_FALSE(parqueta.isRunning()) << "parqueta still runs " << tookMs << " ms after the X server died\n"
                                           << log();
        EXPECT_LT(tookMs, kExitLimitMs) << log();
        const int status = parqueta.waitStatus();
        ASSERT_TRUE(WIFEXITED(status)) << "parqueta ended by signal " << WTERMSIG(status) << "\n" << log();
        EXPECT_EQ(WEXITSTATUS(status), 1) << log();
        EXPECT_EQ(parqueta.logCount(QStringLiteral("The windowing system went away; quitting")), 1) << log();
        EXPECT_EQ(parqueta.logCount(QStringLiteral("Shutting down")), 1) << log();
        EXPECT_EQ(parqueta.logCount(QStringLiteral("Settings could not be written")), 0) << log();
        const QString problem = Robustness::settingsProblem(ParquetaProcess::settingsPath());
        EXPECT_TRUE(problem.isEmpty()) << problem.toStdString();
    }

    std::string log() const { return parqueta.logText().right(3000).toStdString(); }

    VirtualDesktop desktop;
    ParquetaProcess parqueta {desktop};
    pid_t serverPid = 0;
};

TEST_F(XServerGone, KilledServerWhileIdle)
{
    killServerAndExpectACleanExit(SIGKILL);
}

TEST_F(XServerGone, ServerShutDownWhileIdle)
{
    killServerAndExpectACleanExit(SIGTERM);
}

// The server dies with the zone overlays on screen and the mouse button held.
TEST_F(XServerGone, KilledServerInTheMiddleOfAGesture)
{
    OverlayProbe overlays(parqueta.pid());
    GestureDriver driver(desktop, overlays);
    ASSERT_TRUE(driver.isValid());
    const xcb_window_t window = desktop.startPlainWindow(QStringLiteral("doomed"), QRect(200, 150, 500, 400));
    ASSERT_NE(window, XCB_WINDOW_NONE);

    DragOptions options;
    int overlaysShown = 0;
    options.beforeRelease = [&] {
        overlaysShown = overlays.mappedCount();
        killServerAndExpectACleanExit(SIGKILL);
    };
    driver.drag(window, QPoint(1900, 500), options);
    EXPECT_GT(overlaysShown, 0) << "the server was to die with overlays shown\n" << log();
}

} // namespace

// No QApplication: the test process must not be on the X server it kills (Qt's xcb
// plugin would end it too). The desktops live inside the tests.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
