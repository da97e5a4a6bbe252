#include "views/DesktopGeometry.h"

#include <QGuiApplication>
#include <QScreen>

#include <cmath>

namespace DesktopGeometry {

QRect toLogical(const QRectF& desktopRect)
{
    const QPointF centre = desktopRect.center();
    for (QScreen* screen : QGuiApplication::screens()) {
        const double ratio = screen->devicePixelRatio();
        const QRect logical = screen->geometry();
        const QRectF native(logical.topLeft(), QSizeF(logical.size()) * ratio);
        if (!native.contains(centre) || ratio <= 0)
            continue;
        const QPointF origin = logical.topLeft();
        const QPointF topLeft = origin + (desktopRect.topLeft() - origin) / ratio;
        const QPointF bottomRight = origin + (desktopRect.bottomRight() - origin) / ratio;
        // Rounding both corners, not the size, keeps neighbouring windows edge to edge.
        return QRect(QPoint(static_cast<int>(std::lround(topLeft.x())), static_cast<int>(std::lround(topLeft.y()))),
            QPoint(static_cast<int>(std::lround(bottomRight.x())) - 1,
                static_cast<int>(std::lround(bottomRight.y())) - 1));
    }
    return desktopRect.toRect();
}

} // namespace DesktopGeometry
