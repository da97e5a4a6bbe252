#include "views/AppIcon.h"

#include <QPainter>
#include <QPainterPath>

namespace AppIcon {

QPixmap pixmap(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);

    const qreal margin = size * 0.08;
    const QRectF screen(margin, margin, size - 2 * margin, size - 2 * margin);
    const qreal radius = size * 0.12;
    const qreal gap = qMax<qreal>(1.0, size * 0.06);
    const QColor frame(0x2b, 0x3a, 0x55);
    const QColor zone(0xdd, 0xe6, 0xf3);
    const QColor lit(0x3d, 0x8b, 0xfd);

    QPainterPath outline;
    outline.addRoundedRect(screen, radius, radius);
    painter.fillPath(outline, frame);

    const QRectF inner = screen.adjusted(gap, gap, -gap, -gap);
    const qreal leftWidth = (inner.width() - gap) * 0.6;
    const QRectF left(inner.left(), inner.top(), leftWidth, inner.height());
    const qreal rightX = left.right() + gap;
    const qreal halfHeight = (inner.height() - gap) / 2;
    const QRectF topRight(rightX, inner.top(), inner.right() - rightX, halfHeight);
    const QRectF bottomRight(rightX, topRight.bottom() + gap, topRight.width(), halfHeight);

    const qreal zoneRadius = radius * 0.5;
    for (const auto& [rect, colour] :
        {std::pair {left, zone}, std::pair {topRight, lit}, std::pair {bottomRight, zone}}) {
        QPainterPath path;
        path.addRoundedRect(rect, zoneRadius, zoneRadius);
        painter.fillPath(path, colour);
    }
    return pixmap;
}

QIcon icon()
{
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(pixmap(size));
    return icon;
}

} // namespace AppIcon
