#pragma once

// What the X server itself makes of a desktop with Parqueta's overlay shapes on it,
// without Parqueta: bare windows with the same frames and shapes, and a probe that
// times the server's answers while something else (a drag) keeps it busy.
#include <QRect>
#include <QRegion>

#include <atomic>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

namespace Bench {

struct ShapedFrame
{
    QRect frame; // desktop space, device pixels
    QRegion shape; // the window's own pixels
};

// Override-redirect windows of the root's depth on a connection of their own, mapped at once, with
// the given bounding shapes and an empty input shape (clicks pass through), as the
// overlays are without a compositor.
class BareShapedWindows final
{
public:
    explicit BareShapedWindows(const std::vector<ShapedFrame>& windows);
    ~BareShapedWindows();
    BareShapedWindows(const BareShapedWindows&) = delete;
    BareShapedWindows& operator=(const BareShapedWindows&) = delete;

    bool isValid() const { return m_connection && !xcb_connection_has_error(m_connection); }
    // Gives window i shapes[i] (where it differs) and waits for the server to have done
    // it; microseconds.
    double reshape(const std::vector<QRegion>& shapes);

private:
    xcb_connection_t* m_connection = nullptr;
    std::vector<xcb_window_t> m_windows;
    std::vector<QRegion> m_shapes;
};

// A QueryPointer round trip every millisecond from a connection of its own, on its own
// thread, until stop(): how long any client waits for the server meanwhile.
class RoundTripProbe final
{
public:
    RoundTripProbe();
    ~RoundTripProbe();
    RoundTripProbe(const RoundTripProbe&) = delete;
    RoundTripProbe& operator=(const RoundTripProbe&) = delete;

    // The round trips so far, in microseconds; stops the probe.
    std::vector<double> stop();

private:
    std::atomic<bool> m_stop {false};
    std::vector<double> m_us;
    std::thread m_thread;
};

} // namespace Bench
