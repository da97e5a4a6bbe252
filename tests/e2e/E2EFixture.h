#pragma once

// The fixture every end-to-end test file shares: a two-monitor virtual desktop (tint2 on
// RIGHT) with the window manager and compositor a test asks for, the real parqueta
// started on it with a fresh settings file, and the probes that watch it from outside.

#include "../x11/WindowsX11Support.h"
#include "DesktopZones.h"
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "core/Settings.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>

namespace E2E {

// Terminal windows round their size down to character cells (xterm: 6 x 13).
inline const QSize kCell(6, 13);

struct DesktopSetup
{
    WindowManagerKind windowManager = WindowManagerKind::Openbox;
    CompositorKind compositor = CompositorKind::None;

    friend bool operator==(const DesktopSetup&, const DesktopSetup&) = default;
};

inline const char* name(WindowManagerKind kind)
{
    return WindowsX11::wmName(kind);
}

inline const char* name(CompositorKind kind)
{
    switch (kind) {
    case CompositorKind::Xcompmgr:
        return "xcompmgr";
    case CompositorKind::Picom:
        return "picom";
    case CompositorKind::None:
        break;
    }
    return "nocompositor";
}

inline std::string describe(const DesktopSetup& setup)
{
    return std::string(name(setup.windowManager)) + "_" + name(setup.compositor);
}

inline void PrintTo(const DesktopSetup& setup, std::ostream* os)
{
    *os << describe(setup);
}

class Fixture : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (m_parqueta && m_parqueta->isRunning()) {
            const std::optional<int> code = m_parqueta->terminate();
            EXPECT_EQ(code, std::optional<int>(0)) << "parqueta did not exit cleanly on SIGTERM:\n"
                                                   << m_parqueta->logText().right(3000).toStdString();
        }
        m_parqueta.reset();
        desktop.stopAllClients();
        if (HasFailure())
            std::fprintf(stderr, "[e2e] desktop logs in %s/logs\n", qPrintable(desktop.scratchDir()));
    }

    // The desktop as asked; kept from the previous test when it is already so.
    void prepare(const DesktopSetup& setup)
    {
        ASSERT_TRUE(driver.isValid()) << "no XTest extension or no X connection";
        if (current() && *current() == setup && desktop.monitorNames().size() == 2)
            return;
        current().reset();
        desktop.stopCompositor();
        desktop.stopPanel();
        ASSERT_TRUE(desktop.resetMonitors());
        ASSERT_TRUE(desktop.startWindowManager(setup.windowManager));
        // The compositor before the panel: tint2 rebuilds its panel when one appears,
        // which would change the visible frames in the middle of the first gesture.
        ASSERT_TRUE(desktop.startCompositor(setup.compositor));
        ASSERT_TRUE(desktop.startPanel(1));
        current() = setup;
    }

    static std::optional<DesktopSetup>& current()
    {
        static std::optional<DesktopSetup> setup;
        return setup;
    }

    // A first run of parqueta (fresh settings, with edit applied beforehand), and the
    // zones it works with.
    void startParqueta(const std::function<void(Settings&)>& edit = {})
    {
        SettingsFile file;
        file.remove();
        if (edit) {
            ASSERT_TRUE(file.edit(edit));
        }
        m_parqueta = std::make_unique<ParquetaProcess>(desktop);
        ASSERT_TRUE(m_parqueta->start());
        overlays.setOwnerPid(m_parqueta->pid());
        const std::optional<DesktopZones> read = DesktopZones::read();
        ASSERT_TRUE(read) << DesktopZones::lastError().toStdString();
        zones = *read;
        ASSERT_EQ(zones.screenNames(), (QStringList {QStringLiteral("LEFT"), QStringLiteral("RIGHT")}));
    }

    // Stops parqueta cleanly, lets edit change its settings file, starts it again.
    void restartParqueta(const std::function<bool(SettingsFile&)>& edit)
    {
        ASSERT_TRUE(m_parqueta);
        ASSERT_EQ(m_parqueta->terminate(), std::optional<int>(0)) << log();
        SettingsFile file;
        ASSERT_TRUE(edit(file));
        ASSERT_TRUE(m_parqueta->start());
        overlays.setOwnerPid(m_parqueta->pid());
        const std::optional<DesktopZones> read = DesktopZones::read();
        ASSERT_TRUE(read) << DesktopZones::lastError().toStdString();
        zones = *read;
    }

    // The next prepare() builds the desktop afresh (after a test changed monitors).
    static void desktopChanged() { current().reset(); }

    xcb_window_t plainWindow(const QString& title, const QRect& geometry = QRect(150, 200, 420, 300))
    {
        const xcb_window_t window = desktop.startPlainWindow(title, geometry);
        EXPECT_NE(window, XCB_WINDOW_NONE);
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.frameOf(window).has_value(); }));
        return window;
    }

    xcb_window_t xterm(const QString& title)
    {
        const xcb_window_t window = desktop.startXterm(title);
        EXPECT_NE(window, XCB_WINDOW_NONE);
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.frameOf(window).has_value(); }));
        return window;
    }

    QRect frame(const QString& screen, const QString& zone)
    {
        const std::optional<DesktopZone> found = zones.zone(screen, zone);
        EXPECT_TRUE(found) << "no zone " << zone.toStdString() << " on " << screen.toStdString();
        return found ? found->frame : QRect();
    }

    std::string frameText(xcb_window_t window)
    {
        return ::testing::PrintToString(driver.frameOf(window).value_or(QRect()));
    }

    std::string log() const { return m_parqueta ? m_parqueta->logText().right(4000).toStdString() : std::string(); }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    OverlayProbe overlays;
    GestureDriver driver {desktop, overlays};
    DesktopZones zones;
    std::unique_ptr<ParquetaProcess> m_parqueta;
};

} // namespace E2E
