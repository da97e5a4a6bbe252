#include "platform/x11/X11WindowEvents.h"

#include "core/Logging.h"
#include "platform/x11/X11WindowControl.h"

#include <QTimer>

X11WindowEvents::X11WindowEvents(X11Connection& connection, QObject* parent)
    : WindowEvents(parent)
    , m_connection(connection)
{ }

X11WindowEvents::~X11WindowEvents()
{
    m_connection.removeEventHandler(this);
}

QSet<xcb_window_t> X11WindowEvents::readClients()
{
    const auto clients = m_connection.property32(m_connection.root(), m_connection.ewmh()->_NET_CLIENT_LIST);
    QSet<xcb_window_t> result;
    for (const uint32_t window : clients.value_or(std::vector<uint32_t>()))
        result.insert(window);
    return result;
}

bool X11WindowEvents::startListening()
{
    if (!m_connection.isValid() || !m_connection.selectEvents(m_connection.root(), XCB_EVENT_MASK_PROPERTY_CHANGE)) {
        qCWarning(lcX11) << "Cannot follow the window manager's client list: windows that appear are not restored";
        return false;
    }
    m_clients = readClients();
    m_connection.addEventHandler(this);
    return true;
}

void X11WindowEvents::stopListening()
{
    m_connection.removeEventHandler(this);
    m_clients.clear();
}

bool X11WindowEvents::handleX11Event(xcb_generic_event_t* event)
{
    if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto* e = reinterpret_cast<const xcb_property_notify_event_t*>(event);
    if (e->window != m_connection.root() || e->atom != m_connection.ewmh()->_NET_CLIENT_LIST)
        return false;
    const QSet<xcb_window_t> clients = readClients();
    const QSet<xcb_window_t> added = clients - m_clients;
    m_clients = clients;
    for (const xcb_window_t window : added) {
        QTimer::singleShot(kSettleMs, this, [this, window] {
            // Gone again in the meantime (a splash window, a short-lived dialog): nothing to say.
            if (isRunning() && m_clients.contains(window))
                Q_EMIT windowAppeared(X11WindowControl::handleFor(window));
        });
    }
    return false;
}
