#include "platform/x11/X11DisplayServer.h"

#include "core/Logging.h"
#include "platform/x11/X11DisplayIdentity.h"

#include <xcb/randr.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// Bursts of events (a panel starting, a monitor being set up) become one refresh.
constexpr int kRefreshDelayMs = 20;

quint32 changesBetween(const QList<DisplayInfo>& before, const QList<DisplayInfo>& after)
{
    quint32 changes = 0;
    if (before.size() != after.size())
        return X11DisplayServer::MonitorsChanged;
    for (qsizetype i = 0; i < before.size(); ++i) {
        if (before[i].uuid != after[i].uuid || before[i].name != after[i].name || before[i].frame != after[i].frame)
            changes |= X11DisplayServer::MonitorsChanged;
        if (before[i].visibleFrame != after[i].visibleFrame)
            changes |= X11DisplayServer::VisibleFramesChanged;
    }
    return changes;
}

} // namespace

X11DisplayServer::X11DisplayServer(X11Connection& connection, QObject* parent)
    : DisplayServer(parent)
    , m_connection(connection)
{
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(kRefreshDelayMs);
    connect(&m_refreshTimer, &QTimer::timeout, this, &X11DisplayServer::refresh);
    if (!m_connection.isValid())
        return;

    xcb_connection_t* c = m_connection.connection();
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(c, &xcb_randr_id);
    if (randr && randr->present) {
        Reply<xcb_randr_query_version_reply_t> version(
            xcb_randr_query_version_reply(c, xcb_randr_query_version(c, 1, 5), nullptr));
        m_randrAvailable = version && (version->major_version > 1 || version->minor_version >= 5);
        m_randrEventBase = randr->first_event;
    }
    if (m_randrAvailable) {
        xcb_randr_select_input(c, m_connection.root(),
            XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE
                | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_PROPERTY);
    } else {
        qCWarning(lcX11) << "The X server has no RandR 1.5; treating the whole screen as one display";
    }
    // The client list and top-level maps tell when panels come and go. RandR 1.5 has no
    // event for monitors set with --setmonitor; the server announces them with a
    // ConfigureNotify of the root window instead.
    m_connection.selectEvents(m_connection.root(),
        XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    m_connection.addEventHandler(this);
    m_displays = readDisplays();
    for (const DisplayInfo& display : m_displays)
        qCDebug(lcScreens) << "Display" << display.name << display.uuid << display.frame << "visible"
                           << display.visibleFrame;
}

X11DisplayServer::~X11DisplayServer()
{
    m_connection.removeEventHandler(this);
}

QPointF X11DisplayServer::pointerLocation() const
{
    if (const std::optional<X11Connection::PointerReading> pointer = m_connection.queryPointer())
        return pointer->position;
    qCDebug(lcX11) << "Cannot read the pointer position";
    return {};
}

bool X11DisplayServer::refresh()
{
    m_refreshTimer.stop();
    if (!m_connection.isValid())
        return false;
    QList<DisplayInfo> fresh = readDisplays();
    const quint32 changes = changesBetween(m_displays, fresh);
    if (changes == 0)
        return false;
    m_displays = std::move(fresh);
    qCDebug(lcScreens) << "Displays changed, flags" << changes;
    for (const DisplayInfo& display : m_displays)
        qCDebug(lcScreens) << "Display" << display.name << display.uuid << display.frame << "visible"
                           << display.visibleFrame;
    Q_EMIT displaysChanged(changes);
    return true;
}

void X11DisplayServer::scheduleRefresh()
{
    if (!m_refreshTimer.isActive())
        m_refreshTimer.start();
}

bool X11DisplayServer::handleX11Event(xcb_generic_event_t* event)
{
    const uint8_t type = event->response_type & 0x7f;
    if (m_randrAvailable
        && (type == m_randrEventBase + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == m_randrEventBase + XCB_RANDR_NOTIFY)) {
        scheduleRefresh();
        return false;
    }
    switch (type) {
    case XCB_PROPERTY_NOTIFY: {
        const auto* e = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        const bool onRoot = e->window == m_connection.root();
        if ((onRoot
                && (e->atom == m_connection.atom("_NET_CLIENT_LIST") || e->atom == m_connection.atom("_NET_WORKAREA")))
            || e->atom == m_connection.atom("_NET_WM_STRUT_PARTIAL") || e->atom == m_connection.atom("_NET_WM_STRUT")
            || e->atom == m_connection.atom("_NET_WM_WINDOW_TYPE"))
            scheduleRefresh();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        // Only the root's own configuration: every moved window reports one too.
        const auto* e = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
        if (e->window == m_connection.root())
            scheduleRefresh();
        break;
    }
    case XCB_MAP_NOTIFY: {
        // A dock that no window manager lists shows up as a new mapped top level.
        const auto* e = reinterpret_cast<const xcb_map_notify_event_t*>(event);
        if (e->event == m_connection.root() || m_watched.contains(e->window))
            scheduleRefresh();
        break;
    }
    case XCB_UNMAP_NOTIFY: {
        const auto* e = reinterpret_cast<const xcb_unmap_notify_event_t*>(event);
        if (m_watched.contains(e->window))
            scheduleRefresh();
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto* e = reinterpret_cast<const xcb_destroy_notify_event_t*>(event);
        if (m_watched.remove(e->window)) {
            m_connection.forgetWindow(e->window);
            scheduleRefresh();
        }
        break;
    }
    default:
        break;
    }
    return false;
}

QList<X11DisplayServer::Monitor> X11DisplayServer::readMonitors()
{
    QList<Monitor> monitors;
    xcb_connection_t* c = m_connection.connection();
    xcb_screen_t* screen = m_connection.screen();
    if (m_randrAvailable) {
        Reply<xcb_randr_get_monitors_reply_t> reply(
            xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, m_connection.root(), 1), nullptr));
        if (reply) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
                 xcb_randr_monitor_info_next(&it)) {
                const xcb_randr_monitor_info_t* info = it.data;
                Monitor monitor;
                Reply<xcb_get_atom_name_reply_t> name(
                    xcb_get_atom_name_reply(c, xcb_get_atom_name(c, info->name), nullptr));
                if (name)
                    monitor.name = QString::fromUtf8(
                        xcb_get_atom_name_name(name.get()), xcb_get_atom_name_name_length(name.get()));
                monitor.geometry = QRect(info->x, info->y, info->width, info->height);
                monitor.primary = info->primary != 0;
                const xcb_randr_output_t* outputs = xcb_randr_monitor_info_outputs(info);
                for (int i = 0; i < xcb_randr_monitor_info_outputs_length(info); ++i)
                    monitor.outputs << outputs[i];
                if (monitor.geometry.isEmpty()) {
                    qCDebug(lcX11) << "Skipping monitor" << monitor.name << "with an empty frame";
                    continue;
                }
                monitors << monitor;
            }
            std::stable_sort(monitors.begin(), monitors.end(),
                [](const Monitor& a, const Monitor& b) { return a.primary && !b.primary; });
            return monitors;
        }
        qCWarning(lcX11) << "Cannot read the RandR monitors; treating the whole screen as one display";
    }
    if (screen)
        monitors << Monitor {
            QStringLiteral("screen"), QRect(0, 0, screen->width_in_pixels, screen->height_in_pixels), true, {}};
    return monitors;
}

X11DisplayIdentity::MonitorIdentity X11DisplayServer::identityOf(const Monitor& monitor)
{
    X11DisplayIdentity::MonitorIdentity identity;
    identity.connectorName = monitor.name;
    xcb_connection_t* c = m_connection.connection();
    const xcb_atom_t edidAtom = m_connection.atom("EDID");
    for (quint32 output : monitor.outputs) {
        if (edidAtom == XCB_ATOM_NONE)
            break;
        Reply<xcb_randr_get_output_property_reply_t> property(xcb_randr_get_output_property_reply(
            c, xcb_randr_get_output_property(c, output, edidAtom, XCB_ATOM_ANY, 0, 128, 0, 0), nullptr));
        if (!property || property->format != 8 || property->num_items == 0)
            continue;
        const QByteArray data(reinterpret_cast<const char*>(xcb_randr_get_output_property_data(property.get())),
            int(property->num_items));
        const std::optional<X11DisplayIdentity::Edid> edid = X11DisplayIdentity::parseEdid(data);
        if (!edid) {
            qCDebug(lcX11) << "Output" << output << "of" << monitor.name << "has an unreadable EDID";
            continue;
        }
        Reply<xcb_randr_get_output_info_reply_t> info(
            xcb_randr_get_output_info_reply(c, xcb_randr_get_output_info(c, output, XCB_CURRENT_TIME), nullptr));
        if (info)
            identity.connectorName = QString::fromUtf8(
                reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
                xcb_randr_get_output_info_name_length(info.get()));
        identity.edid = edid;
        identity.uuid = X11DisplayIdentity::uuidForEdid(*edid, identity.connectorName);
        return identity;
    }
    if (!monitor.name.isEmpty())
        identity.uuid = X11DisplayIdentity::uuidForMonitorName(monitor.name);
    return identity;
}

QList<quint32> X11DisplayServer::property32(xcb_window_t window, xcb_atom_t property, bool* windowGone)
{
    const std::optional<std::vector<uint32_t>> values = m_connection.property32(window, property);
    // With a real atom, no answer means the window is no more.
    if (windowGone)
        *windowGone = !values && property != XCB_ATOM_NONE;
    return values ? QList<quint32>(values->begin(), values->end()) : QList<quint32>();
}

QList<xcb_window_t> X11DisplayServer::strutCandidates(QList<QRect>& panels)
{
    QList<xcb_window_t> windows;
    for (quint32 window : property32(m_connection.root(), m_connection.atom("_NET_CLIENT_LIST")))
        windows << window;

    // Docks that the window manager does not list (or no window manager at all).
    xcb_connection_t* c = m_connection.connection();
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, m_connection.root()), nullptr));
    if (!tree)
        return windows;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    const xcb_atom_t typeAtom = m_connection.atom("_NET_WM_WINDOW_TYPE");
    const xcb_atom_t dockAtom = m_connection.atom("_NET_WM_WINDOW_TYPE_DOCK");
    std::vector<xcb_get_window_attributes_cookie_t> attributeCookies;
    std::vector<xcb_get_property_cookie_t> typeCookies;
    attributeCookies.reserve(count);
    typeCookies.reserve(count);
    for (int i = 0; i < count; ++i) {
        attributeCookies.push_back(xcb_get_window_attributes(c, children[i]));
        typeCookies.push_back(xcb_get_property(c, 0, children[i], typeAtom, XCB_ATOM_ATOM, 0, 32));
    }
    QList<xcb_window_t> frames;
    for (int i = 0; i < count; ++i) {
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, attributeCookies[i], nullptr));
        Reply<xcb_get_property_reply_t> type(xcb_get_property_reply(c, typeCookies[i], nullptr));
        if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        bool dock = false;
        if (type && type->format == 32) {
            const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(type.get()));
            const int atomCount = xcb_get_property_value_length(type.get()) / 4;
            dock = std::find(atoms, atoms + atomCount, dockAtom) != atoms + atomCount;
        }
        if (dock && !windows.contains(children[i]))
            windows << children[i];
        if (attributes->override_redirect)
            frames << children[i];
        if (dock || attributes->override_redirect) {
            if (const std::optional<QRect> geometry = rootGeometry(children[i]))
                panels << *geometry;
        }
    }
    // Below override-redirect frames, a few levels down: cheap, since such frames hold
    // panels and menus, not the clients of reparenting window managers.
    for (int depth = 0; depth < 3 && !frames.isEmpty(); ++depth) {
        QList<xcb_window_t> next;
        for (xcb_window_t frame : frames) {
            Reply<xcb_query_tree_reply_t> inner(xcb_query_tree_reply(c, xcb_query_tree(c, frame), nullptr));
            if (!inner)
                continue;
            const xcb_window_t* kids = xcb_query_tree_children(inner.get());
            for (int i = 0; i < xcb_query_tree_children_length(inner.get()); ++i) {
                if (!windows.contains(kids[i]))
                    windows << kids[i];
                next << kids[i];
            }
        }
        frames = next;
    }
    return windows;
}

std::optional<QRect> X11DisplayServer::rootGeometry(xcb_window_t window)
{
    xcb_connection_t* c = m_connection.connection();
    Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
    Reply<xcb_translate_coordinates_reply_t> at(xcb_translate_coordinates_reply(
        c, xcb_translate_coordinates(c, window, m_connection.root(), 0, 0), nullptr));
    if (!geometry || !at)
        return std::nullopt;
    const int border = geometry->border_width;
    return QRect(at->dst_x - border, at->dst_y - border, geometry->width + 2 * border, geometry->height + 2 * border);
}

QList<X11Strut> X11DisplayServer::readStruts(QSize root)
{
    QList<X11Strut> struts;
    const xcb_atom_t partialAtom = m_connection.atom("_NET_WM_STRUT_PARTIAL");
    const xcb_atom_t legacyAtom = m_connection.atom("_NET_WM_STRUT");
    QSet<xcb_window_t> seen;
    QList<QRect> panels;
    for (xcb_window_t window : strutCandidates(panels)) {
        bool gone = false;
        std::optional<X11Strut> strut = X11Strut::fromPartial(property32(window, partialAtom, &gone), root);
        if (!strut && !gone) {
            strut = X11Strut::fromLegacy(property32(window, legacyAtom, &gone), root);
            // A plain strut claims its whole root edge, across every monitor on it; the
            // panel that sets it (icewm's task bar) covers one. Its own extent is meant.
            if (strut) {
                if (const std::optional<QRect> extent = rootGeometry(window)) {
                    strut->bottomStartX = strut->topStartX = extent->left();
                    strut->bottomEndX = strut->topEndX = extent->right();
                    strut->leftStartY = strut->rightStartY = extent->top();
                    strut->leftEndY = strut->rightEndY = extent->bottom();
                }
            }
        }
        if (gone) {
            m_connection.forgetWindow(window);
            continue;
        }
        seen.insert(window);
        // Watch every candidate: a client may become a panel later by setting a strut.
        if (!m_watched.contains(window)
            && m_connection.selectEvents(window, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY))
            m_watched.insert(window);
        if (strut)
            struts << *strut;
    }
    const QList<quint32> workarea = property32(m_connection.root(), m_connection.atom("_NET_WORKAREA"));
    if (workarea.size() >= 4) {
        const QRect area {int(workarea[0]), int(workarea[1]), int(workarea[2]), int(workarea[3])};
        for (const X11Strut& reserved : unexplainedReservations(area, root, struts, panels)) {
            qCDebug(lcScreens) << "The work area reserves space no strut explains; a panel without one:"
                               << reserved.left << reserved.right << reserved.top << reserved.bottom;
            struts << reserved;
        }
    }
    // Windows that left the client list are not ours to track any more.
    for (auto it = m_watched.begin(); it != m_watched.end();) {
        if (seen.contains(*it)) {
            ++it;
        } else {
            it = m_watched.erase(it);
        }
    }
    return struts;
}

QList<DisplayInfo> X11DisplayServer::readDisplays()
{
    QList<DisplayInfo> displays;
    xcb_screen_t* screen = m_connection.screen();
    if (!screen)
        return displays;
    const QSize root(screen->width_in_pixels, screen->height_in_pixels);
    const QList<X11Strut> struts = readStruts(root);
    const QList<Monitor> monitors = readMonitors();
    std::vector<X11DisplayIdentity::MonitorIdentity> identities;
    for (const Monitor& monitor : monitors)
        identities.push_back(identityOf(monitor));
    X11DisplayIdentity::separateTwins(identities);
    for (qsizetype i = 0; i < monitors.size(); ++i) {
        const Monitor& monitor = monitors[i];
        DisplayInfo display;
        display.uuid = identities[size_t(i)].uuid;
        display.name = monitor.name;
        display.frame = QRectF(monitor.geometry);
        display.visibleFrame = QRectF(visibleArea(monitor.geometry, root, struts));
        const auto reaches = [&](const X11Strut& strut) {
            return visibleArea(monitor.geometry, root, {strut}) != monitor.geometry;
        };
        const auto panels = std::count_if(struts.begin(), struts.end(), reaches);
        display.visibleFrameSource = panels == 0
            ? QStringLiteral("the whole monitor: no panel reserves space on it")
            : QStringLiteral("the monitor less the space %1 panel(s) reserve (struts, or the work area)").arg(panels);
        displays << display;
    }
    return displays;
}
