#include "views/PixelLabel.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>

namespace {

QFont labelFont()
{
    QFont font;
    font.setPointSizeF(12);
    font.setWeight(QFont::Medium);
    return font;
}

constexpr double kPaddingX = 10;
constexpr double kPaddingY = 4;

} // namespace

QRectF PixelLabel::rectCentredAt(const QPointF& centre) const
{
    const QFontMetricsF metrics(labelFont());
    const QSizeF textSize = metrics.size(Qt::TextSingleLine, symbol + QLatin1Char(' ') + text);
    const QSizeF size(textSize.width() + 2 * kPaddingX, textSize.height() + 2 * kPaddingY);
    return QRectF(centre.x() - size.width() / 2, centre.y() - size.height() / 2, size.width(), size.height());
}

void PixelLabel::paint(QPainter& painter, const QPointF& centre, const QPalette& palette) const
{
    const QRectF rect = rectCentredAt(centre);
    painter.save();
    painter.setOpacity(opacity);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette.color(QPalette::Window));
    painter.drawRoundedRect(rect, rect.height() / 2, rect.height() / 2);
    painter.setFont(labelFont());
    painter.setPen(palette.color(QPalette::PlaceholderText));
    painter.drawText(rect, Qt::AlignCenter, symbol + QLatin1Char(' ') + text);
    painter.restore();
}
