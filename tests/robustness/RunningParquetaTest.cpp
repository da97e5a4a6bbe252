#include "RobustnessSupport.h"

#include "ChildProcess.h"
#include "DesktopZones.h"
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>

namespace {

const QString kLeft = QStringLiteral("LEFT");

// The real parqueta on openbox with one plain window, while the desktop changes under
// it (the window manager restarted, killed, swapped) or the input arrives in an unusual
// order; afterwards it must still be alive and still snap.
class RunningParqueta : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(driver.isValid()) << "no XTest extension or no X connection";
        ASSERT_TRUE(desktop.resetMonitors());
        ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
        SettingsFile().remove();
        ASSERT_TRUE(parqueta.start());
        overlays.setOwnerPid(parqueta.pid());
        const std::optional<DesktopZones> read = DesktopZones::read();
        ASSERT_TRUE(read) << DesktopZones::lastError().toStdString();
        zones = *read;
        // The first run's active preset halves each screen: the next zone is the other half.
        ASSERT_EQ(zones.zonesOn(kLeft).size(), 2);
        window = desktop.startPlainWindow(QStringLiteral("survivor"), QRect(200, 150, 500, 400));
        ASSERT_NE(window, XCB_WINDOW_NONE);
    }

    void TearDown() override
    {
        desktop.stopAllClients();
        if (parqueta.isRunning()) {
            EXPECT_EQ(parqueta.terminate(), std::optional<int>(0)) << log();
        }
        if (m_replacement) {
            m_replacement->stop();
            m_replacement.reset();
        }
    }

    QRect zoneFrame(const char* id) const { return zones.zone(kLeft, QString::fromLatin1(id))->frame; }

    // Focuses the window and moves it one zone on with Ctrl+Alt+Super+Right; returns
    // the zone it landed in ("1" or "2"), or nothing.
    std::optional<QString> snapToNextZone(const std::optional<QString>& from)
    {
        EXPECT_TRUE(driver.activate(window)) << "the window manager did not activate the window";
        EXPECT_TRUE(driver.press(WindowShortcut::CycleRight));
        if (from) {
            const char* next = *from == QLatin1String("1") ? "2" : "1";
            if (driver.waitForFrame(window, zoneFrame(next)))
                return QString::fromLatin1(next);
            ADD_FAILURE() << "from zone " << from->toStdString() << " the window should move to zone " << next
                          << ", it is at " << frameText() << "\n"
                          << log();
            return std::nullopt;
        }
        const bool snapped = VirtualDesktop::waitUntil(
            [&] { return driver.frameOf(window) == zoneFrame("1") || driver.frameOf(window) == zoneFrame("2"); }, 3000);
        if (!snapped) {
            ADD_FAILURE() << "the shortcut snapped nothing; the window is at " << frameText() << "\n" << log();
            return std::nullopt;
        }
        return driver.frameOf(window) == zoneFrame("1") ? QStringLiteral("1") : QStringLiteral("2");
    }

    std::string frameText()
    {
        const QRect r = driver.frameOf(window).value_or(QRect());
        return QStringLiteral("%1,%2 %3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()).toStdString();
    }
    std::string log() const { return parqueta.logText().right(3000).toStdString(); }

    xcb_window_t supportingWmCheck()
    {
        const QList<quint32> check = desktop.property32(desktop.root(), "_NET_SUPPORTING_WM_CHECK");
        return check.isEmpty() ? xcb_window_t(XCB_WINDOW_NONE) : xcb_window_t(check.first());
    }

    bool windowExists(xcb_window_t window)
    {
        xcb_get_geometry_reply_t* reply
            = xcb_get_geometry_reply(desktop.connection(), xcb_get_geometry(desktop.connection(), window), nullptr);
        std::free(reply);
        return reply != nullptr;
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    ParquetaProcess parqueta {desktop};
    OverlayProbe overlays;
    GestureDriver driver {desktop, overlays};
    DesktopZones zones;
    xcb_window_t window = XCB_WINDOW_NONE;
    // An openbox started here with --replace, outside the desktop's own bookkeeping.
    std::unique_ptr<ChildProcess> m_replacement;
};

TEST_F(RunningParqueta, SurvivesOpenboxReplacingItselfAndStillSnaps)
{
    const std::optional<QString> before = snapToNextZone(std::nullopt);
    ASSERT_TRUE(before);

    const xcb_window_t oldCheck = supportingWmCheck();
    m_replacement = std::make_unique<ChildProcess>();
    ASSERT_TRUE(
        m_replacement->start(QStringLiteral("openbox"), {QStringLiteral("--replace"), QStringLiteral("--sm-disable")},
            desktop.scratchDir() + QStringLiteral("/logs/openbox-replacement.log")))
        << m_replacement->errorString().toStdString();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        const xcb_window_t check = supportingWmCheck();
        return check != XCB_WINDOW_NONE && check != oldCheck;
    })) << "the new openbox did not take over:\n"
        << m_replacement->logTail().toStdString();
    GestureDriver::pump(300);

    ASSERT_TRUE(parqueta.isRunning()) << "parqueta died when the window manager was replaced\n" << log();
    EXPECT_TRUE(snapToNextZone(before));
    EXPECT_TRUE(parqueta.isRunning()) << log();
}

TEST_F(RunningParqueta, SurvivesOpenboxKilledAndMetacityStartedAndStillSnaps)
{
    const std::optional<QString> before = snapToNextZone(std::nullopt);
    ASSERT_TRUE(before);

    const pid_t openbox = Robustness::childNamed("openbox");
    ASSERT_GT(openbox, 0) << "cannot find the openbox this test started";
    ASSERT_EQ(::kill(openbox, SIGKILL), 0);
    // The root keeps the dead manager's properties; its check window goes with its connection.
    const xcb_window_t check = supportingWmCheck();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !windowExists(check); })) << "openbox did not die";
    // A shortcut with no window manager at all: nothing to ask for a move, no crash.
    EXPECT_TRUE(driver.press(WindowShortcut::CycleRight));
    GestureDriver::pump(300);
    ASSERT_TRUE(parqueta.isRunning()) << "parqueta died with the window manager gone\n" << log();

    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Metacity));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.clientList().contains(window); }))
        << "metacity did not manage the window";
    ASSERT_TRUE(parqueta.isRunning()) << log();

    // Wherever the window ended up, two presses must visit both halves of the screen.
    const std::optional<QString> first = snapToNextZone(std::nullopt);
    ASSERT_TRUE(first);
    EXPECT_TRUE(snapToNextZone(first));
    EXPECT_TRUE(parqueta.isRunning()) << log();
}

// A multi-zone drag let go in the natural order, button first and Alt after it: Alt's
// release comes when no drag is watched. The next drag, switched to zone mode by a right
// click (no modifier changes to read Alt again from), must still be single-zone, not
// gather every zone it passes (and snap once per screen it crossed).
TEST_F(RunningParqueta, AltLetGoAfterTheButtonLeavesTheNextDragSingleZone)
{
    const QString right = QStringLiteral("RIGHT");
    DragOptions multi;
    multi.multiZone = true;
    multi.via = {zones.dropPoint(kLeft, QStringLiteral("1"))};
    driver.drag(window, zones.dropPoint(kLeft, QStringLiteral("2")), multi);
    ASSERT_TRUE(driver.waitForFrame(window, *zones.unitedFrame(kLeft, {QStringLiteral("1"), QStringLiteral("2")})))
        << "the multi-zone drag itself did not span both zones; the window is at " << frameText();

    // From the left screen across its second zone to the right screen's second zone.
    DragOptions plain;
    plain.toggle = ZoneToggle::RightClick;
    plain.via = {zones.dropPoint(kLeft, QStringLiteral("2")), zones.dropPoint(right, QStringLiteral("1"))};
    driver.drag(window, zones.dropPoint(right, QStringLiteral("2")), plain);
    EXPECT_TRUE(driver.waitForFrame(window, zones.zone(right, QStringLiteral("2"))->frame))
        << "a plain drag should fill the one zone it was dropped on; the window is at " << frameText() << "\n"
        << log();
}

} // namespace
