#pragma once

#include <QPointF>
#include <QRectF>
#include <QString>
#include <QtGlobal>

#include <optional>
#include <vector>

// One NSScreen as AppKit describes it. Rectangles are in Cocoa's global space: origin at
// the bottom-left of the primary display, y up.
struct CocoaScreenFacts
{
    // deviceDescription["NSScreenNumber"] when it is an integer NSNumber, unchecked:
    // whether it fits a CGDirectDisplayID is decided by the caller.
    std::optional<qint64> screenNumber;
    QString localizedName;
    QRectF frame;
    QRectF visibleFrame;
    qreal backingScaleFactor = 1.0;
};

// The calls the display logic makes to macOS, one method per system call, with nothing
// decided here: the Objective-C++ implementation forwards and converts, tests script.
class CocoaScreenApi
{
public:
    virtual ~CocoaScreenApi() = default;

    // NSScreen.screens in AppKit's order: the primary display (the one with the menu
    // bar at launch, origin 0,0) first. Empty with no display connected.
    virtual std::vector<CocoaScreenFacts> screens() = 0;
    // CGDisplayCreateUUIDFromDisplayID, turned into text by CFUUIDCreateString; absent
    // when either call yields nothing.
    virtual std::optional<QString> displayUuid(quint32 displayId) = 0;
    // NSEvent.mouseLocation, in Cocoa's global space.
    virtual QPointF mouseLocation() = 0;
};
