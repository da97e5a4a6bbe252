#pragma once

#include "platform/DesktopEffects.h"
#include "platform/x11/X11Connection.h"

// A compositing manager announces itself by owning the _NET_WM_CM_S<screen> selection.
// XFixes reports every change of that owner, so a compositor started or stopped while
// Parqueta runs is noticed at once.
class X11DesktopEffects final : public DesktopEffects, public X11EventHandler
{
    Q_OBJECT

public:
    explicit X11DesktopEffects(X11Connection& connection, QObject* parent = nullptr);
    ~X11DesktopEffects() override;

    bool overlaysCanBeTranslucent() const override { return m_translucent; }
    // A configure request on Qt's own connection, so it follows the geometry Qt asked for.
    void placeExactly(QWindow& window, const QRect& desktopRect) const override;

    bool handleX11Event(xcb_generic_event_t* event) override;

private:
    bool watchSelection();
    bool readOwner();
    void setTranslucent(bool translucent);

    X11Connection& m_connection;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    // First event code of XFixes; 0 while selection changes are not followed.
    uint8_t m_xfixesEvent = 0;
    bool m_translucent = false;
};
