#pragma once

#include "models/WindowIdentity.h"
#include "platform/WindowFacts.h"

#include <xcb/xcb.h>

#include <optional>

class X11Connection;

// Reads what decides whether a client window is one Parqueta snaps, and says why in
// words: the same reading serves the snapping decision and the debug window's
// "Why won't this window snap?", so the two cannot disagree.
class X11WindowInspector final
{
public:
    explicit X11WindowInspector(X11Connection& connection);

    // Empty for an ordinary application window; otherwise the reason Parqueta leaves
    // the window alone ("it is gone" for a destroyed one).
    QString notNormalReason(xcb_window_t window);
    // Title, class, kinds, states and size hints. The frame and the last placement are
    // the window control's to add. Absent once the window is gone.
    std::optional<WindowFacts> facts(xcb_window_t window);
    // WM_CLASS, WM_WINDOW_ROLE, the title and the command line of the process named by
    // _NET_WM_PID (/proc/<pid>/cmdline, its arguments joined by spaces; empty for a
    // process on another host or one that is gone). Absent once the window is gone.
    std::optional<WindowIdentity> identity(xcb_window_t window);

private:
    QString title(xcb_window_t window);
    QString commandLine(xcb_window_t window);
    // "_NET_WM_WINDOW_TYPE_DOCK" less prefix, in lower case with spaces: "dock".
    QStringList atomNames(const std::vector<uint32_t>& atoms, const char* prefix);

    X11Connection& m_connection;
};
