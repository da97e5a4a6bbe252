#pragma once

#include <QList>
#include <QRect>
#include <QSize>

#include <optional>

// Space reserved by a panel or dock (_NET_WM_STRUT_PARTIAL / _NET_WM_STRUT). Widths are
// measured from the ROOT window's edges, not from a monitor's; ranges are inclusive root
// coordinates along the edge.
struct X11Strut
{
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
    int leftStartY = 0;
    int leftEndY = 0;
    int rightStartY = 0;
    int rightEndY = 0;
    int topStartX = 0;
    int topEndX = 0;
    int bottomStartX = 0;
    int bottomEndX = 0;

    // The 12 values of _NET_WM_STRUT_PARTIAL; nothing for another count.
    static std::optional<X11Strut> fromPartial(const QList<quint32>& values, QSize root);
    // The 4 values of _NET_WM_STRUT: each reservation spans its whole root edge.
    static std::optional<X11Strut> fromLegacy(const QList<quint32>& values, QSize root);

    friend bool operator==(const X11Strut&, const X11Strut&) = default;
};

// A monitor minus the struts that reach into it. A strut counts for a monitor when its
// inner border lies strictly inside the monitor and its range overlaps the monitor
// along that edge: a panel at the bottom of the right monitor shrinks that monitor only.
// A strut that would swallow a whole monitor (its border beyond the monitor's far
// side, as with a panel on an inner edge between two monitors) does not count for it.
QRect visibleArea(const QRect& monitor, QSize root, const QList<X11Strut>& struts);

// Space the window manager reserves (_NET_WORKAREA: one rectangle for the whole root)
// that no strut explains, as with fluxbox's toolbar, which sets none: a strut for each
// panel window lying inside such a reserved band along the root's edge, over that
// window's extent only. Nothing for a band with no window in it: some window managers
// publish a work area that means nothing (xfwm4), and a guess would cut into a monitor.
QList<X11Strut> unexplainedReservations(
    const QRect& workarea, QSize root, const QList<X11Strut>& struts, const QList<QRect>& panels);
