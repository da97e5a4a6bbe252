#pragma once

#include "platform/LoginItemService.h"

// The application itself as a login item through the Service Management framework's
// SMAppService.mainAppService (macOS 13 and later): it appears under System Settings >
// General > Login Items with Parqueta's own name and icon.
class SmAppServiceLoginItem final : public LoginItemService
{
public:
    // Asking for what is already so succeeds without a call: the service itself reports
    // registering twice, or unregistering what is not registered, as an error.
    bool setEnabled(bool enabled, QString& error) override;
    bool isEnabled() const override;
};
