#include "views/BorderView.h"

#include <QPainter>

void BorderView::paint(QPainter& painter, const QRectF& rect) const
{
    constexpr double kMinThickness = 2.0;
    QRectF band = rect;
    if (band.width() < kMinThickness)
        band.adjust(-(kMinThickness - band.width()) / 2, 0, (kMinThickness - band.width()) / 2, 0);
    if (band.height() < kMinThickness)
        band.adjust(0, -(kMinThickness - band.height()) / 2, 0, (kMinThickness - band.height()) / 2);
    painter.fillRect(band, color);
}
