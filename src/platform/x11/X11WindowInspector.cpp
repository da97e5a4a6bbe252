#include "platform/x11/X11WindowInspector.h"

#include "platform/x11/X11Connection.h"

#include <QCoreApplication>
#include <QFile>

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};

QString tr(const char* text)
{
    return QCoreApplication::translate("X11WindowInspector", text);
}

QSize hintSize(int32_t width, int32_t height)
{
    return width > 0 || height > 0 ? QSize(width, height) : QSize();
}

} // namespace

X11WindowInspector::X11WindowInspector(X11Connection& connection)
    : m_connection(connection)
{ }

QString X11WindowInspector::notNormalReason(xcb_window_t window)
{
    if (window == XCB_WINDOW_NONE || !m_connection.isValid())
        return tr("it is gone");
    xcb_connection_t* c = m_connection.connection();
    xcb_ewmh_connection_t* ewmh = m_connection.ewmh();

    xcb_generic_error_t* error = nullptr;
    const std::unique_ptr<xcb_get_window_attributes_reply_t, FreeDeleter> attrs(
        xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), &error));
    m_connection.checkError(error, "GetWindowAttributes");
    if (!attrs)
        return tr("it is gone");
    if (attrs->override_redirect)
        return tr("it bypasses the window manager (override-redirect), as menus, tooltips and pop-ups do");

    // Managed: the window manager marked it (WM_STATE) or lists it.
    const auto wmState = m_connection.property32(window, m_connection.atom("WM_STATE"));
    const auto clients = m_connection.property32(m_connection.root(), ewmh->_NET_CLIENT_LIST);
    const bool listed = clients && std::find(clients->begin(), clients->end(), window) != clients->end();
    if (!listed && (!wmState || wmState->empty()))
        return tr("the window manager does not manage it");

    // Parqueta's own windows (overlays, settings) are never snapped.
    const auto pid = m_connection.property32(window, ewmh->_NET_WM_PID);
    if (pid && !pid->empty() && static_cast<pid_t>(pid->front()) == ::getpid()) {
        char host[256] = {};
        ::gethostname(host, sizeof(host) - 1);
        xcb_icccm_get_text_property_reply_t machine;
        bool sameHost = true;
        if (xcb_icccm_get_wm_client_machine_reply(c, xcb_icccm_get_wm_client_machine(c, window), &machine, nullptr)) {
            sameHost = QByteArray(machine.name, static_cast<int>(machine.name_len)) == QByteArray(host);
            xcb_icccm_get_text_property_reply_wipe(&machine);
        }
        if (sameHost)
            return tr("it is one of Parqueta's own windows");
    }

    // A window that belongs to another (WM_TRANSIENT_FOR: a dialog, a palette, a find
    // bar) goes where its owner wants it; in a zone it would cover the window it serves.
    const auto owner = m_connection.property32(window, XCB_ATOM_WM_TRANSIENT_FOR);
    if (owner && !owner->empty() && owner->front() != XCB_WINDOW_NONE)
        return tr("it belongs to another window (a dialog or a palette), and Parqueta snaps only normal windows");

    // The first type this code knows decides (EWMH); without one, the window is normal.
    const auto types = m_connection.property32(window, ewmh->_NET_WM_WINDOW_TYPE);
    if (!types)
        return tr("it is gone");
    const xcb_atom_t snapped[] = {ewmh->_NET_WM_WINDOW_TYPE_NORMAL};
    const xcb_atom_t left[] = {ewmh->_NET_WM_WINDOW_TYPE_DIALOG, ewmh->_NET_WM_WINDOW_TYPE_DESKTOP,
        ewmh->_NET_WM_WINDOW_TYPE_DOCK,
        ewmh->_NET_WM_WINDOW_TYPE_TOOLBAR, ewmh->_NET_WM_WINDOW_TYPE_MENU, ewmh->_NET_WM_WINDOW_TYPE_UTILITY,
        ewmh->_NET_WM_WINDOW_TYPE_SPLASH, ewmh->_NET_WM_WINDOW_TYPE_DROPDOWN_MENU,
        ewmh->_NET_WM_WINDOW_TYPE_POPUP_MENU, ewmh->_NET_WM_WINDOW_TYPE_TOOLTIP,
        ewmh->_NET_WM_WINDOW_TYPE_NOTIFICATION, ewmh->_NET_WM_WINDOW_TYPE_COMBO, ewmh->_NET_WM_WINDOW_TYPE_DND};
    for (uint32_t type : *types) {
        if (std::find(std::begin(snapped), std::end(snapped), type) != std::end(snapped))
            return {};
        if (std::find(std::begin(left), std::end(left), type) != std::end(left)) {
            const QStringList name = atomNames({type}, "_NET_WM_WINDOW_TYPE_");
            return tr("it says it is a %1 window, and Parqueta snaps only normal windows")
                .arg(name.value(0, QStringLiteral("?")));
        }
    }
    return {};
}

std::optional<WindowFacts> X11WindowInspector::facts(xcb_window_t window)
{
    if (window == XCB_WINDOW_NONE || !m_connection.isValid())
        return std::nullopt;
    xcb_connection_t* c = m_connection.connection();
    xcb_ewmh_connection_t* ewmh = m_connection.ewmh();
    const auto types = m_connection.property32(window, ewmh->_NET_WM_WINDOW_TYPE);
    if (!types)
        return std::nullopt;

    WindowFacts facts;
    facts.types = atomNames(*types, "_NET_WM_WINDOW_TYPE_");
    facts.states = atomNames(m_connection.property32(window, ewmh->_NET_WM_STATE).value_or(std::vector<uint32_t>()),
        "_NET_WM_STATE_");
    facts.title = title(window);

    if (const std::optional<X11Connection::WindowClass> wmClass = m_connection.windowClass(window)) {
        facts.className = wmClass->className;
        facts.instanceName = wmClass->instance;
    }
    xcb_size_hints_t hints;
    if (xcb_icccm_get_wm_normal_hints_reply(c, xcb_icccm_get_wm_normal_hints(c, window), &hints, nullptr)) {
        if (hints.flags & XCB_ICCCM_SIZE_HINT_P_MIN_SIZE)
            facts.minimumSize = hintSize(hints.min_width, hints.min_height);
        if (hints.flags & XCB_ICCCM_SIZE_HINT_P_MAX_SIZE)
            facts.maximumSize = hintSize(hints.max_width, hints.max_height);
        // A step of one pixel is no step at all.
        if ((hints.flags & XCB_ICCCM_SIZE_HINT_P_RESIZE_INC) && (hints.width_inc > 1 || hints.height_inc > 1))
            facts.sizeIncrement = QSize(hints.width_inc, hints.height_inc);
        if (hints.flags & XCB_ICCCM_SIZE_HINT_BASE_SIZE)
            facts.baseSize = hintSize(hints.base_width, hints.base_height);
    }
    facts.notNormalBecause = notNormalReason(window);
    return facts;
}

QString X11WindowInspector::title(xcb_window_t window)
{
    const QString name = QString::fromUtf8(m_connection.propertyText(window, m_connection.ewmh()->_NET_WM_NAME));
    return name.isEmpty() ? QString::fromLocal8Bit(m_connection.propertyText(window, XCB_ATOM_WM_NAME)) : name;
}

QString X11WindowInspector::commandLine(xcb_window_t window)
{
    const auto pid = m_connection.property32(window, m_connection.ewmh()->_NET_WM_PID);
    if (!pid || pid->empty())
        return {};
    // A pid means something only on the host the window's process runs on.
    char host[256] = {};
    ::gethostname(host, sizeof(host) - 1);
    const QByteArray machine = m_connection.propertyText(window, XCB_ATOM_WM_CLIENT_MACHINE);
    if (!machine.isEmpty() && machine != QByteArray(host))
        return {};
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(pid->front()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray arguments = file.read(4096);
    while (arguments.endsWith('\0'))
        arguments.chop(1);
    return QString::fromLocal8Bit(arguments.replace('\0', ' '));
}

std::optional<WindowIdentity> X11WindowInspector::identity(xcb_window_t window)
{
    if (window == XCB_WINDOW_NONE || !m_connection.isValid())
        return std::nullopt;
    const std::optional<X11Connection::WindowClass> wmClass = m_connection.windowClass(window);
    if (!wmClass)
        return std::nullopt;
    WindowIdentity identity;
    identity.instance = wmClass->instance;
    identity.className = wmClass->className;
    identity.role = QString::fromLocal8Bit(m_connection.propertyText(window, m_connection.atom("WM_WINDOW_ROLE")));
    identity.title = title(window);
    identity.command = commandLine(window);
    return identity;
}

QStringList X11WindowInspector::atomNames(const std::vector<uint32_t>& atoms, const char* prefix)
{
    xcb_connection_t* c = m_connection.connection();
    std::vector<xcb_get_atom_name_cookie_t> cookies;
    for (uint32_t atom : atoms)
        cookies.push_back(xcb_get_atom_name(c, atom));
    QStringList names;
    const QByteArray strip(prefix);
    for (xcb_get_atom_name_cookie_t cookie : cookies) {
        const std::unique_ptr<xcb_get_atom_name_reply_t, FreeDeleter> reply(
            xcb_get_atom_name_reply(c, cookie, nullptr));
        if (!reply)
            continue;
        QByteArray name(xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
        if (name.startsWith(strip))
            name = name.mid(strip.size());
        names << QString::fromLatin1(name).toLower().replace(QLatin1Char('_'), QLatin1Char(' '));
    }
    return names;
}
