#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointF>
#include <QString>

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QSocketNotifier;

// Receives X events read from the shared connection. Return true to stop other
// handlers from seeing the event.
class X11EventHandler
{
public:
    virtual ~X11EventHandler() = default;
    virtual bool handleX11Event(xcb_generic_event_t* event) = 0;
};

// The one owner of Parqueta's X11 display access. It opens its own connection
// (separate from Qt's), so raw input selections, key grabs and X errors belong to
// Parqueta alone and never end up in Qt's error log. Events are read on the Qt
// event loop through a socket notifier and handed to the registered handlers.
class X11Connection final : public QObject
{
    Q_OBJECT

public:
    // Connects to displayName (nullptr: $DISPLAY). Check isValid() afterwards.
    explicit X11Connection(const char* displayName = nullptr, QObject* parent = nullptr);
    ~X11Connection() override;

    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    bool isValid() const { return m_connection && !m_failed; }
    xcb_connection_t* connection() const { return m_connection; }
    xcb_screen_t* screen() const { return m_screen; }
    xcb_window_t root() const { return m_screen ? m_screen->root : xcb_window_t(XCB_WINDOW_NONE); }
    xcb_ewmh_connection_t* ewmh() { return &m_ewmh; }
    int screenNumber() const { return m_screenNumber; }

    // Interned atom, cached; XCB_ATOM_NONE when the server cannot answer.
    xcb_atom_t atom(const char* name);

    // A 32-bit property (up to 1024 values): absent when the window is gone or the server
    // refused, empty when the property is unset or of another format.
    std::optional<std::vector<uint32_t>> property32(xcb_window_t window, xcb_atom_t property);
    // A text property (UTF-8 or Latin-1 as the property says); empty when unset.
    QByteArray propertyText(xcb_window_t window, xcb_atom_t property);
    // WM_CLASS: the instance and the class name; absent when unset or the window is gone.
    struct WindowClass
    {
        QString instance;
        QString className;
    };
    std::optional<WindowClass> windowClass(xcb_window_t window);

    // Selects core events (XCB_EVENT_MASK_...) on a window, adding to what was selected
    // before through this connection: every part of Parqueta shares the connection, and
    // a plain ChangeWindowAttributes would replace the others' selection. Returns false
    // (after a debug log) when the window is gone.
    bool selectEvents(xcb_window_t window, uint32_t mask);
    // Drops the bookkeeping of a window that was destroyed.
    void forgetWindow(xcb_window_t window);

    // Handlers are called in registration order; the connection does not own them.
    void addEventHandler(X11EventHandler* handler);
    void removeEventHandler(X11EventHandler* handler);

    void flush();
    // Reads and dispatches everything pending, including events xcb queued while a
    // reply was awaited (those never wake the socket notifier). Everything readable is
    // read before the first event is dispatched, so a handler can see what follows.
    void processEvents();
    // While an event is dispatched: the one read after it and not yet dispatched, if any.
    // A handler drops an event that a later one supersedes (pointer motion, when the
    // server is slow to answer and motion piles up).
    const xcb_generic_event_t* nextEvent() const;
    // Round trip to the server: every earlier request has been handled afterwards.
    void sync();

    // The pointer as the server reports it: root position, button and modifier mask,
    // and the root's child under it.
    struct PointerReading
    {
        QPointF position;
        uint16_t mask = 0;
        xcb_window_t child = XCB_WINDOW_NONE;
    };
    // Outside event handling every call asks the server. While an event is dispatched
    // the first answer is kept for the rest of that event: during a drag step the drag
    // monitor, the gesture and every zone of every screen ask, and they must all see
    // one position for one round trip.
    std::optional<PointerReading> queryPointer() const;

    // Logs an X error that came back from a checked request or a failed reply.
    // Returns true when there was an error.
    bool checkError(xcb_generic_error_t* error, const char* what) const;

    // Marks the connection unusable and emits connectionLost(), once. Called when this
    // connection breaks, and when Qt reports that its own connection to the same server
    // broke (it ends the process right after, so ours may not have noticed yet).
    void reportLostConnection();

Q_SIGNALS:
    // The server went away; the connection is unusable from now on.
    void connectionLost();

private:
    void dispatch(xcb_generic_event_t* event);
    void checkConnection();

    xcb_connection_t* m_connection = nullptr;
    xcb_screen_t* m_screen = nullptr;
    int m_screenNumber = 0;
    bool m_failed = false;
    bool m_ewmhReady = false;
    xcb_ewmh_connection_t m_ewmh{};
    QHash<QByteArray, xcb_atom_t> m_atoms;
    QHash<xcb_window_t, uint32_t> m_eventMasks;
    std::vector<X11EventHandler*> m_handlers;
    QSocketNotifier* m_notifier = nullptr;
    int m_dispatchDepth = 0;
    // Read from the socket, not yet dispatched. Shared by nested calls of processEvents()
    // (a handler's nested event loop), so events are always dispatched in order.
    std::deque<xcb_generic_event_t*> m_pending;
    quint64 m_dispatchSerial = 0;
    // The reading kept for the event with this dispatch serial.
    mutable std::optional<std::pair<quint64, PointerReading>> m_pointerOfEvent;
};
