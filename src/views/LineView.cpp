#include "views/LineView.h"

#include <QPainter>

QRectF LineView::placed(const SplitLine& line)
{
    const QRectF& r = line.rect;
    return QRectF(r.x() - r.width() / 2, r.y() - r.height() / 2, r.width(), r.height());
}

void LineView::paint(QPainter& painter, const QRectF& rect) const
{
    painter.fillRect(rect, color);
}
