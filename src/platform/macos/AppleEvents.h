#pragma once

#include <QtGlobal>

#include <optional>

// The Apple event codes Parqueta reads at launch, and what they mean.
namespace AppleEvents {

constexpr quint32 fourCharCode(const char (&code)[5])
{
    return (quint32(quint8(code[0])) << 24) | (quint32(quint8(code[1])) << 16) | (quint32(quint8(code[2])) << 8)
        | quint32(quint8(code[3]));
}

// kCoreEventClass, kAEOpenApplication, kAEReopenApplication, keyAEPropData.
inline constexpr quint32 kCoreEventClass = fourCharCode("aevt");
inline constexpr quint32 kOpenApplication = fourCharCode("oapp");
inline constexpr quint32 kReopenApplication = fourCharCode("rapp");
inline constexpr quint32 kPropertyData = fourCharCode("prdt");
// The property data of a launch at login: 'ligt' as Parqueta has always compared it, and
// keyAELaunchedAsLogInItem ('lgit') as AERegistry.h spells it. Both count.
inline constexpr quint32 kLoginItemAsCompared = fourCharCode("ligt");
inline constexpr quint32 kLaunchedAsLogInItem = fourCharCode("lgit");

// Whether the event that opened the application says the session started it at login:
// an open-application event whose property data is the enumerated login-item value.
// eventId is the event's ID ('oapp'); propertyData the enum of its 'prdt' parameter,
// absent when it has none.
bool isLoginItemLaunch(quint32 eventId, std::optional<quint32> propertyData);

} // namespace AppleEvents
