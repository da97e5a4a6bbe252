#include "platform/x11/X11DesktopEffects.h"

#include "core/Logging.h"

#include <QGuiApplication>
#include <QWindow>
#include <xcb/xfixes.h>

#include <cstdlib>

X11DesktopEffects::X11DesktopEffects(X11Connection& connection, QObject* parent)
    : DesktopEffects(parent)
    , m_connection(connection)
{
    if (!m_connection.isValid())
        return;
    const QByteArray name = QByteArrayLiteral("_NET_WM_CM_S") + QByteArray::number(m_connection.screenNumber());
    m_selection = m_connection.atom(name.constData());
    if (m_selection == XCB_ATOM_NONE) {
        qCWarning(lcX11) << "Cannot intern" << name << "; overlays are drawn as for a desktop without compositing";
        return;
    }
    if (watchSelection())
        m_connection.addEventHandler(this);
    else
        qCWarning(lcX11) << "XFixes is unavailable: a compositing manager started or stopped later goes unnoticed";
    m_translucent = readOwner();
    qCDebug(lcX11) << "Compositing manager" << (m_translucent ? "running" : "absent");
}

X11DesktopEffects::~X11DesktopEffects()
{
    m_connection.removeEventHandler(this);
}

bool X11DesktopEffects::watchSelection()
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
    const uint32_t mask = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    error = xcb_request_check(c, xcb_xfixes_select_selection_input_checked(c, m_connection.root(), m_selection, mask));
    if (m_connection.checkError(error, "XFixes selection input"))
        return false;
    m_xfixesEvent = extension->first_event;
    return true;
}

bool X11DesktopEffects::readOwner()
{
    xcb_connection_t* c = m_connection.connection();
    xcb_generic_error_t* error = nullptr;
    xcb_get_selection_owner_reply_t* reply
        = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_selection), &error);
    if (!reply) {
        m_connection.checkError(error, "compositing manager selection owner");
        return false;
    }
    const bool owned = reply->owner != XCB_WINDOW_NONE;
    std::free(reply);
    return owned;
}

bool X11DesktopEffects::handleX11Event(xcb_generic_event_t* event)
{
    if (m_xfixesEvent == 0 || (event->response_type & 0x7f) != m_xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY)
        return false;
    const auto* notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
    if (notify->selection != m_selection)
        return false;
    setTranslucent(
        notify->subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER && notify->owner != XCB_WINDOW_NONE);
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

void X11DesktopEffects::placeExactly(QWindow& window, const QRect& desktopRect) const
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    xcb_connection_t* c = x11 ? x11->connection() : nullptr;
    if (!c || !desktopRect.isValid() || !window.handle())
        return;
    const uint32_t values[] = {static_cast<uint32_t>(desktopRect.x()), static_cast<uint32_t>(desktopRect.y()),
        static_cast<uint32_t>(desktopRect.width()), static_cast<uint32_t>(desktopRect.height())};
    xcb_configure_window(c, static_cast<xcb_window_t>(window.winId()),
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    xcb_flush(c);
}
