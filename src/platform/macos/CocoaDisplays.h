#pragma once

#include "platform/DisplayServer.h"
#include "platform/macos/CocoaScreenApi.h"

#include <optional>

// The displays of a Mac in desktop space (top-left of the primary display, y down),
// from AppKit's screens in Cocoa's global space (bottom-left of the primary, y up).
//
// The flip always uses the primary display's top edge, never the converted screen's
// own height: that is what keeps displays above, below and beside the primary in
// place. Desktop space is then the accessibility interface's space, so window frames
// need no further conversion.
//
// Nothing is cached: AppKit already keeps NSScreen.screens current, and the Objective-C++
// layer reports each display reconfiguration through reconfigured().
class CocoaDisplays final : public DisplayServer
{
    Q_OBJECT

public:
    explicit CocoaDisplays(CocoaScreenApi& api, QObject* parent = nullptr);

    // In AppKit's order, primary first. A display without a number or UUID keeps an
    // empty uuid (and so gets no screen identifier); one whose frames are not finite,
    // positive rectangles is left out.
    QList<DisplayInfo> displays() const override;
    // The pointer at the origin when no display is connected.
    QPointF pointerLocation() const override;

    // For the CGDisplayRegisterReconfigurationCallback handler: every call is passed on
    // unfiltered, the begin-configuration call included, with CGDisplayChangeSummaryFlags.
    void reconfigured(quint32 flags);

    // The display UUID of a screen: its NSScreenNumber must be a CGDirectDisplayID (an
    // unsigned 32-bit number) and the system must know a UUID for it.
    std::optional<QString> displayUuid(const CocoaScreenFacts& screen) const;

    // Between Cocoa's global space and desktop space; primaryFrame is the primary
    // display's frame in Cocoa space. Each pair is its own inverse.
    static QPointF toDesktop(QPointF cocoaPoint, const QRectF& primaryFrame);
    static QPointF toCocoa(QPointF desktopPoint, const QRectF& primaryFrame);
    static QRectF toDesktop(const QRectF& cocoaRect, const QRectF& primaryFrame);
    static QRectF toCocoa(const QRectF& desktopRect, const QRectF& primaryFrame);

    // For the debug window: the menu bar and Dock insets and the backing scale.
    static QString describeVisibleFrame(const CocoaScreenFacts& screen);

private:
    CocoaScreenApi& m_api;
};
