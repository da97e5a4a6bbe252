#include "OverlayProbe.h"

#include "VirtualDesktop.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <QRect>

#include <xcb/shape.h>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// Whether a bounding shape leaves nothing of the window (size w x h) on the screen.
bool shapedAway(xcb_connection_t* c, xcb_window_t window, int w, int h)
{
    Reply<xcb_shape_query_extents_reply_t> extents(
        xcb_shape_query_extents_reply(c, xcb_shape_query_extents(c, window), nullptr));
    if (!extents || !extents->bounding_shaped)
        return false;
    Reply<xcb_shape_get_rectangles_reply_t> rectangles(xcb_shape_get_rectangles_reply(
        c, xcb_shape_get_rectangles(c, window, XCB_SHAPE_SK_BOUNDING), nullptr));
    if (!rectangles)
        return false;
    const xcb_rectangle_t* r = xcb_shape_get_rectangles_rectangles(rectangles.get());
    const QRect inside(0, 0, w, h);
    for (int i = 0; i < xcb_shape_get_rectangles_rectangles_length(rectangles.get()); ++i) {
        if (inside.intersects(QRect(r[i].x, r[i].y, r[i].width, r[i].height)))
            return false;
    }
    return true;
}

} // namespace

OverlayProbe::OverlayProbe(VirtualDesktop& desktop, pid_t ownerPid)
    : m_desktop(desktop)
    , m_ownerPid(ownerPid)
{ }

OverlayProbe::OverlayProbe(pid_t ownerPid)
    : OverlayProbe(VirtualDesktop::shared(), ownerPid)
{ }

bool OverlayProbe::isValid() const
{
    return m_desktop.connection() != nullptr && !xcb_connection_has_error(m_desktop.connection());
}

QList<OverlayProbe::Overlay> OverlayProbe::mapped()
{
    QList<Overlay> result;
    if (!isValid())
        return result;
    xcb_connection_t* c = m_desktop.connection();
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, m_desktop.root()), nullptr));
    if (!tree)
        return result;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    for (int i = 0; i < count; ++i) {
        const xcb_window_t window = children[i];
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
        if (!attributes || !attributes->override_redirect || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        if (m_desktop.titleOf(window) != m_title)
            continue;
        if (m_ownerPid > 0 && m_desktop.property32(window, "_NET_WM_PID") != QList<quint32> {quint32(m_ownerPid)})
            continue;
        // Fully transparent to the compositor: a window parked between gestures, or one
        // whose fade-in has not begun.
        if (m_desktop.property32(window, "_NET_WM_WINDOW_OPACITY") == QList<quint32> {0})
            continue;
        Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
        if (!geometry)
            continue;
        // Parked by its shape: mapped, but nothing of its shape lies within it.
        if (shapedAway(c, window, geometry->width, geometry->height))
            continue;
        result.append({window, QRect(geometry->x, geometry->y, geometry->width, geometry->height)});
    }
    return result;
}

QList<QRect> OverlayProbe::mappedGeometries()
{
    QList<QRect> result;
    for (const Overlay& overlay : mapped())
        result << overlay.geometry;
    std::sort(result.begin(), result.end(),
        [](const QRect& a, const QRect& b) { return std::pair(a.x(), a.y()) < std::pair(b.x(), b.y()); });
    return result;
}

bool OverlayProbe::waitForShown(int count, int timeoutMs)
{
    return VirtualDesktop::waitUntil(
        [&] {
            const int n = mappedCount();
            return count < 0 ? n > 0 : n == count;
        },
        timeoutMs);
}

bool OverlayProbe::waitForHidden(int timeoutMs)
{
    return VirtualDesktop::waitUntil([&] { return mappedCount() == 0; }, timeoutMs);
}

std::optional<QRect> OverlayProbe::trayIcon()
{
    if (!isValid() || m_ownerPid <= 0)
        return std::nullopt;
    xcb_connection_t* c = m_desktop.connection();
    // Breadth-first below the top level: embedded icons are children of the panel's window.
    QList<xcb_window_t> queue {m_desktop.root()};
    for (int depth = 0; depth < 6 && !queue.isEmpty(); ++depth) {
        QList<xcb_window_t> next;
        for (const xcb_window_t parent : queue) {
            Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, parent), nullptr));
            if (!tree)
                continue;
            const xcb_window_t* children = xcb_query_tree_children(tree.get());
            for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
                const xcb_window_t window = children[i];
                next << window;
                if (depth == 0 || m_desktop.property32(window, "_NET_WM_PID") != QList<quint32> {quint32(m_ownerPid)})
                    continue;
                Reply<xcb_get_window_attributes_reply_t> attributes(
                    xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
                Reply<xcb_get_geometry_reply_t> geometry(
                    xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
                if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE || !geometry || geometry->width > 64
                    || geometry->height > 64)
                    continue;
                Reply<xcb_translate_coordinates_reply_t> at(xcb_translate_coordinates_reply(
                    c, xcb_translate_coordinates(c, window, m_desktop.root(), 0, 0), nullptr));
                if (at)
                    return QRect(at->dst_x, at->dst_y, geometry->width, geometry->height);
            }
        }
        queue = next;
    }
    return std::nullopt;
}
