#pragma once

#include "VirtualDesktop.h"

#include <QCoreApplication>
#include <QRect>
#include <QString>

#include <optional>
#include <ostream>

// Readable failure messages for the rectangles and texts these tests compare.
inline void PrintTo(const QRect& r, std::ostream* os)
{
    *os << r.x() << "," << r.y() << " " << r.width() << "x" << r.height();
}
inline void PrintTo(const QRectF& r, std::ostream* os)
{
    *os << r.x() << "," << r.y() << " " << r.width() << "x" << r.height();
}
inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}

namespace WindowsX11 {

inline const char* wmName(WindowManagerKind kind)
{
    switch (kind) {
    case WindowManagerKind::Openbox:
        return "openbox";
    case WindowManagerKind::Xfwm4:
        return "xfwm4";
    case WindowManagerKind::Metacity:
        return "metacity";
    case WindowManagerKind::None:
        break;
    }
    return "none";
}

// The frame the user sees, measured by the harness's own connection.
inline std::optional<QRect> visibleFrame(VirtualDesktop& desktop, xcb_window_t window)
{
    return desktop.visibleFrame(window);
}

inline bool hasState(VirtualDesktop& desktop, xcb_window_t window, const char* state)
{
    return desktop.property32(window, "_NET_WM_STATE").contains(desktop.atom(state));
}

// Asks the window manager, as a pager would, to add (1) or remove (0) states.
inline void requestState(
    VirtualDesktop& desktop, xcb_window_t window, uint32_t action, const char* first, const char* second = nullptr)
{
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = desktop.atom("_NET_WM_STATE");
    message.data.data32[0] = action;
    message.data.data32[1] = desktop.atom(first);
    message.data.data32[2] = second ? desktop.atom(second) : 0;
    message.data.data32[3] = 2;
    xcb_send_event(desktop.connection(), 0, desktop.root(),
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&message));
    xcb_flush(desktop.connection());
}

inline bool maximize(VirtualDesktop& desktop, xcb_window_t window)
{
    requestState(desktop, window, 1, "_NET_WM_STATE_MAXIMIZED_VERT", "_NET_WM_STATE_MAXIMIZED_HORZ");
    return VirtualDesktop::waitUntil([&] {
        return hasState(desktop, window, "_NET_WM_STATE_MAXIMIZED_VERT")
            && hasState(desktop, window, "_NET_WM_STATE_MAXIMIZED_HORZ");
    });
}

inline void pump(int milliseconds)
{
    VirtualDesktop::pump(milliseconds);
}

} // namespace WindowsX11

inline void PrintTo(WindowManagerKind kind, std::ostream* os)
{
    *os << WindowsX11::wmName(kind);
}
