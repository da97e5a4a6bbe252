#pragma once

// The overlays without Qt and without Parqueta: a bare xcb client with windows of the
// overlays' frames, visual and shapes, whose pixels wait in shared memory from the start,
// reacting on a thread and a connection of its own to the same raw input events Parqueta
// reacts to. What it takes is what the X server, the compositor and this machine's
// waking from idle cost any client that shows and repaints such windows: the floor for
// the overlay and the highlight figures.
#include "BenchSupport.h"

#include <QRect>
#include <QRegion>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

namespace Bench {

class BareOverlayClient final
{
public:
    struct Window
    {
        QRect frame; // desktop space, device pixels
        QRegion shape; // the window's own pixels; empty: unshaped
    };

    // translucent: 32-bit windows that stay mapped at opacity 0 between shows, as
    // Parqueta parks its overlays with a compositor; otherwise windows of the root's
    // depth, unmapped between shows. Either way override-redirect, without background
    // and with an empty input shape, as Qt makes the overlays.
    BareOverlayClient(const std::vector<Window>& windows, bool translucent);
    ~BareOverlayClient();
    BareOverlayClient(const BareOverlayClient&) = delete;
    BareOverlayClient& operator=(const BareOverlayClient&) = delete;

    bool isValid() const { return m_valid; }

    // At the next raw key press: unparked or mapped (waiting for every Expose), all
    // pixels put, a round trip.
    void showOnNextKeyPress();
    // At the next raw motion: the pointer read (raw motion carries no position), the
    // pixels of `rects` (window coordinates) of window `index` put, its shape set when
    // one is given, a round trip.
    void repaintOnNextMotion(size_t index, const std::vector<QRect>& rects, const QRegion& shape);
    // When the reaction armed last finished; nothing while it has not.
    std::optional<Clock::time_point> done() const;
    // Unmapped, or parked at opacity 0, by the reactions' thread: it alone uses the
    // connection once they run, so that no event waits in a queue it does not watch. A
    // round trip follows: hidden() is when it returned, the server done with what the
    // windows leaving exposed.
    void hide();
    std::optional<Clock::time_point> hidden() const;
    // Translucent windows brought to full opacity: at once, or in steps over `ms` as Qt
    // animates the overlays' opacity (one step per animation tick, linear), so that the
    // compositor recomposites them as often as it does Parqueta's.
    void fadeIn(int ms = 0);

private:
    struct Surface
    {
        xcb_window_t window = 0;
        xcb_gcontext_t gc = 0;
        QRect frame;
        int shmId = -1;
        uint32_t segment = 0;
        void* pixels = nullptr;
    };

    void arm(std::function<void()> onKey, std::function<void()> onMotion);
    void run();
    void wake();
    void show();
    void put(const Surface& surface, const QRect& rect);
    void setOpacity(xcb_window_t window, uint32_t opacity);
    // The next step of a fade under way, if one is due; the milliseconds until the step
    // after it, -1 when the fade is over or there is none.
    int stepFade();
    void roundTrip();

    xcb_connection_t* m_connection = nullptr;
    bool m_translucent = false;
    bool m_valid = false;
    uint8_t m_depth = 24;
    uint8_t m_inputOpcode = 0;
    xcb_atom_t m_opacityAtom = 0;
    std::vector<Surface> m_surfaces;

    std::mutex m_mutex;
    std::function<void()> m_onKey, m_onMotion;
    bool m_hide = false;
    int m_fadeInMs = -1; // asked for by fadeIn(), not yet begun; -1: none
    Clock::time_point m_fadeBegan; // the reactions' thread's alone
    int m_fadeMs = 0; // the fade under way, 0: none; the reactions' thread's alone
    int m_fadeTick = -1; // the last tick of it that set the opacity
    int m_wake = -1; // an eventfd: hide() or the destructor has something for the thread
    std::atomic<Clock::rep> m_done {0};
    std::atomic<Clock::rep> m_hidden {0};
    std::atomic<bool> m_stop {false};
    std::thread m_thread;
};

} // namespace Bench
