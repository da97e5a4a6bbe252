#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QtGlobal>

#include <memory>
#include <optional>
#include <variant>
#include <vector>

// One accessibility element (an AXUIElementRef on macOS). Only the implementation of
// AccessibilityApi that made it looks inside; it releases the reference when the last
// handle goes.
class AxElement
{
public:
    virtual ~AxElement() = default;
};

using AxElementRef = std::shared_ptr<const AxElement>;

// An AXError. The named values are the ones the window control tells apart; any other
// code the system returns is passed through unchanged, so logs show the real number.
enum class AxError : int {
    Success = 0,
    Failure = -25200,
    AttributeUnsupported = -25205,
    NoValue = -25212,
};

// An attribute value as far as window control understands it: AXUIElement, a CFArray
// of them, CFBoolean, AXValue point or size, CFString. Anything else arrives as
// monostate, which every reader takes as "no usable value".
using AxValue = std::variant<std::monostate, AxElementRef, std::vector<AxElementRef>, bool, QPointF, QSizeF, QString>;

// What AXUIElementCopyAttributeValue gives: the error code and whatever value it
// produced, which may be present even when the code is not Success.
struct AxReading
{
    AxError error = AxError::Failure;
    AxValue value;
};

// What _AXUIElementGetWindow gives.
struct AxWindowNumber
{
    AxError error = AxError::Failure;
    quint32 number = 0;
};

// One entry of CGWindowListCopyWindowInfo; a key that is missing or of another type is
// absent. bounds is kCGWindowBounds as CGRectMakeWithDictionaryRepresentation reads it.
struct WindowListEntry
{
    std::optional<qint64> layer;
    std::optional<QRectF> bounds;
    std::optional<qint64> ownerPid;
};

// The NSRunningApplication of a process; an empty text when the application has none.
struct RunningApplication
{
    QString localizedName;
    QString bundleIdentifier;
};

// The calls window control makes to macOS, one method per system call, with nothing
// decided here: the Objective-C++ implementation forwards each one and converts the
// values, and tests script them. Coordinates are those of the calls themselves:
// accessibility space, top-left of the primary display, y down.
class AccessibilityApi
{
public:
    virtual ~AccessibilityApi() = default;

    // AXUIElementCreateSystemWide.
    virtual AxElementRef systemWide() = 0;
    // AXUIElementCreateApplication; made for any pid, answering nothing when it is not
    // running.
    virtual AxElementRef application(qint64 pid) = 0;
    // AXUIElementCopyAttributeValue.
    virtual AxReading copyAttribute(const AxElement& element, const QString& attribute) = 0;
    // AXUIElementSetAttributeValue of a CFBoolean or an AXValue made with AXValueCreate.
    // A point that cannot be packed is a fatal error; a size that cannot be packed is
    // not written.
    virtual AxError setAttribute(
        const AxElement& element, const QString& attribute, const std::variant<QPointF, QSizeF, bool>& value)
        = 0;
    // AXUIElementPerformAction.
    virtual AxError performAction(const AxElement& element, const QString& action) = 0;
    // AXUIElementCopyElementAtPosition on element; null unless the call succeeded.
    virtual AxElementRef elementAtPosition(const AxElement& element, const QPointF& point) = 0;
    // AXUIElementGetPid; absent on an error.
    virtual std::optional<qint64> pid(const AxElement& element) = 0;
    // _AXUIElementGetWindow: the window server's number of a window element.
    virtual AxWindowNumber windowNumber(const AxElement& element) = 0;

    // CGEventGetLocation of CGEventCreate(nullptr); absent when no event can be made.
    virtual std::optional<QPointF> pointerLocation() = 0;
    // CGWindowListCopyWindowInfo(options, kCGNullWindowID) in the system's order (front
    // to back); absent when the window server gives no list.
    virtual std::optional<std::vector<WindowListEntry>> windowList(quint32 options) = 0;

    // NSRunningApplication runningApplicationWithProcessIdentifier:.
    virtual std::optional<RunningApplication> runningApplication(qint64 pid) = 0;
    // activateWithOptions:0 on that running application, if there is one.
    virtual void activate(qint64 pid) = 0;
};
