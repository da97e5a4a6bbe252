#pragma once

#include "platform/DesktopEffects.h"
#include "platform/x11/X11Connection.h"

// A compositing manager announces itself by owning the _NET_WM_CM_S<screen> selection,
// a tray host by owning _NET_SYSTEM_TRAY_S<screen>, on whose window it may publish the
// colours of its own icons (_NET_SYSTEM_TRAY_COLORS). XFixes reports every change of
// either owner and the host's window reports its property changes, so a compositor
// started or stopped, a panel restarted or a switch between light and dark is noticed
// at once.
class X11DesktopEffects final : public DesktopEffects, public X11EventHandler
{
    Q_OBJECT

public:
    explicit X11DesktopEffects(X11Connection& connection, QObject* parent = nullptr);
    ~X11DesktopEffects() override;

    bool overlaysCanBeTranslucent() const override { return m_translucent; }
    // A configure request on Qt's own connection, so it follows the geometry Qt asked for.
    void placeExactly(QWindow& window, const QRect& desktopRect) const override;
    std::optional<QColor> trayForeground() const override { return m_trayForeground; }

    bool handleX11Event(xcb_generic_event_t* event) override;

private:
    // Qt's own connection, which Qt's windows are made on; null without the xcb platform.
    static xcb_connection_t* qtConnection();
    bool startXFixes();
    bool watchSelection(xcb_atom_t selection);
    xcb_window_t readOwner(xcb_atom_t selection);
    void setTranslucent(bool translucent);
    void followTrayHost(xcb_window_t owner);
    void readTrayForeground();

    X11Connection& m_connection;
    xcb_connection_t* m_qtConnection;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    xcb_atom_t m_traySelection = XCB_ATOM_NONE;
    xcb_atom_t m_trayColours = XCB_ATOM_NONE;
    // First event code of XFixes; 0 while selection changes are not followed.
    uint8_t m_xfixesEvent = 0;
    bool m_translucent = false;
    xcb_window_t m_trayHost = XCB_WINDOW_NONE;
    std::optional<QColor> m_trayForeground;
};
