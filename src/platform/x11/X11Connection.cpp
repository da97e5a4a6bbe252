#include "platform/x11/X11Connection.h"

#include "core/Logging.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

// Qt's xcb platform plugin ends the process (exit(1)) as soon as it finds its own
// connection broken, which it may notice before ours: the warning it prints right
// before is then the last moment to report the loss, so the application still logs why
// and quits in order (settings written) instead of vanishing mid-loop.
constexpr char kQtConnectionBroke[] = "The X11 connection broke";
X11Connection* g_watchingQt = nullptr;
QtMessageHandler g_nextMessageHandler = nullptr;
// Bounds the memory of one read when a flood of events arrives; the rest follows in the
// next batch.
constexpr size_t kBatchLimit = 512;

void watchQtMessages(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (g_nextMessageHandler)
        g_nextMessageHandler(type, context, message);
    else
        std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
    if (type == QtWarningMsg && g_watchingQt && QThread::currentThread() == g_watchingQt->thread()
        && message.startsWith(QLatin1String(kQtConnectionBroke)))
        g_watchingQt->reportLostConnection();
}

} // namespace

X11Connection::X11Connection(const char* displayName, QObject* parent)
    : QObject(parent)
{
    m_connection = xcb_connect(displayName, &m_screenNumber);
    if (!m_connection || xcb_connection_has_error(m_connection)) {
        qCCritical(lcX11) << "Cannot connect to the X server" << (displayName ? displayName : qgetenv("DISPLAY").constData());
        m_failed = true;
        return;
    }

    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; it.rem && i < m_screenNumber; ++i)
        xcb_screen_next(&it);
    m_screen = it.rem ? it.data : nullptr;
    if (!m_screen) {
        qCCritical(lcX11) << "The X server has no screen" << m_screenNumber;
        m_failed = true;
        return;
    }

    xcb_intern_atom_cookie_t* cookies = xcb_ewmh_init_atoms(m_connection, &m_ewmh);
    m_ewmhReady = xcb_ewmh_init_atoms_replies(&m_ewmh, cookies, nullptr) != 0;
    if (!m_ewmhReady)
        qCWarning(lcX11) << "Cannot intern the EWMH atoms; window manager hints are unavailable";

    if (!g_watchingQt) {
        g_watchingQt = this;
        g_nextMessageHandler = qInstallMessageHandler(watchQtMessages);
    }

    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11Connection::processEvents);
    if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance()) {
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &X11Connection::processEvents);
    }
}

X11Connection::~X11Connection()
{
    if (g_watchingQt == this) {
        // Hand back to the handler this one wrapped, unless another was installed since.
        const QtMessageHandler current = qInstallMessageHandler(g_nextMessageHandler);
        if (current != watchQtMessages)
            qInstallMessageHandler(current);
        g_watchingQt = nullptr;
        g_nextMessageHandler = nullptr;
    }
    for (xcb_generic_event_t* event : m_pending)
        std::free(event);
    if (m_ewmhReady)
        xcb_ewmh_connection_wipe(&m_ewmh);
    if (m_connection)
        xcb_disconnect(m_connection);
}

xcb_atom_t X11Connection::atom(const char* name)
{
    const QByteArray key(name);
    if (auto it = m_atoms.constFind(key); it != m_atoms.constEnd())
        return it.value();
    if (!isValid())
        return XCB_ATOM_NONE;
    xcb_generic_error_t* error = nullptr;
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(key.size()), name), &error);
    xcb_atom_t result = XCB_ATOM_NONE;
    if (reply) {
        result = reply->atom;
        std::free(reply);
        m_atoms.insert(key, result);
    } else {
        checkError(error, name);
    }
    return result;
}

std::optional<std::vector<uint32_t>> X11Connection::property32(xcb_window_t window, xcb_atom_t property)
{
    if (!isValid() || window == XCB_WINDOW_NONE || property == XCB_ATOM_NONE)
        return std::nullopt;
    xcb_generic_error_t* error = nullptr;
    xcb_get_property_reply_t* reply = xcb_get_property_reply(m_connection,
        xcb_get_property(m_connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024), &error);
    checkError(error, "GetProperty");
    if (!reply)
        return std::nullopt;
    std::vector<uint32_t> values;
    if (reply->format == 32) {
        const auto* data = static_cast<const uint32_t*>(xcb_get_property_value(reply));
        values.assign(data, data + xcb_get_property_value_length(reply) / 4);
    }
    std::free(reply);
    return values;
}

QByteArray X11Connection::propertyText(xcb_window_t window, xcb_atom_t property)
{
    if (!isValid() || window == XCB_WINDOW_NONE || property == XCB_ATOM_NONE)
        return {};
    xcb_generic_error_t* error = nullptr;
    xcb_get_property_reply_t* reply = xcb_get_property_reply(m_connection,
        xcb_get_property(m_connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 4096), &error);
    checkError(error, "GetProperty");
    if (!reply)
        return {};
    QByteArray text;
    if (reply->format == 8)
        text = QByteArray(static_cast<const char*>(xcb_get_property_value(reply)), xcb_get_property_value_length(reply));
    std::free(reply);
    return text;
}

std::optional<X11Connection::WindowClass> X11Connection::windowClass(xcb_window_t window)
{
    if (!isValid() || window == XCB_WINDOW_NONE)
        return std::nullopt;
    xcb_icccm_get_wm_class_reply_t reply;
    xcb_generic_error_t* error = nullptr;
    if (!xcb_icccm_get_wm_class_reply(m_connection, xcb_icccm_get_wm_class(m_connection, window), &reply, &error)) {
        checkError(error, "GetProperty(WM_CLASS)");
        return std::nullopt;
    }
    WindowClass result {QString::fromLocal8Bit(reply.instance_name), QString::fromLocal8Bit(reply.class_name)};
    xcb_icccm_get_wm_class_reply_wipe(&reply);
    return result;
}

bool X11Connection::selectEvents(xcb_window_t window, uint32_t mask)
{
    if (!isValid())
        return false;
    const uint32_t previous = m_eventMasks.value(window, 0);
    const uint32_t combined = previous | mask;
    if (combined == previous && m_eventMasks.contains(window))
        return true;
    xcb_generic_error_t* error = xcb_request_check(
        m_connection, xcb_change_window_attributes_checked(m_connection, window, XCB_CW_EVENT_MASK, &combined));
    if (checkError(error, "select events")) {
        m_eventMasks.remove(window);
        return false;
    }
    m_eventMasks.insert(window, combined);
    return true;
}

void X11Connection::forgetWindow(xcb_window_t window)
{
    m_eventMasks.remove(window);
}

void X11Connection::addEventHandler(X11EventHandler* handler)
{
    removeEventHandler(handler);
    m_handlers.push_back(handler);
}

void X11Connection::removeEventHandler(X11EventHandler* handler)
{
    m_handlers.erase(std::remove(m_handlers.begin(), m_handlers.end(), handler), m_handlers.end());
}

void X11Connection::flush()
{
    if (isValid())
        xcb_flush(m_connection);
}

void X11Connection::sync()
{
    if (!isValid())
        return;
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    checkConnection();
}

void X11Connection::processEvents()
{
    if (!isValid())
        return;
    for (;;) {
        if (m_pending.empty()) {
            while (m_pending.size() < kBatchLimit) {
                xcb_generic_event_t* event = xcb_poll_for_event(m_connection);
                if (!event)
                    break;
                m_pending.push_back(event);
            }
            if (m_pending.empty())
                break;
        }
        xcb_generic_event_t* event = m_pending.front();
        m_pending.pop_front();
        dispatch(event);
        std::free(event);
    }
    checkConnection();
    flush();
}

const xcb_generic_event_t* X11Connection::nextEvent() const
{
    if (m_dispatchDepth == 0 || m_pending.empty())
        return nullptr;
    return m_pending.front();
}

void X11Connection::dispatch(xcb_generic_event_t* event)
{
    if ((event->response_type & ~0x80) == 0) {
        // Errors of unchecked requests: nothing waits for them, so log and move on.
        auto* error = reinterpret_cast<xcb_generic_error_t*>(event);
        qCDebug(lcX11) << "X error" << error->error_code << "request" << error->major_code << "."
                       << error->minor_code << "resource" << Qt::hex << error->resource_id;
        return;
    }
    const std::vector<X11EventHandler*> handlers = m_handlers;
    ++m_dispatchSerial;
    ++m_dispatchDepth;
    for (X11EventHandler* handler : handlers) {
        if (handler->handleX11Event(event))
            break;
    }
    --m_dispatchDepth;
}

std::optional<X11Connection::PointerReading> X11Connection::queryPointer() const
{
    if (!isValid())
        return std::nullopt;
    const bool inEvent = m_dispatchDepth > 0;
    if (inEvent && m_pointerOfEvent && m_pointerOfEvent->first == m_dispatchSerial)
        return m_pointerOfEvent->second;
    xcb_generic_error_t* error = nullptr;
    xcb_query_pointer_reply_t* reply
        = xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, root()), &error);
    if (!reply) {
        checkError(error, "QueryPointer");
        return std::nullopt;
    }
    const PointerReading reading {QPointF(reply->root_x, reply->root_y), reply->mask, reply->child};
    std::free(reply);
    if (inEvent)
        m_pointerOfEvent = std::make_pair(m_dispatchSerial, reading);
    return reading;
}

void X11Connection::checkConnection()
{
    if (m_failed || !m_connection || !xcb_connection_has_error(m_connection))
        return;
    reportLostConnection();
}

void X11Connection::reportLostConnection()
{
    if (m_failed)
        return;
    m_failed = true;
    if (m_notifier)
        m_notifier->setEnabled(false);
    qCCritical(lcX11) << "Lost the connection to the X server";
    Q_EMIT connectionLost();
}

bool X11Connection::checkError(xcb_generic_error_t* error, const char* what) const
{
    if (!error)
        return false;
    qCDebug(lcX11) << "X error" << error->error_code << "in" << what << "resource" << Qt::hex << error->resource_id;
    std::free(error);
    return true;
}
