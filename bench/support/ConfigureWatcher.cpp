#include "ConfigureWatcher.h"

#include <cstdlib>

#include <poll.h>

namespace Bench {

ConfigureWatcher::ConfigureWatcher(xcb_window_t window)
    : m_window(window)
{
    m_connection = xcb_connect(nullptr, nullptr);
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    m_thread = std::thread([this] { run(); });
}

ConfigureWatcher::~ConfigureWatcher()
{
    m_stop.store(true);
    m_thread.join();
    xcb_disconnect(m_connection);
}

void ConfigureWatcher::clear()
{
    std::lock_guard lock(m_mutex);
    m_times.clear();
}

std::vector<Clock::time_point> ConfigureWatcher::times()
{
    std::lock_guard lock(m_mutex);
    return m_times;
}

std::optional<double> ConfigureWatcher::lastAfterQuiet(Clock::time_point since, int quietMs, int timeoutMs)
{
    runUntil(
        [&] {
            const std::vector<Clock::time_point> seen = times();
            return !seen.empty() && Clock::now() - seen.back() > std::chrono::milliseconds(quietMs);
        },
        timeoutMs);
    const std::vector<Clock::time_point> seen = times();
    if (seen.empty())
        return std::nullopt;
    return microseconds(since, seen.back());
}

void ConfigureWatcher::run()
{
    pollfd fd {xcb_get_file_descriptor(m_connection), POLLIN, 0};
    while (!m_stop.load()) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            const Clock::time_point now = Clock::now();
            if ((event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY
                && reinterpret_cast<xcb_configure_notify_event_t*>(event)->window == m_window) {
                std::lock_guard lock(m_mutex);
                m_times.push_back(now);
            }
            std::free(event);
        }
        poll(&fd, 1, 20);
    }
}

} // namespace Bench
