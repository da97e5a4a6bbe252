#include "platform/macos/AppleEvents.h"

namespace AppleEvents {

bool isLoginItemLaunch(quint32 eventId, std::optional<quint32> propertyData)
{
    return eventId == kOpenApplication && propertyData
        && (*propertyData == kLoginItemAsCompared || *propertyData == kLaunchedAsLogInItem);
}

} // namespace AppleEvents
