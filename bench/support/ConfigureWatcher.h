#pragma once

#include "BenchSupport.h"

#include <xcb/xcb.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Bench {

// The ConfigureNotify events of one window, timestamped on arrival by a thread with its
// own X connection: what any other client sees of a window being moved or resized.
class ConfigureWatcher final
{
public:
    explicit ConfigureWatcher(xcb_window_t window);
    ~ConfigureWatcher();
    ConfigureWatcher(const ConfigureWatcher&) = delete;
    ConfigureWatcher& operator=(const ConfigureWatcher&) = delete;

    void clear();
    std::vector<Clock::time_point> times();

    // Runs the Qt event loop until a ConfigureNotify has arrived and quietMs have passed
    // without another (or timeoutMs); returns the time from `since` to the last one, in
    // microseconds, or nothing when none arrived.
    std::optional<double> lastAfterQuiet(Clock::time_point since, int quietMs, int timeoutMs);

private:
    void run();

    xcb_window_t m_window;
    xcb_connection_t* m_connection = nullptr;
    std::thread m_thread;
    std::atomic<bool> m_stop {false};
    std::mutex m_mutex;
    std::vector<Clock::time_point> m_times;
};

} // namespace Bench
