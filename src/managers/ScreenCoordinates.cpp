#include "managers/ScreenCoordinates.h"

namespace ScreenCoordinates {

QRectF layoutToDesktop(const QRectF& layoutRect, const QRectF& visibleFrame)
{
    return layoutRect.translated(visibleFrame.topLeft());
}

QPointF layoutToDesktop(QPointF layoutPoint, const QRectF& visibleFrame)
{
    return layoutPoint + visibleFrame.topLeft();
}

QPointF desktopToLayout(QPointF desktopPoint, const QRectF& visibleFrame)
{
    return desktopPoint - visibleFrame.topLeft();
}

bool frameContains(const QRectF& frame, QPointF desktopPoint)
{
    // QRectF::contains() takes all four edges; this rule must not.
    return desktopPoint.x() >= frame.left() && desktopPoint.x() < frame.x() + frame.width()
        && desktopPoint.y() >= frame.top() && desktopPoint.y() < frame.y() + frame.height();
}

} // namespace ScreenCoordinates
