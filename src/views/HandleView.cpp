#include "views/HandleView.h"

#include "views/ZoneColors.h"

#include <QPainter>
#include <QPainterPath>

namespace {
constexpr double kLength = 44;
constexpr double kThickness = 12;
constexpr int kCapsules = 3;
constexpr double kCapsuleLength = 8;
constexpr double kCapsuleThickness = 3;
} // namespace

QColor HandleView::highlightColor() const
{
    return ZoneColors::blended(color, 0.15, Qt::white);
}

QRectF HandleView::rectAt(QPointF centre, SplitType direction)
{
    // A vertical border (children side by side) gets an upright handle.
    const QSizeF size = direction == SplitType::vertical ? QSizeF(kThickness, kLength) : QSizeF(kLength, kThickness);
    return QRectF(centre.x() - size.width() / 2, centre.y() - size.height() / 2, size.width(), size.height());
}

void HandleView::paint(QPainter& painter, const QRectF& rect) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(highlighted ? highlightColor() : color);
    const double radius = std::min(rect.width(), rect.height()) / 2;
    painter.drawRoundedRect(rect, radius, radius);

    painter.setBrush(Qt::white);
    const bool upright = direction == SplitType::vertical;
    const double step = (upright ? rect.height() : rect.width()) / (kCapsules + 1);
    for (int i = 1; i <= kCapsules; ++i) {
        const QPointF c = upright ? QPointF(rect.center().x(), rect.top() + step * i)
                                  : QPointF(rect.left() + step * i, rect.center().y());
        // Each capsule lies across the handle, like the grip of a slider.
        const QSizeF s
            = upright ? QSizeF(kCapsuleLength, kCapsuleThickness) : QSizeF(kCapsuleThickness, kCapsuleLength);
        painter.drawRoundedRect(QRectF(c.x() - s.width() / 2, c.y() - s.height() / 2, s.width(), s.height()),
            kCapsuleThickness / 2, kCapsuleThickness / 2);
    }
    if (focused) {
        QPen ring(Qt::white, 2, Qt::DashLine);
        painter.setPen(ring);
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(rect.adjusted(-4, -4, 4, 4), radius + 4, radius + 4);
    }
    painter.restore();
}
