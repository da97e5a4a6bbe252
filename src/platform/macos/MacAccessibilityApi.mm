#include "platform/macos/MacAccessibilityApi.h"

#include "core/Logging.h"
#include "platform/macos/CFRef.h"

#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include <limits>

// Exported by HIServices but in none of the SDK's headers: the window server's number of
// a window element, the one link between an accessibility window and CGWindowList.
extern "C" AXError _AXUIElementGetWindow(AXUIElementRef element, CGWindowID* window);

namespace {

class MacAxElement final : public AxElement
{
public:
    explicit MacAxElement(CFRef<AXUIElementRef> element)
        : ref(std::move(element))
    { }
    const CFRef<AXUIElementRef> ref;
};

AxElementRef wrap(CFRef<AXUIElementRef> element)
{
    return element ? std::make_shared<const MacAxElement>(std::move(element)) : nullptr;
}

// Null, after a log line, for an element some other implementation made: the calls would
// take any pointer and crash on it.
AXUIElementRef refOf(const AxElement& element)
{
    const auto* own = dynamic_cast<const MacAxElement*>(&element);
    if (!own)
        qCCritical(lcWindows) << "An accessibility element MacAccessibilityApi did not make; the call is not made";
    return own ? own->ref.get() : nullptr;
}

AxError axError(AXError error)
{
    return static_cast<AxError>(static_cast<int>(error));
}

CFRef<CFStringRef> cfString(const QString& text)
{
    return CFRef<CFStringRef>::adopt(text.toCFString());
}

std::optional<pid_t> toPid(qint64 pid)
{
    if (pid < 0 || pid > std::numeric_limits<pid_t>::max())
        return std::nullopt;
    return pid_t(pid);
}

AxElementRef elementIn(CFTypeRef value)
{
    if (!value || CFGetTypeID(value) != AXUIElementGetTypeID())
        return nullptr;
    return wrap(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value)));
}

AxValue axValueOf(CFTypeRef value)
{
    if (!value)
        return {};
    const CFTypeID type = CFGetTypeID(value);
    if (type == AXUIElementGetTypeID())
        return elementIn(value);
    if (type == CFArrayGetTypeID()) {
        const auto array = static_cast<CFArrayRef>(value);
        std::vector<AxElementRef> elements;
        for (CFIndex i = 0, count = CFArrayGetCount(array); i < count; ++i) {
            AxElementRef element = elementIn(CFArrayGetValueAtIndex(array, i));
            if (!element)
                return {};
            elements.push_back(std::move(element));
        }
        return elements;
    }
    if (type == CFBooleanGetTypeID())
        return bool(CFBooleanGetValue(static_cast<CFBooleanRef>(value)));
    if (type == AXValueGetTypeID()) {
        const auto packed = static_cast<AXValueRef>(value);
        CGPoint point = CGPointZero;
        if (AXValueGetType(packed) == kAXValueTypeCGPoint && AXValueGetValue(packed, kAXValueTypeCGPoint, &point))
            return QPointF::fromCGPoint(point);
        CGSize size = CGSizeZero;
        if (AXValueGetType(packed) == kAXValueTypeCGSize && AXValueGetValue(packed, kAXValueTypeCGSize, &size))
            return QSizeF::fromCGSize(size);
        return {};
    }
    if (type == CFStringGetTypeID())
        return QString::fromCFString(static_cast<CFStringRef>(value));
    return {};
}

std::optional<qint64> integerIn(CFTypeRef value)
{
    SInt64 number = 0;
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID()
        || !CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &number))
        return std::nullopt;
    return qint64(number);
}

std::optional<QRectF> boundsIn(CFTypeRef value)
{
    CGRect rect = CGRectZero;
    if (!value || CFGetTypeID(value) != CFDictionaryGetTypeID()
        || !CGRectMakeWithDictionaryRepresentation(static_cast<CFDictionaryRef>(value), &rect))
        return std::nullopt;
    return QRectF::fromCGRect(rect);
}

} // namespace

AxElementRef MacAccessibilityApi::systemWide()
{
    return wrap(CFRef<AXUIElementRef>::adopt(AXUIElementCreateSystemWide()));
}

AxElementRef MacAccessibilityApi::application(qint64 pid)
{
    const std::optional<pid_t> process = toPid(pid);
    return process ? wrap(CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(*process))) : nullptr;
}

AxReading MacAccessibilityApi::copyAttribute(const AxElement& element, const QString& attribute)
{
    const AXUIElementRef ref = refOf(element);
    if (!ref)
        return {};
    CFRef<CFTypeRef> value;
    const AXError error = AXUIElementCopyAttributeValue(ref, cfString(attribute).get(), value.out());
    return {axError(error), axValueOf(value.get())};
}

AxError MacAccessibilityApi::setAttribute(
    const AxElement& element, const QString& attribute, const std::variant<QPointF, QSizeF, bool>& value)
{
    const AXUIElementRef ref = refOf(element);
    if (!ref)
        return AxError::Failure;
    CFRef<CFTypeRef> packed;
    if (const auto* point = std::get_if<QPointF>(&value)) {
        const CGPoint cgPoint = point->toCGPoint();
        packed = CFRef<CFTypeRef>::adopt(AXValueCreate(kAXValueTypeCGPoint, &cgPoint));
        // A frame is written as size, position, size: dropping the position would leave
        // the window resized in its old place with nothing to show for it.
        if (!packed)
            qFatal("AXValueCreate cannot pack the point (%f, %f)", point->x(), point->y());
    } else if (const auto* size = std::get_if<QSizeF>(&value)) {
        const CGSize cgSize = size->toCGSize();
        packed = CFRef<CFTypeRef>::adopt(AXValueCreate(kAXValueTypeCGSize, &cgSize));
        if (!packed) {
            qCWarning(lcWindows) << "AXValueCreate cannot pack the size" << *size << "- not written";
            return AxError::Failure;
        }
    } else {
        packed = CFRef<CFTypeRef>::retain(std::get<bool>(value) ? kCFBooleanTrue : kCFBooleanFalse);
    }
    return axError(AXUIElementSetAttributeValue(ref, cfString(attribute).get(), packed.get()));
}

AxError MacAccessibilityApi::performAction(const AxElement& element, const QString& action)
{
    const AXUIElementRef ref = refOf(element);
    return ref ? axError(AXUIElementPerformAction(ref, cfString(action).get())) : AxError::Failure;
}

AxElementRef MacAccessibilityApi::elementAtPosition(const AxElement& element, const QPointF& point)
{
    const AXUIElementRef ref = refOf(element);
    if (!ref)
        return nullptr;
    CFRef<AXUIElementRef> hit;
    const AXError error = AXUIElementCopyElementAtPosition(ref, float(point.x()), float(point.y()), hit.out());
    return error == kAXErrorSuccess ? wrap(std::move(hit)) : nullptr;
}

std::optional<qint64> MacAccessibilityApi::pid(const AxElement& element)
{
    const AXUIElementRef ref = refOf(element);
    pid_t process = 0;
    if (!ref || AXUIElementGetPid(ref, &process) != kAXErrorSuccess)
        return std::nullopt;
    return qint64(process);
}

AxWindowNumber MacAccessibilityApi::windowNumber(const AxElement& element)
{
    const AXUIElementRef ref = refOf(element);
    if (!ref)
        return {};
    CGWindowID number = 0;
    const AXError error = _AXUIElementGetWindow(ref, &number);
    return {axError(error), quint32(number)};
}

std::optional<QPointF> MacAccessibilityApi::pointerLocation()
{
    const auto event = CFRef<CGEventRef>::adopt(CGEventCreate(nullptr));
    if (!event)
        return std::nullopt;
    return QPointF::fromCGPoint(CGEventGetLocation(event.get()));
}

std::optional<std::vector<WindowListEntry>> MacAccessibilityApi::windowList(quint32 options)
{
    const auto list = CFRef<CFArrayRef>::adopt(CGWindowListCopyWindowInfo(options, kCGNullWindowID));
    if (!list)
        return std::nullopt;
    std::vector<WindowListEntry> entries;
    for (CFIndex i = 0, count = CFArrayGetCount(list.get()); i < count; ++i) {
        const CFTypeRef item = CFArrayGetValueAtIndex(list.get(), i);
        WindowListEntry entry;
        if (item && CFGetTypeID(item) == CFDictionaryGetTypeID()) {
            const auto info = static_cast<CFDictionaryRef>(item);
            entry.layer = integerIn(CFDictionaryGetValue(info, kCGWindowLayer));
            entry.bounds = boundsIn(CFDictionaryGetValue(info, kCGWindowBounds));
            entry.ownerPid = integerIn(CFDictionaryGetValue(info, kCGWindowOwnerPID));
        }
        entries.push_back(entry);
    }
    return entries;
}

std::optional<RunningApplication> MacAccessibilityApi::runningApplication(qint64 pid)
{
    const std::optional<pid_t> process = toPid(pid);
    if (!process)
        return std::nullopt;
    @autoreleasepool {
        NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:*process];
        if (!app)
            return std::nullopt;
        return RunningApplication {
            QString::fromNSString(app.localizedName), QString::fromNSString(app.bundleIdentifier)};
    }
}

void MacAccessibilityApi::activate(qint64 pid)
{
    const std::optional<pid_t> process = toPid(pid);
    if (!process)
        return;
    @autoreleasepool {
        [[NSRunningApplication runningApplicationWithProcessIdentifier:*process] activateWithOptions:0];
    }
}
