#pragma once

#include <QList>
#include <QMap>
#include <QMargins>
#include <QRect>
#include <QString>
#include <QTemporaryDir>

#include "XServerProcess.h"

#include <xcb/xcb.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>

class ChildProcess;

// A virtual X11 desktop for the X11 tests: an X server (Xvfb, or Xorg with the dummy
// driver) with two RandR monitors and, on request, a session bus, a window manager with
// its own panel, a tint2 panel, a compositor and client windows. Everything it starts is killed by process id when it
// is destroyed, when the process exits and when a fatal signal arrives.
//
// X11TestMain (linked into every parqueta_x11_test executable) starts one desktop before
// the QApplication exists, so Qt connects to it, and hands it out as VirtualDesktop::shared().
// The tests of one executable share it; a test that changes monitors, the window manager
// or the panel should leave the default back (resetMonitors(), stopPanel(), ...) or not
// care about what the previous test left.
//
// Failures: every method that can fail returns a falsy value, keeps the reason in
// lastError() and, inside a running test, records it as a GoogleTest failure, naming
// the Debian package to install when a program is missing. So
//     ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
// stops the test with a readable message. Nothing is ever skipped.
//
// Typical use:
//     VirtualDesktop& desktop = VirtualDesktop::shared();
//     ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
//     ASSERT_TRUE(desktop.startPanel(1));                 // tint2 at the bottom of RIGHT
//     const xcb_window_t w = desktop.startPlainWindow("editor", QRect(100, 100, 400, 300));
//     ASSERT_NE(w, XCB_WINDOW_NONE);
//     EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.clientGeometry(w)->width() == 640; }));
//     desktop.stopClient(w);
enum class WindowManagerKind {
    None,
    Openbox, // openbox --sm-disable; frame extents 1,1,20,5
    Xfwm4, // xfwm4 --compositor=off (starts the session bus itself)
    Metacity, // metacity --compositor=none
    // The desktops below come with their panels, on the primary monitor as their stock
    // settings put them; startWindowManager() waits until the panel reserves its space.
    Xfce, // xfwm4 --compositor=off and xfce4-panel (top, 27 px, with a strut)
    Icewm, // icewm with its taskbar (bottom; the strut sits on a window outside the client list)
    Fluxbox, // fluxbox with its toolbar (bottom; no strut, only _NET_WORKAREA)
    Kwin, // kwin_x11 without compositing (KWIN_COMPOSE=N) and Breeze decorations; no panel
};

enum class CompositorKind {
    None,
    Xcompmgr,
    Picom, // picom --backend xrender --config /dev/null
};

struct MonitorSpec
{
    QString name;
    QRect geometry;
    bool primary = false;
};

class VirtualDesktop final
{
public:
    // Root size of the server; the default monitors split it in two halves.
    static constexpr int kWidth = 2560;
    static constexpr int kHeight = 1080;
    // Height of the tint2 panel that startPanel() creates (from the stock tint2rc).
    static constexpr int kPanelHeight = 30;

    VirtualDesktop();
    ~VirtualDesktop();
    VirtualDesktop(const VirtualDesktop&) = delete;
    VirtualDesktop& operator=(const VirtualDesktop&) = delete;

    // The desktop of this test executable (started by X11TestMain).
    static VirtualDesktop& shared();
    static void setShared(VirtualDesktop* desktop);

    // Creates scratch HOME, XDG_RUNTIME_DIR, XDG_CONFIG_HOME, XDG_CACHE_HOME and
    // XDG_DATA_HOME and exports them with DISPLAY and QT_QPA_PLATFORM=xcb for this
    // process and its children; starts the server on a free display number, waits
    // until it accepts connections and sets defaultMonitors().
    bool start(ServerKind server = ServerKind::Xvfb);
    ServerKind serverKind() const;
    // Stops every child and the server.
    void stop();

    QString displayName() const { return m_displayName; } // ":N"
    QString scratchDir() const;
    QString lastError() const { return m_lastError; }

    // --- Monitors (RandR 1.5 monitors through xrandr --setmonitor) ---
    // LEFT 1280x1080+0+0 (primary), RIGHT 1280x1080+1280+0.
    static QList<MonitorSpec> defaultMonitors();
    // Replaces all monitors; waits until the server reports exactly these. On Xorg only
    // the default monitors exist: its two outputs, named LEFT and RIGHT.
    bool setMonitors(const QList<MonitorSpec>& monitors);
    bool resetMonitors() { return setMonitors(defaultMonitors()); }
    // xrandr --delmonitor NAME; waits until it is gone.
    bool deleteMonitor(const QString& name);
    // Names of the server's monitors in its order (primary first).
    QStringList monitorNames();

    // --- Session services ---
    // dbus-daemon --session on a socket in the scratch dir; exports DBUS_SESSION_BUS_ADDRESS.
    bool startSessionBus();
    // Replaces the running window manager (if any) and waits until it owns WM_S0 and
    // publishes _NET_SUPPORTING_WM_CHECK. None just stops the current one.
    bool startWindowManager(WindowManagerKind kind);
    void stopWindowManager();
    WindowManagerKind windowManager() const { return m_windowManagerKind; }
    // tint2 (stock /etc/xdg/tint2/tint2rc, panel_monitor set) at the bottom of the
    // monitor with that index in the server's order, kPanelHeight high, across the whole
    // monitor. tint2 maps its panel only while a window manager runs: start one first.
    // Waits until the dock window with its strut exists and the window manager lists it.
    bool startPanel(int monitorIndex);
    void stopPanel();
    xcb_window_t panelWindow() const { return m_panelWindow; }
    // Xft.dpi in the root's RESOURCE_MANAGER, as `xrdb -merge` sets it (Qt programs
    // started afterwards take it as their device-pixel ratio x 96); 0 removes it.
    bool setXftDpi(int dpi);
    // Asks the window manager to maximize a window (or to restore it) and waits until
    // its frame changed.
    bool setMaximized(xcb_window_t window, bool maximized);
    // Waits until the compositor owns _NET_WM_CM_S0.
    bool startCompositor(CompositorKind kind);
    void stopCompositor();

    // --- Clients ---
    // tools/desktop/clients/plain_window: a normal window with no size increments (exact
    // sizes), the given WM_CLASS (instance and class) and title, at the requested
    // position and size (USPosition/USSize). Returns its client window once mapped
    // (and listed in _NET_CLIENT_LIST when a window manager runs), else XCB_WINDOW_NONE.
    xcb_window_t startPlainWindow(const QString& title, const QRect& geometry = QRect(100, 100, 400, 300),
        const QString& wmClass = QStringLiteral("ParquetaPlain"));
    // xterm -T title (WM_CLASS "xterm", "XTerm", or "xterm", className with -class); its
    // size snaps to 6x13 character cells.
    xcb_window_t startXterm(const QString& title, const QString& className = {});
    // Stops the process of a client started above (SIGTERM, then SIGKILL).
    void stopClient(xcb_window_t window);
    void stopAllClients();

    // --- Queries (own xcb connection of the harness) ---
    xcb_connection_t* connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    xcb_atom_t atom(const char* name);
    // _NET_CLIENT_LIST of the root window (empty without a window manager).
    QList<xcb_window_t> clientList();
    // A window whose WM_CLASS instance or class equals wmClass (empty: any) and whose
    // title (_NET_WM_NAME, else WM_NAME) equals title (empty: any); searched in
    // _NET_CLIENT_LIST, and through the window tree when no window manager runs.
    xcb_window_t findWindow(const QString& wmClass, const QString& title = {});
    xcb_window_t waitForWindow(const QString& wmClass, const QString& title = {}, int timeoutMs = 5000);
    QString wmClassOf(xcb_window_t window);
    QString titleOf(xcb_window_t window);
    // The client area of a window in root coordinates (what xwininfo calls the absolute
    // upper-left and the size), without the window manager's frame.
    std::optional<QRect> clientGeometry(xcb_window_t window);
    // The innermost window that receives the pointer at its current position.
    xcb_window_t deepestWindowUnderPointer();
    // _NET_FRAME_EXTENTS (left, top, right, bottom).
    std::optional<QMargins> frameExtents(xcb_window_t window);
    // The frame the user sees: the client area plus _NET_FRAME_EXTENTS, measured on this
    // connection, independent of the program under test.
    std::optional<QRect> visibleFrame(xcb_window_t window);
    // A CARDINAL/WINDOW/ATOM property as 32-bit values (empty when absent).
    QList<quint32> property32(xcb_window_t window, const char* name);

    // Polls condition (processing Qt events between tries, if a Qt application exists)
    // until it holds or timeoutMs passes. Returns the condition's last result.
    static bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 5000);
    // Lets queued Qt and X events run for a while.
    static void pump(int milliseconds)
    {
        waitUntil([] { return false; }, milliseconds);
    }

    // Records a failure (lastError(), stderr, and ADD_FAILURE inside a running test).
    bool fail(const QString& message);

private:
    bool arrangeXorgOutputs();
    bool waitForReservedSpace(ChildProcess& program, const QString& what);
    bool requireProgram(const QString& program, const QString& package);
    bool startChild(ChildProcess& child, const QString& program, const QString& package, const QStringList& arguments,
        const QString& logName);
    bool waitForWindowManager(ChildProcess& child, const QString& what);
    xcb_window_t selectionOwner(const char* selection);
    QList<xcb_window_t> treeWindows();
    xcb_window_t startClientProcess(const QString& program, const QString& package, const QStringList& arguments,
        const QString& wmClass, const QString& title);
    QString logDir() const;

    std::unique_ptr<QTemporaryDir> m_scratch;
    std::unique_ptr<XServerProcess> m_server;
    std::unique_ptr<ChildProcess> m_bus;
    std::unique_ptr<ChildProcess> m_windowManager;
    std::unique_ptr<ChildProcess> m_desktopPanel; // xfce4-panel of WindowManagerKind::Xfce
    std::unique_ptr<ChildProcess> m_panel;
    std::unique_ptr<ChildProcess> m_compositor;
    std::map<xcb_window_t, std::unique_ptr<ChildProcess>> m_clients;
    WindowManagerKind m_windowManagerKind = WindowManagerKind::None;
    xcb_window_t m_panelWindow = XCB_WINDOW_NONE;
    QString m_displayName;
    QString m_lastError;
    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    QMap<QByteArray, xcb_atom_t> m_atoms;
    int m_childCounter = 0;
};
