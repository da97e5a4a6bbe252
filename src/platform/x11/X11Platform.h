#pragma once

#include "platform/ApplicationShell.h"
#include "platform/Platform.h"

#include <xcb/xcb.h>

#include <memory>

class X11Connection;
class X11DisplayServer;
class X11WindowControl;
class X11GlobalInput;
class X11WindowEvents;
class X11HotkeyBackend;
class X11DesktopEffects;
class XdgAutostartLoginItem;

// The X11 backend: owns Parqueta's one X11 connection and every service built on it.
// Services are created in the constructor after the connection and destroyed before
// it (members are destroyed in reverse order); add new ones below m_displays.
class X11Platform final : public Platform
{
public:
    // Takes a valid connection (see createPlatform()).
    explicit X11Platform(std::unique_ptr<X11Connection> connection);
    ~X11Platform() override;

    DisplayServer& displays() override;
    WindowControl& windows() override;
    GlobalInput& input() override;
    WindowEvents& windowEvents() override;
    HotkeyBackend& hotkeys() override;
    DesktopEffects& desktopEffects() override;
    LoginItemService& loginItems() override;
    // Launched at once, never in a dock: an X11 session has neither notion.
    ApplicationShell& shell() override { return m_shell; }
    QString reopenPlace() const override;
    // Any X11 client may move any window: there is nothing to grant.
    bool hasWindowControlPermission() const override { return true; }
    void setConnectionLostHandler(std::function<void()> handler) override;
    DesktopFacts desktopFacts() override;

    X11Connection& connection() { return *m_connection; }

private:
    // The name a client gives itself (_NET_WM_NAME, else its class); empty for none.
    QString clientName(xcb_window_t window);
    // The command name of the process that owns a window, from _NET_WM_PID; empty when unknown.
    QString processName(xcb_window_t window);
    // Who owns a manager selection ("_NET_WM_CM_S0"), by name; empty when nobody does.
    QString selectionOwnerName(const QByteArray& selection, bool& owned);

    std::unique_ptr<X11Connection> m_connection;
    std::unique_ptr<X11DisplayServer> m_displays;
    std::unique_ptr<X11WindowControl> m_windows;
    std::unique_ptr<X11GlobalInput> m_input;
    std::unique_ptr<X11WindowEvents> m_windowEvents;
    std::unique_ptr<X11HotkeyBackend> m_hotkeys;
    std::unique_ptr<X11DesktopEffects> m_desktopEffects;
    std::unique_ptr<XdgAutostartLoginItem> m_loginItems;
    ApplicationShell m_shell;
};
