#pragma once

#include "platform/DisplayServer.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DisplayIdentity.h"
#include "platform/x11/X11Struts.h"

#include <QSet>
#include <QTimer>


// The displays of an X11 desktop: one per RandR 1.5 monitor (primary first, then the
// server's order), each with a visible frame that leaves out the panels and docks on
// it. Desktop space on X11 is the root window's coordinate space.
//
// The list is cached and recomputed when RandR reports a change and when the window
// list or a panel's strut changes (panels often start after Parqueta); displaysChanged
// is emitted only when the list really changed, with X11DisplayServer::Change flags.
class X11DisplayServer final : public DisplayServer, public X11EventHandler
{
    Q_OBJECT

public:
    enum Change : quint32 {
        MonitorsChanged = 0x1, // RandR: monitors added, removed, moved or resized
        VisibleFramesChanged = 0x2, // panels: struts appeared, changed or went away
    };

    explicit X11DisplayServer(X11Connection& connection, QObject* parent = nullptr);
    ~X11DisplayServer() override;

    QList<DisplayInfo> displays() const override { return m_displays; }
    QPointF pointerLocation() const override;

    // Re-reads monitors and struts now (normally done on events, coalesced). Emits
    // displaysChanged with the Change flags that apply and returns true when the list
    // changed.
    bool refresh();

    bool handleX11Event(xcb_generic_event_t* event) override;

private:
    struct Monitor
    {
        QString name;
        QRect geometry;
        bool primary = false;
        QList<quint32> outputs;
    };

    QList<DisplayInfo> readDisplays();
    QList<Monitor> readMonitors();
    // The monitor's UUID from its EDID (or name), with what telling twins apart needs.
    X11DisplayIdentity::MonitorIdentity identityOf(const Monitor& monitor);
    QList<X11Strut> readStruts(QSize root);
    // Windows that may carry a strut: the client list, docks it does not list, and what
    // lies inside mapped override-redirect windows (icewm's task bar sits in a frame of its
    // own). panels gets the root geometry of the mapped override-redirect and dock windows.
    QList<xcb_window_t> strutCandidates(QList<QRect>& panels);
    // A window's rectangle in root coordinates.
    std::optional<QRect> rootGeometry(xcb_window_t window);
    QList<quint32> property32(xcb_window_t window, xcb_atom_t property, bool* windowGone = nullptr);
    void scheduleRefresh();

    X11Connection& m_connection;
    QList<DisplayInfo> m_displays;
    QSet<xcb_window_t> m_watched;
    QTimer m_refreshTimer;
    uint8_t m_randrEventBase = 0;
    bool m_randrAvailable = false;
};
