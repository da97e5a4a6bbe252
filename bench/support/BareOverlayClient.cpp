#include "BareOverlayClient.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xinput.h>

namespace Bench {

namespace {

xcb_visualid_t argbVisual(const xcb_screen_t* screen)
{
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem; xcb_depth_next(&depths)) {
        if (depths.data->depth != 32)
            continue;
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem; xcb_visualtype_next(&visuals)) {
            if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR)
                return visuals.data->visual_id;
        }
    }
    return XCB_NONE;
}

// A moment the reactions' thread stored (0: none yet).
std::optional<Clock::time_point> timeOf(const std::atomic<Clock::rep>& at)
{
    const Clock::rep value = at.load();
    if (value == 0)
        return std::nullopt;
    return Clock::time_point(Clock::duration(value));
}

void setShape(xcb_connection_t* c, xcb_window_t window, xcb_shape_sk_t kind, const QRegion& shape)
{
    std::vector<xcb_rectangle_t> rects;
    rects.reserve(size_t(shape.rectCount()));
    for (const QRect& r : shape)
        rects.push_back({int16_t(r.x()), int16_t(r.y()), uint16_t(r.width()), uint16_t(r.height())});
    xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_YX_BANDED, window, 0, 0, uint32_t(rects.size()),
        rects.data());
}

} // namespace

BareOverlayClient::BareOverlayClient(const std::vector<Window>& windows, bool translucent)
    : m_connection(xcb_connect(nullptr, nullptr))
    , m_translucent(translucent)
{
    xcb_connection_t* c = m_connection;
    if (xcb_connection_has_error(c))
        return;
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_query_extension_reply_t* input = xcb_get_extension_data(c, &xcb_input_id);
    const xcb_query_extension_reply_t* shm = xcb_get_extension_data(c, &xcb_shm_id);
    const xcb_visualid_t visual = translucent ? argbVisual(screen) : screen->root_visual;
    if (!input || !input->present || !shm || !shm->present || visual == XCB_NONE)
        return;
    m_inputOpcode = input->major_opcode;
    std::free(xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
    constexpr char opacityName[] = "_NET_WM_WINDOW_OPACITY";
    if (xcb_intern_atom_reply_t* atom
        = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof opacityName - 1, opacityName), nullptr)) {
        m_opacityAtom = atom->atom;
        std::free(atom);
    }

    xcb_colormap_t colormap = XCB_NONE;
    if (translucent) {
        m_depth = 32;
        colormap = xcb_generate_id(c);
        xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colormap, screen->root, visual);
    } else {
        m_depth = screen->root_depth;
    }
    for (const Window& w : windows) {
        Surface s;
        s.frame = w.frame;
        s.window = xcb_generate_id(c);
        // No background, as Qt makes its windows: what the server exposes stays as it is
        // until the client draws. A 32-bit window needs its own colormap and border.
        const uint32_t values[] = {XCB_BACK_PIXMAP_NONE, 0, 1, XCB_EVENT_MASK_EXPOSURE, colormap};
        const uint32_t mask = XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK
            | (translucent ? uint32_t(XCB_CW_COLORMAP) : 0u);
        xcb_create_window(c, m_depth, s.window, screen->root, int16_t(w.frame.x()), int16_t(w.frame.y()),
            uint16_t(w.frame.width()), uint16_t(w.frame.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual, mask,
            values);
        if (!w.shape.isEmpty())
            setShape(c, s.window, XCB_SHAPE_SK_BOUNDING, w.shape);
        setShape(c, s.window, XCB_SHAPE_SK_INPUT, QRegion());
        s.gc = xcb_generate_id(c);
        xcb_create_gc(c, s.gc, s.window, 0, nullptr);

        // The pixels, written once now, so that no show pays for a first touch of them.
        const size_t bytes = size_t(w.frame.width()) * size_t(w.frame.height()) * 4;
        s.shmId = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
        if (s.shmId < 0)
            return;
        s.pixels = shmat(s.shmId, nullptr, 0);
        if (s.pixels == reinterpret_cast<void*>(-1)) {
            s.pixels = nullptr;
            return;
        }
        auto* pixel = static_cast<uint32_t*>(s.pixels);
        for (size_t i = 0; i < bytes / 4; ++i)
            pixel[i] = 0x80142864; // premultiplied translucent blue
        s.segment = xcb_generate_id(c);
        xcb_shm_attach(c, s.segment, uint32_t(s.shmId), 0);
        if (translucent) {
            setOpacity(s.window, 0);
            xcb_map_window(c, s.window);
        }
        m_surfaces.push_back(s);
    }
    // Raw input on the root, as Parqueta listens: delivered whoever grabs the devices.
    struct
    {
        xcb_input_event_mask_t header;
        uint32_t mask;
    } selection {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
    xcb_input_xi_select_events(c, screen->root, 1, &selection.header);
    roundTrip();
    // The segments stay attached, in the server too, until both detach.
    for (const Surface& s : m_surfaces)
        shmctl(s.shmId, IPC_RMID, nullptr);
    m_wake = eventfd(0, EFD_CLOEXEC);
    m_valid = !xcb_connection_has_error(c) && m_wake >= 0;
    if (m_valid)
        m_thread = std::thread([this] { run(); });
}

BareOverlayClient::~BareOverlayClient()
{
    m_stop.store(true);
    if (m_thread.joinable()) {
        wake();
        m_thread.join();
    }
    if (m_wake >= 0)
        close(m_wake);
    for (const Surface& s : m_surfaces) {
        if (s.segment)
            xcb_shm_detach(m_connection, s.segment);
        xcb_destroy_window(m_connection, s.window);
        if (s.pixels)
            shmdt(s.pixels);
    }
    xcb_flush(m_connection);
    xcb_disconnect(m_connection);
}

void BareOverlayClient::showOnNextKeyPress()
{
    arm([this] { show(); }, nullptr);
}

void BareOverlayClient::repaintOnNextMotion(size_t index, const std::vector<QRect>& rects, const QRegion& shape)
{
    if (index >= m_surfaces.size())
        return;
    arm(nullptr, [this, index, rects, shape] {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        std::free(xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, root), nullptr));
        const Surface& s = m_surfaces[index];
        for (const QRect& rect : rects)
            put(s, rect);
        if (!shape.isEmpty())
            setShape(m_connection, s.window, XCB_SHAPE_SK_BOUNDING, shape);
        roundTrip();
    });
}

std::optional<Clock::time_point> BareOverlayClient::done() const
{
    return timeOf(m_done);
}

std::optional<Clock::time_point> BareOverlayClient::hidden() const
{
    return timeOf(m_hidden);
}

void BareOverlayClient::hide()
{
    m_hidden.store(0);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_hide = true;
    }
    wake();
}

void BareOverlayClient::fadeIn(int ms)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_fadeInMs = std::max(0, ms);
    }
    wake();
}

void BareOverlayClient::wake()
{
    const uint64_t one = 1;
    while (write(m_wake, &one, sizeof one) < 0 && errno == EINTR) { }
}

void BareOverlayClient::arm(std::function<void()> onKey, std::function<void()> onMotion)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_done.store(0);
    m_onKey = std::move(onKey);
    m_onMotion = std::move(onMotion);
}

void BareOverlayClient::run()
{
    while (!m_stop.load()) {
        bool hide = false;
        int fadeInMs = -1;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            hide = std::exchange(m_hide, false);
            fadeInMs = std::exchange(m_fadeInMs, -1);
        }
        if (fadeInMs >= 0 && m_translucent) {
            m_fadeBegan = Clock::now();
            m_fadeMs = fadeInMs;
            m_fadeTick = -1;
        }
        const int nextStepMs = stepFade();
        if (hide) {
            m_fadeMs = 0;
            for (const Surface& s : m_surfaces) {
                if (m_translucent)
                    setOpacity(s.window, 0);
                else
                    xcb_unmap_window(m_connection, s.window);
            }
            roundTrip();
            m_hidden.store(Clock::now().time_since_epoch().count());
        }
        xcb_generic_event_t* event = xcb_poll_for_event(m_connection);
        if (!event) {
            if (xcb_connection_has_error(m_connection))
                return;
            // Asleep until the server or hide() has something, or a fade's next step is
            // due: a timer would wake the machine from the very idle the rhythm of the
            // measurements is about.
            pollfd readable[] {{xcb_get_file_descriptor(m_connection), POLLIN, 0}, {m_wake, POLLIN, 0}};
            poll(readable, 2, nextStepMs);
            if (readable[1].revents & POLLIN) {
                uint64_t count = 0;
                if (read(m_wake, &count, sizeof count) < 0)
                    continue;
            }
            continue;
        }
        std::function<void()> reaction;
        if ((event->response_type & 0x7f) == XCB_GE_GENERIC) {
            const auto* generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (generic->extension == m_inputOpcode && generic->event_type == XCB_INPUT_RAW_KEY_PRESS)
                reaction = std::exchange(m_onKey, nullptr);
            else if (generic->extension == m_inputOpcode && generic->event_type == XCB_INPUT_RAW_MOTION)
                reaction = std::exchange(m_onMotion, nullptr);
        }
        std::free(event);
        if (reaction) {
            reaction();
            m_done.store(Clock::now().time_since_epoch().count());
        }
    }
}

void BareOverlayClient::show()
{
    xcb_connection_t* c = m_connection;
    if (m_translucent) {
        // Parked: only new pixels, raised over whatever came since, and the opacity the
        // fade-in starts from.
        const uint32_t above = XCB_STACK_MODE_ABOVE;
        for (const Surface& s : m_surfaces) {
            put(s, QRect(QPoint(), s.frame.size()));
            xcb_configure_window(c, s.window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
            setOpacity(s.window, 0);
        }
        roundTrip();
        return;
    }
    std::vector<xcb_window_t> unexposed;
    for (const Surface& s : m_surfaces) {
        xcb_map_window(c, s.window);
        unexposed.push_back(s.window);
    }
    xcb_flush(c);
    // Each window is drawn once the server has exposed it, as a toolkit does.
    while (!unexposed.empty()) {
        xcb_generic_event_t* event = xcb_wait_for_event(c);
        if (!event)
            return;
        if ((event->response_type & 0x7f) == XCB_EXPOSE) {
            const auto* expose = reinterpret_cast<const xcb_expose_event_t*>(event);
            const auto it = std::find(unexposed.begin(), unexposed.end(), expose->window);
            if (it != unexposed.end() && expose->count == 0) {
                unexposed.erase(it);
                for (const Surface& s : m_surfaces) {
                    if (s.window == expose->window)
                        put(s, QRect(QPoint(), s.frame.size()));
                }
                xcb_flush(c);
            }
        }
        std::free(event);
    }
    roundTrip();
}

void BareOverlayClient::put(const Surface& s, const QRect& rect)
{
    const QRect r = rect & QRect(QPoint(), s.frame.size());
    if (r.isEmpty())
        return;
    xcb_shm_put_image(m_connection, s.window, s.gc, uint16_t(s.frame.width()), uint16_t(s.frame.height()),
        uint16_t(r.x()), uint16_t(r.y()), uint16_t(r.width()), uint16_t(r.height()), int16_t(r.x()), int16_t(r.y()),
        m_depth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, s.segment, 0);
}

void BareOverlayClient::setOpacity(xcb_window_t window, uint32_t opacity)
{
    if (m_opacityAtom)
        xcb_change_property(
            m_connection, XCB_PROP_MODE_REPLACE, window, m_opacityAtom, XCB_ATOM_CARDINAL, 32, 1, &opacity);
}

int BareOverlayClient::stepFade()
{
    // Qt's animations tick every 16 ms; each tick sets the opacity the time has reached.
    constexpr int kTickMs = 16;
    if (m_fadeMs <= 0)
        return -1;
    const double elapsedMs = microseconds(m_fadeBegan, Clock::now()) / 1000;
    const int tick = int(elapsedMs / kTickMs);
    if (tick != m_fadeTick || elapsedMs >= m_fadeMs) {
        m_fadeTick = tick;
        const double progress = std::min(1.0, elapsedMs / m_fadeMs);
        for (const Surface& s : m_surfaces)
            setOpacity(s.window, uint32_t(progress * 0xffffffffu));
        xcb_flush(m_connection);
        if (progress >= 1.0) {
            m_fadeMs = 0;
            return -1;
        }
    }
    return std::max(0, int((tick + 1) * kTickMs - elapsedMs));
}

void BareOverlayClient::roundTrip()
{
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

} // namespace Bench
