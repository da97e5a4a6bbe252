#pragma once

#include <QHash>
#include <QPoint>

#include "platform/WindowControl.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11WindowInspector.h"

#include <QMargins>
#include <QRect>

#include <optional>
#include <vector>

// A client window of another application: the window that carries WM_STATE, inside the
// window manager's frame.
class X11WindowHandle final : public WindowHandle
{
public:
    explicit X11WindowHandle(xcb_window_t window)
        : window(window)
    { }
    const xcb_window_t window;
};

// Window control through EWMH and ICCCM. Geometry is the frame the user sees: the
// client's rectangle in root coordinates grown by _NET_FRAME_EXTENTS. Every X error,
// including a window destroyed between two requests, ends the operation with an absent
// value or no effect.
class X11WindowControl final : public WindowControl
{
public:
    explicit X11WindowControl(X11Connection& connection);

    // The client window behind a handle made here; XCB_WINDOW_NONE for others.
    static xcb_window_t windowOf(const WindowHandle& handle);
    static Handle handleFor(xcb_window_t window);

    // How long frame changes wait for the window manager to leave a maximized or
    // full-screen state before they move the window anyway.
    void setStateTimeout(int milliseconds) { m_stateTimeoutMs = milliseconds; }

    Handle focusedWindow() override;
    Handle windowAtCursor() override;
    std::optional<quint32> windowId(const WindowHandle& window) override;
    std::optional<WindowApplication> application(const WindowHandle& window) override;
    std::optional<QRectF> frame(const WindowHandle& window) override;
    std::optional<QPointF> position(const WindowHandle& window) override;
    std::optional<QSizeF> size(const WindowHandle& window) override;
    void setFrame(const WindowHandle& window, const QRectF& rect) override;
    void setSize(const WindowHandle& window, const QSizeF& size) override;
    bool focus(const WindowHandle& window) override;
    bool isNormal(const WindowHandle& window) override;
    std::optional<WindowFacts> facts(const WindowHandle& window) override;
    std::optional<WindowIdentity> identity(const WindowHandle& window) override;
    // _NET_CLIENT_LIST, the normal ones.
    std::vector<Handle> normalWindows() override;

private:
    struct Geometry
    {
        // The client's outer rectangle (border included) in root coordinates.
        QRect client;
        QMargins extents;
        int border = 0;

        QRect frame() const { return client.marginsAdded(extents); }
    };

    std::optional<Geometry> geometry(xcb_window_t window);
    std::vector<std::optional<Geometry>> geometries(const std::vector<xcb_window_t>& windows);
    std::optional<QMargins> frameExtents(xcb_window_t window);
    bool exists(xcb_window_t window);
    bool windowManagerRuns();
    bool windowManagerSupports(xcb_atom_t atom);
    // The window with WM_STATE at or below topLevel (breadth first, as xprop does).
    xcb_window_t clientWindowIn(xcb_window_t topLevel);
    // The child of the root window that contains window.
    xcb_window_t topLevelOf(xcb_window_t window);
    xcb_window_t clientFromInputFocus();
    xcb_window_t topmostClientAt(const QPoint& point);
    // Asks the window manager to leave maximized and full-screen states and waits
    // until it has. Returns false when the window vanished.
    bool leaveMaximizedState(xcb_window_t window);
    // How a move is asked for: _NET_MOVERESIZE_WINDOW where the window manager supports
    // it, else (or on request) an ICCCM configure request on the client.
    enum class MoveRequest { Ewmh, Configure };
    void moveResize(xcb_window_t window, const QRect& rect, bool move, MoveRequest how = MoveRequest::Ewmh);

    // Some window managers (icewm with its task bar) read a move request as the client's
    // position rather than the frame's and leave the frame (and its title bar) off by up
    // to the extents; others drop the position of a request that arrives while their own
    // move is ending (xfwm4, on the button release that snaps). Once the request has
    // settled the applied frame is compared with it and the move corrected, at most twice.
    // Nothing is learnt for later moves: a window manager replaced in the meantime would
    // inherit a wrong correction.
    // How far a placement check has gone for one move.
    enum class PlacementStep { First, Compensated, Repeated };
    void schedulePlacementCheck(xcb_window_t window, QRect requested, quint64 serial, PlacementStep step);
    void checkPlacement(xcb_window_t window, QRect requested, quint64 serial, PlacementStep step);

    quint32 ownerPid(xcb_window_t window);
    void recordPlacement(xcb_window_t window, const QRect& requested, const QRect& applied, bool honoured);

    X11Connection& m_connection;
    X11WindowInspector m_inspector;
    QHash<xcb_window_t, WindowFacts::Placement> m_placements;
    int m_stateTimeoutMs = 500;
    QHash<xcb_window_t, quint64> m_moveSerials;
    // The process that owned each window when it was moved (0: it did not say). X11
    // hands a new client the number of one that just left: a check must not move the
    // newcomer to where the old window was asked to go.
    QHash<xcb_window_t, quint32> m_moveOwners;
    quint64 m_nextMoveSerial = 1;
};
