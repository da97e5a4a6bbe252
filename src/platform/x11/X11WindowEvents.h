#pragma once

#include "platform/WindowEvents.h"
#include "platform/x11/X11Connection.h"

#include <QSet>

// New top-level windows from the window manager's client list: every change of
// _NET_CLIENT_LIST on the root is compared with the list seen before, and each window
// that is new in it is reported a moment later (see kSettleMs).
class X11WindowEvents final : public WindowEvents, public X11EventHandler
{
    Q_OBJECT

public:
    explicit X11WindowEvents(X11Connection& connection, QObject* parent = nullptr);
    ~X11WindowEvents() override;

    // A window manager lists a window when it takes it on and then places, decorates and
    // maps it; a move asked for in between may be undone by its own placement. Reporting
    // the window this much later lets the window manager finish first.
    static constexpr int kSettleMs = 150;

    bool handleX11Event(xcb_generic_event_t* event) override;

protected:
    bool startListening() override;
    void stopListening() override;

private:
    QSet<xcb_window_t> readClients();

    X11Connection& m_connection;
    QSet<xcb_window_t> m_clients;
};
