#pragma once

#include "platform/macos/AppleEvents.h"
#include "platform/macos/CarbonHotKeyApi.h"

#include <map>

// Carbon's EventHandlerRef and EventHotKeyRef point to these.
struct OpaqueEventHandlerRef;
struct OpaqueEventHotKeyRef;

// CarbonHotKeyApi over RegisterEventHotKey, with one handler for kEventHotKeyPressed on
// the application's event target installed for the object's whole life. Hot keys still
// registered when it goes are unregistered then.
class MacHotKeyApi final : public CarbonHotKeyApi
{
public:
    // The signature of Parqueta's hot keys: presses carrying another one belong to some
    // other part of the process and are passed on.
    static constexpr quint32 kSignature = AppleEvents::fourCharCode("PRQT");

    MacHotKeyApi();
    ~MacHotKeyApi() override;
    MacHotKeyApi(const MacHotKeyApi&) = delete;
    MacHotKeyApi& operator=(const MacHotKeyApi&) = delete;

    int registerHotKey(quint32 keyCode, quint32 modifiers, quint32 id) override;
    void unregisterHotKey(quint32 id) override;
    void setPressedHandler(std::function<void(quint32 id)> pressed) override;

private:
    // Its address is the Carbon handler's user data, so this object must not move.
    std::function<void(quint32 id)> m_pressed;
    OpaqueEventHandlerRef* m_handler = nullptr;
    std::map<quint32, OpaqueEventHotKeyRef*> m_hotKeys;
};
