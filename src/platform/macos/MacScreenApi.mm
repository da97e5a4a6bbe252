#include "platform/macos/MacScreenApi.h"

#include "core/Logging.h"
#include "platform/macos/CFRef.h"

#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include <cstring>

namespace {

// Quartz calls this through the run loop of the thread that processes the application's
// events (Quartz Display Services, "Notification of Configuration Changes"): in a Cocoa
// application that is the main thread, the one Qt's event loop runs on, so the handler
// may touch Qt objects directly.
void displaysReconfigured(CGDirectDisplayID, CGDisplayChangeSummaryFlags flags, void* userInfo)
{
    const auto& handler = *static_cast<const std::function<void(quint32)>*>(userInfo);
    if (handler)
        handler(quint32(flags));
}

// deviceDescription[NSScreenNumber] is documented as an NSNumber holding the display's
// CGDirectDisplayID; anything else (or a fractional number) means no number.
std::optional<qint64> screenNumberOf(NSScreen* screen)
{
    id value = screen.deviceDescription[@"NSScreenNumber"];
    NSNumber* number = [value isKindOfClass:[NSNumber class]] ? value : nil;
    if (!number)
        return std::nullopt;
    const char* type = number.objCType;
    if (std::strcmp(type, @encode(double)) == 0 || std::strcmp(type, @encode(float)) == 0)
        return std::nullopt;
    return qint64(number.longLongValue);
}

} // namespace

MacScreenApi::MacScreenApi()
{
    // Registered once for the object's whole life: Quartz keeps the pointer to
    // m_reconfigured until the destructor takes it back.
    const CGError error = CGDisplayRegisterReconfigurationCallback(&displaysReconfigured, &m_reconfigured);
    m_registered = error == kCGErrorSuccess;
    if (!m_registered)
        qCWarning(lcScreens) << "Cannot follow display changes: CGDisplayRegisterReconfigurationCallback failed with"
                             << int(error) << "- displays are read afresh only when asked";
}

MacScreenApi::~MacScreenApi()
{
    if (m_registered)
        CGDisplayRemoveReconfigurationCallback(&displaysReconfigured, &m_reconfigured);
}

void MacScreenApi::setReconfiguredHandler(std::function<void(quint32 flags)> handler)
{
    m_reconfigured = std::move(handler);
}

std::vector<CocoaScreenFacts> MacScreenApi::screens()
{
    @autoreleasepool {
        std::vector<CocoaScreenFacts> facts;
        for (NSScreen* screen in NSScreen.screens) {
            CocoaScreenFacts fact;
            fact.screenNumber = screenNumberOf(screen);
            fact.localizedName = QString::fromNSString(screen.localizedName);
            fact.frame = QRectF::fromCGRect(NSRectToCGRect(screen.frame));
            fact.visibleFrame = QRectF::fromCGRect(NSRectToCGRect(screen.visibleFrame));
            fact.backingScaleFactor = qreal(screen.backingScaleFactor);
            facts.push_back(fact);
        }
        return facts;
    }
}

std::optional<QString> MacScreenApi::displayUuid(quint32 displayId)
{
    const auto uuid = CFRef<CFUUIDRef>::adopt(CGDisplayCreateUUIDFromDisplayID(displayId));
    if (!uuid)
        return std::nullopt;
    const auto text = CFRef<CFStringRef>::adopt(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()));
    if (!text)
        return std::nullopt;
    return QString::fromCFString(text.get());
}

QPointF MacScreenApi::mouseLocation()
{
    return QPointF::fromCGPoint(NSPointToCGPoint(NSEvent.mouseLocation));
}
