#pragma once

#include <QPointF>
#include <QRectF>

// Conversions between desktop space (origin at the top-left of the primary display,
// y down) and the layout space of one screen (origin at the top-left of its visible
// frame, y down). Both spaces point the same way, so each conversion is a shift by the
// visible frame's origin; the unit tests prove that this equals the bottom-left-origin
// formulas of the macOS backend for screens above, below and beside the primary.
namespace ScreenCoordinates {

// A rectangle of a layout (a zone, a union of zones) in desktop space: where a window
// snapped into it goes. Width and height are unchanged.
QRectF layoutToDesktop(const QRectF& layoutRect, const QRectF& visibleFrame);
QPointF layoutToDesktop(QPointF layoutPoint, const QRectF& visibleFrame);

// A desktop point (the pointer) in the layout space of a screen.
QPointF desktopToLayout(QPointF desktopPoint, const QRectF& visibleFrame);

// Whether a display frame contains a desktop point. The left and top edges belong to
// the frame, the right and bottom edges do not, so a point on the edge shared by two
// side-by-side displays belongs to exactly one of them (the right or lower one). This is
// the macOS rule for screen frames (NSMouseInRect, not flipped) seen in y-down space.
bool frameContains(const QRectF& frame, QPointF desktopPoint);

} // namespace ScreenCoordinates
