#include "ServerFloor.h"

#include "BenchSupport.h"

#include <chrono>
#include <cstdlib>

#include <xcb/shape.h>

namespace Bench {

namespace {

void setBoundingShape(xcb_connection_t* c, xcb_window_t window, const QRegion& shape)
{
    std::vector<xcb_rectangle_t> rects;
    rects.reserve(size_t(shape.rectCount()));
    for (const QRect& r : shape)
        rects.push_back({int16_t(r.x()), int16_t(r.y()), uint16_t(r.width()), uint16_t(r.height())});
    // A QRegion's rectangles are in the server's own banded order: nothing to sort.
    xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_YX_BANDED, window, 0, 0,
        uint32_t(rects.size()), rects.data());
}

} // namespace

BareShapedWindows::BareShapedWindows(const std::vector<ShapedFrame>& windows)
    : m_connection(xcb_connect(nullptr, nullptr))
{
    if (!isValid())
        return;
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    for (const ShapedFrame& w : windows) {
        const xcb_window_t window = xcb_generate_id(m_connection);
        // No background, as Qt makes its windows: what the server exposes stays as it is
        // until the client draws, instead of being filled first.
        const uint32_t values[] = {XCB_BACK_PIXMAP_NONE, 1};
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, screen->root, int16_t(w.frame.x()),
            int16_t(w.frame.y()), uint16_t(w.frame.width()), uint16_t(w.frame.height()), 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
        setBoundingShape(m_connection, window, w.shape);
        m_shapes.push_back(w.shape);
        xcb_shape_rectangles(
            m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
        xcb_map_window(m_connection, window);
        m_windows.push_back(window);
    }
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

BareShapedWindows::~BareShapedWindows()
{
    if (m_connection) {
        for (const xcb_window_t window : m_windows)
            xcb_destroy_window(m_connection, window);
        xcb_flush(m_connection);
        xcb_disconnect(m_connection);
    }
}

double BareShapedWindows::reshape(const std::vector<QRegion>& shapes)
{
    const Clock::time_point t0 = Clock::now();
    for (size_t i = 0; i < shapes.size() && i < m_windows.size(); ++i) {
        if (m_shapes.size() > i && m_shapes[i] == shapes[i])
            continue;
        setBoundingShape(m_connection, m_windows[i], shapes[i]);
    }
    m_shapes = shapes;
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return microseconds(t0, Clock::now());
}

RoundTripProbe::RoundTripProbe()
    : m_thread([this] {
        xcb_connection_t* c = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(c)) {
            xcb_disconnect(c);
            return;
        }
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
        while (!m_stop.load()) {
            const Clock::time_point t0 = Clock::now();
            std::free(xcb_query_pointer_reply(c, xcb_query_pointer(c, root), nullptr));
            m_us.push_back(microseconds(t0, Clock::now()));
            std::this_thread::sleep_until(t0 + std::chrono::milliseconds(1));
        }
        xcb_disconnect(c);
    })
{ }

RoundTripProbe::~RoundTripProbe()
{
    stop();
}

std::vector<double> RoundTripProbe::stop()
{
    m_stop.store(true);
    if (m_thread.joinable())
        m_thread.join();
    return m_us;
}

} // namespace Bench
