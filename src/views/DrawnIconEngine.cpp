#include "views/DrawnIconEngine.h"

#include <QPainter>
#include <QPixmap>

#include <algorithm>

namespace {
// Far beyond any icon a desktop shows; a larger request is drawn at this size.
constexpr int kLargestSide = 1024;
} // namespace

DrawnIconEngine::DrawnIconEngine(Draw draw, QList<int> sizes)
    : m_draw(std::move(draw))
    , m_sizes(std::move(sizes))
{ }

void DrawnIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state)
{
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    const QPixmap drawn = scaledPixmap(rect.size() * ratio, mode, state, ratio);
    painter->drawPixmap(rect, drawn);
}

QPixmap DrawnIconEngine::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state)
{
    return scaledPixmap(size, mode, state, 1.0);
}

QPixmap DrawnIconEngine::scaledPixmap(const QSize& size, QIcon::Mode, QIcon::State, qreal)
{
    // The drawing is square: a wider or taller request gets the square that fits.
    const int side = std::min({size.width(), size.height(), kLargestSide});
    if (side <= 0)
        return {};
    return QPixmap::fromImage(m_draw(side));
}

QList<QSize> DrawnIconEngine::availableSizes(QIcon::Mode, QIcon::State)
{
    QList<QSize> sizes;
    for (int side : m_sizes)
        sizes.append(QSize(side, side));
    return sizes;
}

QIconEngine* DrawnIconEngine::clone() const
{
    return new DrawnIconEngine(m_draw, m_sizes);
}

QString DrawnIconEngine::key() const
{
    return QStringLiteral("DrawnIconEngine");
}
