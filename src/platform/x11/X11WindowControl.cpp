#include "platform/x11/X11WindowControl.h"

#include "core/Logging.h"

#include <QElapsedTimer>
#include <QThread>
#include <QTimer>

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>


namespace {

constexpr int kPlacementCheckMs = 150;
constexpr int kExtentsSettleMs = 60;
constexpr qsizetype kRememberedPlacements = 256;

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};

template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// Takes a reply and its error; the error is logged (at debug level: windows vanish all
// the time) and freed. The error is taken by reference: in take(c, xcb_..._reply(c, cookie,
// &error), error, ...) a copy could be made before the reply call fills it in (argument
// order is unspecified), and the error would leak.
template <typename T>
Reply<T> take(const X11Connection& connection, T* reply, xcb_generic_error_t*& error, const char* what)
{
    connection.checkError(error, what);
    error = nullptr;
    return Reply<T>(reply);
}

// The caller reads and frees the error itself.
template <typename T> Reply<T> take(const X11Connection&, T* reply, std::nullptr_t, std::nullptr_t)
{
    return Reply<T>(reply);
}

constexpr int kMaxTreeDepth = 4;

} // namespace

X11WindowControl::X11WindowControl(X11Connection& connection)
    : m_connection(connection)
    , m_inspector(connection)
{ }

xcb_window_t X11WindowControl::windowOf(const WindowHandle& handle)
{
    const auto* x11 = dynamic_cast<const X11WindowHandle*>(&handle);
    return x11 ? x11->window : xcb_window_t(XCB_WINDOW_NONE);
}

WindowControl::Handle X11WindowControl::handleFor(xcb_window_t window)
{
    if (window == XCB_WINDOW_NONE)
        return nullptr;
    return std::make_shared<X11WindowHandle>(window);
}

// ---------------------------------------------------------------------------------------
// Reading

bool X11WindowControl::exists(xcb_window_t window)
{
    if (!m_connection.isValid() || window == XCB_WINDOW_NONE)
        return false;
    xcb_connection_t* c = m_connection.connection();
    xcb_generic_error_t* error = nullptr;
    return take(m_connection, xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), &error), error,
               "GetWindowAttributes")
        != nullptr;
}

bool X11WindowControl::windowManagerRuns()
{
    const auto check = m_connection.property32(m_connection.root(), m_connection.ewmh()->_NET_SUPPORTING_WM_CHECK);
    return check && !check->empty() && exists(check->front());
}

bool X11WindowControl::windowManagerSupports(xcb_atom_t atom)
{
    if (!windowManagerRuns())
        return false;
    const auto supported = m_connection.property32(m_connection.root(), m_connection.ewmh()->_NET_SUPPORTED);
    return supported && std::find(supported->begin(), supported->end(), atom) != supported->end();
}

std::vector<std::optional<X11WindowControl::Geometry>> X11WindowControl::geometries(
    const std::vector<xcb_window_t>& windows)
{
    std::vector<std::optional<Geometry>> result(windows.size());
    if (!m_connection.isValid())
        return result;
    xcb_connection_t* c = m_connection.connection();
    const xcb_atom_t extentsAtom = m_connection.ewmh()->_NET_FRAME_EXTENTS;
    struct Cookies
    {
        xcb_get_geometry_cookie_t geometry;
        xcb_translate_coordinates_cookie_t origin;
        xcb_get_property_cookie_t extents;
    };
    // All requests first, then all replies: one round trip for any number of windows.
    std::vector<Cookies> cookies;
    cookies.reserve(windows.size());
    for (xcb_window_t window : windows) {
        cookies.push_back({xcb_get_geometry(c, window), xcb_translate_coordinates(c, window, m_connection.root(), 0, 0),
            xcb_get_property(c, 0, window, extentsAtom, XCB_ATOM_CARDINAL, 0, 4)});
    }
    for (size_t i = 0; i < windows.size(); ++i) {
        xcb_generic_error_t* error = nullptr;
        const auto geometry
            = take(m_connection, xcb_get_geometry_reply(c, cookies[i].geometry, &error), error, "GetGeometry");
        error = nullptr;
        const auto origin = take(
            m_connection, xcb_translate_coordinates_reply(c, cookies[i].origin, &error), error, "TranslateCoordinates");
        error = nullptr;
        const auto extents = take(m_connection, xcb_get_property_reply(c, cookies[i].extents, &error), error,
            "GetProperty(_NET_FRAME_EXTENTS)");
        if (!geometry || !origin || !extents)
            continue;
        Geometry g;
        g.border = geometry->border_width;
        // The translated origin is inside the border; the outer rectangle includes it.
        g.client = QRect(origin->dst_x - g.border, origin->dst_y - g.border, geometry->width + 2 * g.border,
            geometry->height + 2 * g.border);
        if (extents->format == 32 && xcb_get_property_value_length(extents.get()) >= 16) {
            const auto* e = static_cast<const uint32_t*>(xcb_get_property_value(extents.get()));
            g.extents = QMargins(
                static_cast<int>(e[0]), static_cast<int>(e[2]), static_cast<int>(e[1]), static_cast<int>(e[3]));
        }
        result[i] = g;
    }
    return result;
}

std::optional<X11WindowControl::Geometry> X11WindowControl::geometry(xcb_window_t window)
{
    if (window == XCB_WINDOW_NONE)
        return std::nullopt;
    return geometries({window}).front();
}

std::optional<QMargins> X11WindowControl::frameExtents(xcb_window_t window)
{
    const auto values = m_connection.property32(window, m_connection.ewmh()->_NET_FRAME_EXTENTS);
    if (!values)
        return std::nullopt;
    if (values->size() < 4)
        return QMargins();
    const auto& e = *values;
    return QMargins(static_cast<int>(e[0]), static_cast<int>(e[2]), static_cast<int>(e[1]), static_cast<int>(e[3]));
}

std::optional<QRectF> X11WindowControl::frame(const WindowHandle& handle)
{
    const std::optional<Geometry> g = geometry(windowOf(handle));
    if (!g)
        return std::nullopt;
    return QRectF(g->frame());
}

std::optional<QPointF> X11WindowControl::position(const WindowHandle& handle)
{
    const std::optional<QRectF> f = frame(handle);
    return f ? std::optional<QPointF>(f->topLeft()) : std::nullopt;
}

std::optional<QSizeF> X11WindowControl::size(const WindowHandle& handle)
{
    const std::optional<QRectF> f = frame(handle);
    return f ? std::optional<QSizeF>(f->size()) : std::nullopt;
}

std::optional<quint32> X11WindowControl::windowId(const WindowHandle& handle)
{
    const xcb_window_t window = windowOf(handle);
    return window == XCB_WINDOW_NONE ? std::nullopt : std::optional<quint32>(window);
}

std::optional<WindowApplication> X11WindowControl::application(const WindowHandle& handle)
{
    const xcb_window_t window = windowOf(handle);
    if (window == XCB_WINDOW_NONE || !m_connection.isValid())
        return std::nullopt;
    xcb_connection_t* c = m_connection.connection();
    const xcb_get_property_cookie_t classCookie = xcb_icccm_get_wm_class(c, window);
    const xcb_get_property_cookie_t pidCookie = xcb_ewmh_get_wm_pid(m_connection.ewmh(), window);

    WindowApplication app;
    bool vanished = false;
    xcb_generic_error_t* error = nullptr;
    xcb_icccm_get_wm_class_reply_t wmClass;
    if (xcb_icccm_get_wm_class_reply(c, classCookie, &wmClass, &error)) {
        // The class names the application ("XTerm", "firefox"); desktop files match on it.
        app.name = QString::fromLocal8Bit(wmClass.class_name);
        app.identifier = app.name;
        app.instance = QString::fromLocal8Bit(wmClass.instance_name);
        xcb_icccm_get_wm_class_reply_wipe(&wmClass);
    } else if (error) {
        vanished = true;
        m_connection.checkError(error, "GetProperty(WM_CLASS)");
    }
    error = nullptr;
    uint32_t pid = 0;
    if (xcb_ewmh_get_wm_pid_reply(m_connection.ewmh(), pidCookie, &pid, &error))
        app.pid = pid;
    else if (error) {
        vanished = true;
        m_connection.checkError(error, "GetProperty(_NET_WM_PID)");
    }
    if (vanished)
        return std::nullopt;
    return app;
}

// ---------------------------------------------------------------------------------------
// Finding windows

xcb_window_t X11WindowControl::clientWindowIn(xcb_window_t topLevel)
{
    if (!m_connection.isValid() || topLevel == XCB_WINDOW_NONE)
        return XCB_WINDOW_NONE;
    xcb_connection_t* c = m_connection.connection();
    const xcb_atom_t wmState = m_connection.atom("WM_STATE");
    std::vector<xcb_window_t> level {topLevel};
    for (int depth = 0; depth <= kMaxTreeDepth && !level.empty(); ++depth) {
        std::vector<xcb_get_property_cookie_t> states;
        std::vector<xcb_query_tree_cookie_t> trees;
        for (xcb_window_t window : level) {
            states.push_back(xcb_get_property(c, 0, window, wmState, XCB_GET_PROPERTY_TYPE_ANY, 0, 0));
            trees.push_back(xcb_query_tree(c, window));
        }
        xcb_window_t found = XCB_WINDOW_NONE;
        std::vector<xcb_window_t> next;
        for (size_t i = 0; i < level.size(); ++i) {
            xcb_generic_error_t* error = nullptr;
            const auto state
                = take(m_connection, xcb_get_property_reply(c, states[i], &error), error, "GetProperty(WM_STATE)");
            error = nullptr;
            const auto tree = take(m_connection, xcb_query_tree_reply(c, trees[i], &error), error, "QueryTree");
            if (found == XCB_WINDOW_NONE && state && state->type != XCB_ATOM_NONE)
                found = level[i];
            if (tree) {
                const xcb_window_t* children = xcb_query_tree_children(tree.get());
                next.insert(next.end(), children, children + xcb_query_tree_children_length(tree.get()));
            }
        }
        if (found != XCB_WINDOW_NONE)
            return found;
        level = std::move(next);
    }
    return XCB_WINDOW_NONE;
}

xcb_window_t X11WindowControl::topLevelOf(xcb_window_t window)
{
    if (!m_connection.isValid())
        return XCB_WINDOW_NONE;
    xcb_connection_t* c = m_connection.connection();
    const xcb_window_t root = m_connection.root();
    for (int depth = 0; window != XCB_WINDOW_NONE && window != root && depth < 32; ++depth) {
        xcb_generic_error_t* error = nullptr;
        const auto tree
            = take(m_connection, xcb_query_tree_reply(c, xcb_query_tree(c, window), &error), error, "QueryTree");
        if (!tree)
            return XCB_WINDOW_NONE;
        if (tree->parent == root)
            return window;
        window = tree->parent;
    }
    return XCB_WINDOW_NONE;
}

xcb_window_t X11WindowControl::clientFromInputFocus()
{
    xcb_connection_t* c = m_connection.connection();
    xcb_generic_error_t* error = nullptr;
    const auto focus
        = take(m_connection, xcb_get_input_focus_reply(c, xcb_get_input_focus(c), &error), nullptr, nullptr);
    if (!focus) {
        qCDebug(lcWindows).noquote()
            << QStringLiteral("Error retrieving focused window: %1").arg(error ? error->error_code : 0);
        std::free(error);
        return XCB_WINDOW_NONE;
    }
    const xcb_window_t window = focus->focus;
    if (window == XCB_WINDOW_NONE || window == XCB_INPUT_FOCUS_POINTER_ROOT || window == m_connection.root())
        return XCB_WINDOW_NONE;
    // The focus may sit on a child of the client (a text field); climb to the top and
    // come down to the window that carries WM_STATE.
    return clientWindowIn(topLevelOf(window));
}

WindowControl::Handle X11WindowControl::focusedWindow()
{
    if (!m_connection.isValid())
        return nullptr;
    xcb_connection_t* c = m_connection.connection();
    xcb_generic_error_t* error = nullptr;
    const auto active = take(m_connection,
        xcb_get_property_reply(c,
            xcb_get_property(c, 0, m_connection.root(), m_connection.ewmh()->_NET_ACTIVE_WINDOW, XCB_ATOM_WINDOW, 0, 1),
            &error),
        nullptr, nullptr);
    if (!active) {
        qCDebug(lcWindows).noquote()
            << QStringLiteral("Error retrieving focused window: %1").arg(error ? error->error_code : 0);
        std::free(error);
        return nullptr;
    }
    xcb_window_t window = XCB_WINDOW_NONE;
    if (active->format == 32 && xcb_get_property_value_length(active.get()) >= 4)
        window = *static_cast<const xcb_window_t*>(xcb_get_property_value(active.get()));
    if (window != XCB_WINDOW_NONE && window != m_connection.root())
        return exists(window) ? handleFor(window) : nullptr;

    // No active window announced (no EWMH window manager, or the desktop has the focus):
    // the keyboard focus tells which client has it.
    qCDebug(lcWindows) << "appResult == .noValue, trying to get main window instead";
    return handleFor(clientFromInputFocus());
}

xcb_window_t X11WindowControl::topmostClientAt(const QPoint& point)
{
    auto stacking = m_connection.property32(m_connection.root(), m_connection.ewmh()->_NET_CLIENT_LIST_STACKING);
    if (!stacking || stacking->empty())
        return XCB_WINDOW_NONE;
    std::vector<xcb_window_t> windows(stacking->rbegin(), stacking->rend()); // topmost first
    xcb_connection_t* c = m_connection.connection();
    std::vector<xcb_get_window_attributes_cookie_t> attributes;
    for (xcb_window_t window : windows)
        attributes.push_back(xcb_get_window_attributes(c, window));
    const std::vector<std::optional<Geometry>> frames = geometries(windows);
    xcb_window_t found = XCB_WINDOW_NONE;
    for (size_t i = 0; i < windows.size(); ++i) {
        xcb_generic_error_t* error = nullptr;
        const auto attrs = take(
            m_connection, xcb_get_window_attributes_reply(c, attributes[i], &error), error, "GetWindowAttributes");
        // Minimised windows and those on other workspaces are unmapped.
        if (found == XCB_WINDOW_NONE && attrs && attrs->map_state == XCB_MAP_STATE_VIEWABLE && frames[i]
            && frames[i]->frame().contains(point))
            found = windows[i];
    }
    return found;
}

WindowControl::Handle X11WindowControl::windowAtCursor()
{
    if (!m_connection.isValid())
        return nullptr;
    xcb_connection_t* c = m_connection.connection();
    const std::optional<X11Connection::PointerReading> pointer = m_connection.queryPointer();
    if (!pointer)
        return nullptr;
    if (pointer->child != XCB_WINDOW_NONE) {
        // The child of the root under the pointer is the window manager's frame; the
        // client inside carries WM_STATE. (Frames may be override-redirect, as icewm's
        // are, so those are not skipped.)
        if (const xcb_window_t client = clientWindowIn(pointer->child))
            return handleFor(client);
        if (!windowManagerRuns()) {
            const auto attrs = take(m_connection,
                xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, pointer->child), nullptr), nullptr,
                nullptr);
            if (attrs && !attrs->override_redirect)
                return handleFor(pointer->child);
        }
    }
    return handleFor(topmostClientAt(pointer->position.toPoint()));
}

// ---------------------------------------------------------------------------------------
// Writing

bool X11WindowControl::leaveMaximizedState(xcb_window_t window)
{
    xcb_ewmh_connection_t* ewmh = m_connection.ewmh();
    const xcb_atom_t maxVert = ewmh->_NET_WM_STATE_MAXIMIZED_VERT;
    const xcb_atom_t maxHorz = ewmh->_NET_WM_STATE_MAXIMIZED_HORZ;
    const xcb_atom_t fullscreen = ewmh->_NET_WM_STATE_FULLSCREEN;
    const auto constrained = [&](const std::vector<uint32_t>& states) {
        return std::any_of(
            states.begin(), states.end(), [&](uint32_t s) { return s == maxVert || s == maxHorz || s == fullscreen; });
    };

    auto states = m_connection.property32(window, ewmh->_NET_WM_STATE);
    if (!states)
        return false;
    if (!constrained(*states))
        return true;
    const auto extentsWhileMaximized = m_connection.property32(window, ewmh->_NET_FRAME_EXTENTS);

    const int screen = m_connection.screenNumber();
    xcb_ewmh_request_change_wm_state(
        ewmh, screen, window, XCB_EWMH_WM_STATE_REMOVE, maxVert, maxHorz, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    xcb_ewmh_request_change_wm_state(
        ewmh, screen, window, XCB_EWMH_WM_STATE_REMOVE, fullscreen, XCB_ATOM_NONE, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    m_connection.flush();

    // Window managers ignore or undo a move of a maximized window, so wait until this
    // one has let go; the state and the frame extents change together.
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < m_stateTimeoutMs) {
        QThread::usleep(2000);
        states = m_connection.property32(window, ewmh->_NET_WM_STATE);
        if (!states)
            return false;
        if (!constrained(*states))
            break;
    }
    if (states && constrained(*states)) {
        qCWarning(lcWindows) << "The window manager kept window" << Qt::hex << window << "maximized";
        return true;
    }
    // openbox sometimes announces the state a moment before the extents of the
    // undecorated-edges look go; sizing the client with those leaves the frame a few
    // pixels too large. Give the extents a moment to follow (some window managers keep
    // the same ones, hence the short limit).
    QElapsedTimer extentsTimer;
    extentsTimer.start();
    while (extentsTimer.elapsed() < kExtentsSettleMs
        && m_connection.property32(window, ewmh->_NET_FRAME_EXTENTS) == extentsWhileMaximized)
        QThread::usleep(2000);
    return true;
}

void X11WindowControl::moveResize(xcb_window_t window, const QRect& rect, bool move, MoveRequest how)
{
    const std::optional<Geometry> g = geometry(window);
    if (!g)
        return;
    // The window manager sizes the client; the frame adds the extents around it.
    const int width = std::max(1, rect.width() - g->extents.left() - g->extents.right() - 2 * g->border);
    const int height = std::max(1, rect.height() - g->extents.top() - g->extents.bottom() - 2 * g->border);
    xcb_connection_t* c = m_connection.connection();
    if (how == MoveRequest::Ewmh && windowManagerSupports(m_connection.ewmh()->_NET_MOVERESIZE_WINDOW)) {
        // NorthWest gravity: x and y place the frame's top-left corner.
        auto flags = static_cast<xcb_ewmh_moveresize_window_opt_flags_t>(
            XCB_EWMH_MOVERESIZE_WINDOW_WIDTH | XCB_EWMH_MOVERESIZE_WINDOW_HEIGHT);
        if (move)
            flags = static_cast<xcb_ewmh_moveresize_window_opt_flags_t>(
                flags | XCB_EWMH_MOVERESIZE_WINDOW_X | XCB_EWMH_MOVERESIZE_WINDOW_Y);
        xcb_ewmh_request_moveresize_window(m_connection.ewmh(), m_connection.screenNumber(), window,
            XCB_GRAVITY_NORTH_WEST, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER, flags, static_cast<uint32_t>(rect.x()),
            static_cast<uint32_t>(rect.y()), static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    } else {
        // A configure request: with the usual NorthWest gravity a window manager puts the
        // frame's corner at x, y (ICCCM 4.1.5); without one the client goes there.
        const uint32_t values[] = {static_cast<uint32_t>(rect.x()), static_cast<uint32_t>(rect.y()),
            static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
        if (move) {
            xcb_configure_window(c, window,
                XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
        } else {
            xcb_configure_window(c, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values + 2);
        }
    }
    m_connection.flush();
}

void X11WindowControl::setFrame(const WindowHandle& handle, const QRectF& rect)
{
    const xcb_window_t window = windowOf(handle);
    if (window == XCB_WINDOW_NONE || !m_connection.isValid() || !leaveMaximizedState(window))
        return;
    const QRect requested = rect.toRect();
    moveResize(window, requested, true);
    // Without a window manager the request is carried out as asked (and frame extents
    // left behind by a window manager that died say nothing): nothing to check.
    if (!windowManagerSupports(m_connection.ewmh()->_NET_MOVERESIZE_WINDOW))
        return;
    const quint64 serial = m_nextMoveSerial++;
    m_moveSerials.insert(window, serial);
    m_moveOwners.insert(window, ownerPid(window));
    schedulePlacementCheck(window, requested, serial, PlacementStep::First);
}

void X11WindowControl::schedulePlacementCheck(xcb_window_t window, QRect requested, quint64 serial, PlacementStep step)
{
    // Geometry settles within a few milliseconds of the request; a later move of the same
    // window makes this check moot.
    QTimer::singleShot(kPlacementCheckMs, &m_connection,
        [this, window, requested, serial, step] { checkPlacement(window, requested, serial, step); });
}

void X11WindowControl::checkPlacement(xcb_window_t window, QRect requested, quint64 serial, PlacementStep step)
{
    if (m_moveSerials.value(window) != serial)
        return;
    const std::optional<Geometry> g = geometry(window);
    if (!g || ownerPid(window) != m_moveOwners.value(window)) {
        m_moveSerials.remove(window);
        m_moveOwners.remove(window);
        return;
    }
    const QRect applied = g->frame();
    const QPoint off = applied.topLeft() - requested.topLeft();
    const QSize grown = applied.size() - requested.size();
    const int tolerance = 2;
    // A smaller frame in the right place is a client's size increments: as good as it gets.
    const bool placed = off.manhattanLength() <= tolerance && grown.width() <= 0 && grown.height() <= 0;
    if (placed) {
        m_moveSerials.remove(window);
        m_moveOwners.remove(window);
        recordPlacement(window, requested, applied, true);
        return;
    }
    // An offset the size of the frame's extents is a request read as client coordinates
    // (icewm with its taskbar): ask for the frame moved back by it. Anything else is a
    // request dropped or cut short, mostly because the window manager was still ending
    // its own move when the button came up (xfwm4 then applies the size but keeps the
    // position): ask once more as before. A window manager that insists has its way.
    const int alongX = g->extents.left() + g->extents.right() + tolerance;
    const int alongY = g->extents.top() + g->extents.bottom() + tolerance;
    const bool misread = off.manhattanLength() > tolerance && std::abs(off.x()) <= alongX && std::abs(off.y()) <= alongY
        && grown.width() <= alongX && grown.height() <= alongY;
    QRect ask;
    MoveRequest how = MoveRequest::Ewmh;
    PlacementStep next = PlacementStep::Repeated;
    if (step == PlacementStep::First && misread) {
        ask = requested.translated(-off);
        next = PlacementStep::Compensated;
    } else if (step != PlacementStep::Repeated) {
        // After a compensation that did not land, the first offset was not a misreading.
        // xfwm4 goes on ignoring the position in _NET_MOVERESIZE_WINDOW for a window it
        // has just moved, but honours the ICCCM request.
        ask = requested;
        how = MoveRequest::Configure;
    } else {
        qCInfo(lcWindows) << "The window manager keeps window" << Qt::hex << window << Qt::dec << "at" << applied
                          << "instead of" << requested;
        m_moveSerials.remove(window);
        m_moveOwners.remove(window);
        recordPlacement(window, requested, applied, false);
        return;
    }
    qCInfo(lcWindows) << "The window manager placed frame" << applied << "for" << requested << "; asking for" << ask;
    moveResize(window, ask, true, how);
    schedulePlacementCheck(window, requested, serial, next);
}

void X11WindowControl::setSize(const WindowHandle& handle, const QSizeF& size)
{
    const xcb_window_t window = windowOf(handle);
    if (window == XCB_WINDOW_NONE || !m_connection.isValid() || !leaveMaximizedState(window))
        return;
    moveResize(window, QRect(QPoint(), size.toSize()), false);
}

bool X11WindowControl::focus(const WindowHandle& handle)
{
    const xcb_window_t window = windowOf(handle);
    if (!exists(window))
        return false;
    xcb_connection_t* c = m_connection.connection();
    if (windowManagerSupports(m_connection.ewmh()->_NET_ACTIVE_WINDOW)) {
        // Source "pager": window managers with focus-stealing prevention honour it.
        xcb_window_t current = XCB_WINDOW_NONE;
        xcb_ewmh_get_active_window_reply(m_connection.ewmh(),
            xcb_ewmh_get_active_window(m_connection.ewmh(), m_connection.screenNumber()), &current, nullptr);
        xcb_ewmh_request_change_active_window(m_connection.ewmh(), m_connection.screenNumber(), window,
            XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER, XCB_CURRENT_TIME, current);
    } else {
        const uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_set_input_focus(c, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    }
    m_connection.flush();
    return true;
}

bool X11WindowControl::isNormal(const WindowHandle& handle)
{
    return m_inspector.notNormalReason(windowOf(handle)).isEmpty();
}

std::optional<WindowFacts> X11WindowControl::facts(const WindowHandle& handle)
{
    const xcb_window_t window = windowOf(handle);
    std::optional<WindowFacts> facts = m_inspector.facts(window);
    if (!facts)
        return std::nullopt;
    facts->frame = frame(handle);
    if (m_placements.contains(window))
        facts->lastPlacement = m_placements.value(window);
    return facts;
}

std::optional<WindowIdentity> X11WindowControl::identity(const WindowHandle& handle)
{
    return m_inspector.identity(windowOf(handle));
}

std::vector<WindowControl::Handle> X11WindowControl::normalWindows()
{
    std::vector<Handle> result;
    const auto clients = m_connection.property32(m_connection.root(), m_connection.ewmh()->_NET_CLIENT_LIST);
    for (const uint32_t window : clients.value_or(std::vector<uint32_t>())) {
        if (m_inspector.notNormalReason(window).isEmpty())
            result.push_back(handleFor(window));
    }
    return result;
}

quint32 X11WindowControl::ownerPid(xcb_window_t window)
{
    const auto pid = m_connection.property32(window, m_connection.ewmh()->_NET_WM_PID);
    return pid && !pid->empty() ? pid->front() : 0;
}

void X11WindowControl::recordPlacement(xcb_window_t window, const QRect& requested, const QRect& applied, bool honoured)
{
    // Only for the debug window: a bounded memory of recent moves is enough.
    if (m_placements.size() >= kRememberedPlacements && !m_placements.contains(window))
        m_placements.clear();
    m_placements.insert(window, WindowFacts::Placement {QRectF(requested), QRectF(applied), honoured});
}
