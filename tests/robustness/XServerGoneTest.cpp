// The real executable while its X server is killed: it must log why, quit in order and
// exit with status 1, never hang or crash, and leave its settings file whole.
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "RobustnessSupport.h"
#include "VirtualDesktop.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>

namespace {

// Each test brings up a desktop of its own, because each one kills its X server.
class XServerGone : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // Only matters when PARQUETA_EXECUTABLE is a sanitizer build.
        qputenv("LSAN_OPTIONS", "suppressions=" PARQUETA_X_SERVER_GONE_SUPPRESSIONS);
        ASSERT_TRUE(desktop.start()) << desktop.lastError().toStdString();
        VirtualDesktop::setShared(&desktop);
        ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
        ASSERT_TRUE(parqueta.start());
    }
    void TearDown() override { VirtualDesktop::setShared(nullptr); }

    void killServerAndExpectACleanExit()
    {
        const pid_t server = Robustness::childNamed("Xvfb");
        ASSERT_GT(server, 0) << "cannot find the Xvfb of " << desktop.displayName().toStdString();
        ASSERT_EQ(::kill(server, SIGKILL), 0);
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !parqueta.isRunning(); }, 20000))
            << "parqueta still runs after its X server died\n"
            << Robustness::threadStates(parqueta.pid()).toStdString() << "\n"
            << log();
        const int status = parqueta.waitStatus();
        ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status) << "\n" << log();
        EXPECT_EQ(WEXITSTATUS(status), 1) << log();
        EXPECT_EQ(parqueta.logCount("The windowing system went away; quitting"), 1) << log();
        EXPECT_EQ(parqueta.logCount("Shutting down"), 1) << log();
        EXPECT_EQ(parqueta.logCount("Settings could not be written"), 0) << log();
        EXPECT_EQ(Robustness::settingsProblem(ParquetaProcess::settingsPath()), "");
    }
    std::string log() const { return parqueta.logText().right(3000).toStdString(); }

    VirtualDesktop desktop;
    ParquetaProcess parqueta {desktop};
};

TEST_F(XServerGone, KilledWhileIdle)
{
    // Once the first run's settings are on disk: their sync can hold the program for
    // seconds when the disk is busy (right after a build), and only then is it idle.
    const auto idle = [&] {
        if (!Robustness::waitsForEvents(parqueta.pid()))
            return false;
        // Still so a while later: not a glance between two events.
        VirtualDesktop::pump(100);
        return Robustness::waitsForEvents(parqueta.pid());
    };
    ASSERT_TRUE(VirtualDesktop::waitUntil(idle, 60000))
        << "parqueta never went idle\n" << Robustness::threadStates(parqueta.pid()).toStdString();
    killServerAndExpectACleanExit();
}

// The server dies with the zone overlays on screen and the mouse button held.
TEST_F(XServerGone, KilledInTheMiddleOfAGesture)
{
    OverlayProbe overlays(parqueta.pid());
    GestureDriver driver(desktop, overlays);
    ASSERT_TRUE(driver.isValid());
    const xcb_window_t window = desktop.startPlainWindow("doomed", QRect(200, 150, 500, 400));
    ASSERT_NE(window, XCB_WINDOW_NONE);
    DragOptions options;
    int overlaysShown = 0;
    options.beforeRelease = [&] {
        overlaysShown = overlays.mappedCount();
        killServerAndExpectACleanExit();
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
