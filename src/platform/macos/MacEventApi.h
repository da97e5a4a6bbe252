#pragma once

#include "platform/macos/CocoaEventApi.h"

#include <memory>

// CocoaEventApi over NSEvent's event monitors. The monitors still installed when it goes
// are removed then.
class MacEventApi final : public CocoaEventApi
{
public:
    MacEventApi();
    ~MacEventApi() override;
    MacEventApi(const MacEventApi&) = delete;
    MacEventApi& operator=(const MacEventApi&) = delete;

    Token addGlobalMonitor(quint64 mask, Handler handler) override;
    Token addLocalMonitor(quint64 mask, Handler handler) override;
    void removeMonitor(Token token) override;
    quint64 modifierFlags() override;

private:
    // The monitor objects AppKit handed out, by token (Objective-C, so defined in the .mm).
    struct Monitors;
    std::unique_ptr<Monitors> m_monitors;
};
