#pragma once

#include <QString>

// Starting Parqueta when the user logs in. The setting "launchAtLogin" keeps the user's
// choice whatever happens here; this only acts on the session's own mechanism (an XDG
// autostart entry on Linux, the login-item service on macOS).
class LoginItemService
{
public:
    virtual ~LoginItemService() = default;

    // Registers (or removes) Parqueta as a login item. False, with the reason in error,
    // when the session refused; the caller logs it.
    virtual bool setEnabled(bool enabled, QString& error) = 0;
    // Whether the session starts Parqueta at login right now.
    virtual bool isEnabled() const = 0;
};
