#include "platform/x11/X11DesktopEffects.h"

#include "core/Logging.h"

#include <QAbstractEventDispatcher>
#include <QGuiApplication>
#include <QWindow>
#include <xcb/xfixes.h>

#include <cstdlib>

X11DesktopEffects::X11DesktopEffects(X11Connection& connection, QObject* parent)
    : DesktopEffects(parent)
    , m_connection(connection)
    , m_qtConnection(qtConnection())
{
    // Qt's GLib event dispatcher writes out what is queued on Qt's own connection only
    // after X events came in on it. A change to one of Parqueta's windows made from a
    // timer (a step of a fade-in) or from input read on Parqueta's connection (the Shift
    // press that brings the overlays back) would wait for the next unrelated event: an
    // overlay stayed fully transparent for a whole drag. So it goes out before the event
    // loop sleeps.
    if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance(); dispatcher && m_qtConnection) {
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] { xcb_flush(m_qtConnection); });
    }
    if (!m_connection.isValid())
        return;
    const QByteArray screen = QByteArray::number(m_connection.screenNumber());
    m_selection = m_connection.atom((QByteArrayLiteral("_NET_WM_CM_S") + screen).constData());
    m_traySelection = m_connection.atom((QByteArrayLiteral("_NET_SYSTEM_TRAY_S") + screen).constData());
    m_trayColours = m_connection.atom("_NET_SYSTEM_TRAY_COLORS");
    if (m_selection == XCB_ATOM_NONE) {
        qCWarning(lcX11) << "Cannot intern _NET_WM_CM_S" << screen
                         << "; overlays are drawn as for a desktop without compositing";
        return;
    }
    if (startXFixes() && watchSelection(m_selection)) {
        if (m_traySelection != XCB_ATOM_NONE)
            watchSelection(m_traySelection);
        m_connection.addEventHandler(this);
    } else {
        qCWarning(lcX11) << "XFixes is unavailable: a compositing manager or tray started or stopped later goes "
                            "unnoticed";
    }
    m_translucent = readOwner(m_selection) != XCB_WINDOW_NONE;
    qCDebug(lcX11) << "Compositing manager" << (m_translucent ? "running" : "absent");
    if (m_traySelection != XCB_ATOM_NONE)
        followTrayHost(readOwner(m_traySelection));
}

xcb_connection_t* X11DesktopEffects::qtConnection()
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

X11DesktopEffects::~X11DesktopEffects()
{
    m_connection.removeEventHandler(this);
}

bool X11DesktopEffects::startXFixes()
{
    xcb_connection_t* c = m_connection.connection();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_xfixes_id);
    if (!extension || !extension->present)
        return false;
    // XFixes refuses every request until the client has announced the version it speaks.
    xcb_generic_error_t* error = nullptr;
    xcb_xfixes_query_version_reply_t* version = xcb_xfixes_query_version_reply(
        c, xcb_xfixes_query_version(c, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION), &error);
    if (!version) {
        m_connection.checkError(error, "XFixes version");
        return false;
    }
    std::free(version);
    m_xfixesEvent = extension->first_event;
    return true;
}

bool X11DesktopEffects::watchSelection(xcb_atom_t selection)
{
    xcb_connection_t* c = m_connection.connection();
    const uint32_t mask = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    xcb_generic_error_t* error
        = xcb_request_check(c, xcb_xfixes_select_selection_input_checked(c, m_connection.root(), selection, mask));
    return !m_connection.checkError(error, "XFixes selection input");
}

xcb_window_t X11DesktopEffects::readOwner(xcb_atom_t selection)
{
    xcb_connection_t* c = m_connection.connection();
    xcb_generic_error_t* error = nullptr;
    xcb_get_selection_owner_reply_t* reply
        = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), &error);
    if (!reply) {
        m_connection.checkError(error, "selection owner");
        return XCB_WINDOW_NONE;
    }
    const xcb_window_t owner = reply->owner;
    std::free(reply);
    return owner;
}

bool X11DesktopEffects::handleX11Event(xcb_generic_event_t* event)
{
    const uint8_t type = event->response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto* notify = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (notify->window == m_trayHost && notify->atom == m_trayColours && m_trayHost != XCB_WINDOW_NONE)
            readTrayForeground();
        return false;
    }
    if (m_xfixesEvent == 0 || type != m_xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY)
        return false;
    const auto* notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
    const xcb_window_t owner
        = notify->subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER ? notify->owner : xcb_window_t(XCB_WINDOW_NONE);
    if (notify->selection == m_selection)
        setTranslucent(owner != XCB_WINDOW_NONE);
    else if (notify->selection == m_traySelection)
        followTrayHost(owner);
    return false;
}

void X11DesktopEffects::setTranslucent(bool translucent)
{
    if (translucent == m_translucent)
        return;
    m_translucent = translucent;
    qCDebug(lcX11) << "Compositing manager" << (translucent ? "started" : "stopped");
    Q_EMIT overlaysCanBeTranslucentChanged(translucent);
}

void X11DesktopEffects::followTrayHost(xcb_window_t owner)
{
    m_trayHost = owner;
    // Additive: the window is another client's, and other parts may watch it too.
    if (owner != XCB_WINDOW_NONE && !m_connection.selectEvents(owner, XCB_EVENT_MASK_PROPERTY_CHANGE))
        m_trayHost = XCB_WINDOW_NONE;
    readTrayForeground();
}

void X11DesktopEffects::readTrayForeground()
{
    std::optional<QColor> foreground;
    if (m_trayHost != XCB_WINDOW_NONE && m_trayColours != XCB_ATOM_NONE) {
        // Four colours of 16-bit red, green, blue each; the first is the foreground.
        const std::optional<std::vector<uint32_t>> values = m_connection.property32(m_trayHost, m_trayColours);
        if (values && values->size() >= 3) {
            const auto channel = [](uint32_t v) { return int(std::min<uint32_t>(v, 0xffff) >> 8); };
            foreground = QColor(channel((*values)[0]), channel((*values)[1]), channel((*values)[2]));
        } else if (values) {
            qCWarning(lcX11) << "The tray host's _NET_SYSTEM_TRAY_COLORS holds" << values->size()
                             << "numbers instead of 12; using the colour icon";
        }
    }
    if (foreground == m_trayForeground)
        return;
    m_trayForeground = foreground;
    qCDebug(lcX11) << "Tray foreground" << (foreground ? foreground->name() : QStringLiteral("not published"));
    Q_EMIT trayForegroundChanged();
}

void X11DesktopEffects::placeExactly(QWindow& window, const QRect& desktopRect) const
{
    xcb_connection_t* c = m_qtConnection;
    if (!c || !desktopRect.isValid() || !window.handle())
        return;
    const uint32_t values[] = {static_cast<uint32_t>(desktopRect.x()), static_cast<uint32_t>(desktopRect.y()),
        static_cast<uint32_t>(desktopRect.width()), static_cast<uint32_t>(desktopRect.height())};
    xcb_configure_window(c, static_cast<xcb_window_t>(window.winId()),
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    xcb_flush(c);
}
