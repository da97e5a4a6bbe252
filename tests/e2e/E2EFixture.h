#pragma once

// What every end-to-end test shares: a two-monitor virtual desktop (tint2 on RIGHT unless
// the setup says otherwise) with
// the window manager and compositor a test asks for, the real parqueta started on it with
// a fresh settings file, and the probes that watch it from outside.

#include "DesktopZones.h"
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "TestSupport.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "core/Settings.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace E2E {

const QString kLeft = QStringLiteral("LEFT");
const QString kRight = QStringLiteral("RIGHT");
// Terminal windows round their size down to character cells (xterm: 6 x 13).
inline const QSize kCell(6, 13);

struct DesktopSetup
{
    WindowManagerKind windowManager = WindowManagerKind::Openbox;
    CompositorKind compositor = CompositorKind::None;
    const char* name = "";
    // The monitor (server order) that gets a tint2 panel at its bottom; -1: none.
    int tint2Monitor = 1;

    friend bool operator==(const DesktopSetup& a, const DesktopSetup& b) { return std::string(a.name) == b.name; }
    friend void PrintTo(const DesktopSetup& setup, std::ostream* os) { *os << setup.name; }
};

class Fixture : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (m_parqueta && m_parqueta->isRunning()) {
            EXPECT_EQ(m_parqueta->terminate(), std::optional<int>(0)) << "no clean exit on SIGTERM:\n" << log();
        }
        m_parqueta.reset();
        desktop.stopAllClients();
    }

    // The desktop as asked; kept from the previous test when it is already so.
    void prepare(const DesktopSetup& setup)
    {
        ASSERT_TRUE(driver.isValid()) << "no XTest extension or no X connection";
        static std::optional<DesktopSetup> current;
        if (current == setup && !s_desktopChanged && desktop.monitorNames().size() == 2)
            return;
        current.reset();
        s_desktopChanged = false;
        desktop.stopCompositor();
        desktop.stopPanel();
        ASSERT_TRUE(desktop.resetMonitors());
        ASSERT_TRUE(desktop.startWindowManager(setup.windowManager));
        // The compositor before the panel: tint2 rebuilds its panel when one appears,
        // which would change the visible frames in the middle of the first gesture.
        ASSERT_TRUE(desktop.startCompositor(setup.compositor));
        if (setup.tint2Monitor >= 0) {
            ASSERT_TRUE(desktop.startPanel(setup.tint2Monitor));
        }
        current = setup;
    }

    // A first run of parqueta (fresh settings, edit applied beforehand), or a restart
    // after edit changed the file of the stopped program; then the zones it works with.
    void startParqueta(const std::function<void(Settings&)>& edit = {})
    {
        SettingsFile file;
        file.remove();
        if (edit) {
            ASSERT_TRUE(file.edit(edit));
        }
        m_parqueta = std::make_unique<ParquetaProcess>(desktop);
        ASSERT_NO_FATAL_FAILURE(restartParqueta({}));
    }
    void restartParqueta(const std::function<bool(SettingsFile&)>& edit)
    {
        if (m_parqueta->isRunning()) {
            ASSERT_EQ(m_parqueta->terminate(), std::optional<int>(0)) << log();
        }
        SettingsFile file;
        if (edit) {
            ASSERT_TRUE(edit(file));
        }
        ASSERT_TRUE(m_parqueta->start()) << m_parqueta->lastError().toStdString();
        overlays.setOwnerPid(m_parqueta->pid());
        const std::optional<DesktopZones> read = DesktopZones::read();
        ASSERT_TRUE(read) << DesktopZones::lastError().toStdString();
        zones = *read;
        ASSERT_EQ(zones.screenNames(), (QStringList {kLeft, kRight}));
    }

    xcb_window_t plainWindow(const QString& title, const QRect& geometry = QRect(150, 200, 420, 300))
    {
        return shown(desktop.startPlainWindow(title, geometry));
    }
    xcb_window_t xterm(const QString& title, const QString& className = {})
    {
        return shown(desktop.startXterm(title, className));
    }
    xcb_window_t shown(xcb_window_t window)
    {
        EXPECT_TRUE(
            window != XCB_WINDOW_NONE && VirtualDesktop::waitUntil([&] { return driver.frameOf(window).has_value(); }));
        return window;
    }
    QRect frame(const QString& screen, const QString& zone)
    {
        const std::optional<DesktopZone> found = zones.zone(screen, zone);
        EXPECT_TRUE(found) << "no zone " << zone.toStdString() << " on " << screen.toStdString();
        return found ? found->frame : QRect();
    }
    // Waits for the window to take the frame (within tolerance); the message says where it is.
    ::testing::AssertionResult lands(xcb_window_t window, const QRect& expected, QSize tolerance = {})
    {
        if (driver.waitForFrame(window, expected, tolerance))
            return ::testing::AssertionSuccess();
        const QRect r = driver.frameOf(window).value_or(QRect());
        return ::testing::AssertionFailure() << "wanted " << ::testing::PrintToString(QRectF(expected)) << ", got "
                                             << ::testing::PrintToString(QRectF(r)) << "\n"
                                             << log();
    }
    std::string log() const { return m_parqueta ? m_parqueta->logText().right(3000).toStdString() : std::string(); }

    static inline bool s_desktopChanged = false;
    VirtualDesktop& desktop = VirtualDesktop::shared();
    OverlayProbe overlays;
    GestureDriver driver {desktop, overlays};
    DesktopZones zones;
    std::unique_ptr<ParquetaProcess> m_parqueta;
};

} // namespace E2E
