#include "models/Zone.h"

#include <algorithm>

Zone::Zone(QString id, const QRectF& rect, std::optional<Screen> screen)
    : m_id(std::move(id))
    , m_rect(rect)
    , m_screen(std::move(screen))
{ }

QRectF Zone::visibleFrame(double gap, const ScreenGeometry& screens) const
{
    if (gap == 0)
        return m_rect;

    // The edge tests look at where the rectangle actually lies, so a zone that ended up
    // with a negative extent is judged by its extreme coordinates. The comparisons are
    // exact: split positions are whole numbers.
    const double minX = std::min(m_rect.x(), m_rect.x() + m_rect.width());
    const double maxX = std::max(m_rect.x(), m_rect.x() + m_rect.width());
    const double minY = std::min(m_rect.y(), m_rect.y() + m_rect.height());
    const double maxY = std::max(m_rect.y(), m_rect.y() + m_rect.height());
    const std::optional<QRectF> frame = m_screen ? screens.visibleFrameOf(*m_screen) : std::nullopt;

    const double half = gap / 2;
    const double left = minX == 0 ? gap : half;
    const double top = minY == 0 ? gap : half;
    const double right = frame && maxX == frame->width() ? gap : half;
    const double bottom = frame && maxY == frame->height() ? gap : half;
    return QRectF(m_rect.x() + left, m_rect.y() + top, m_rect.width() - left - right, m_rect.height() - top - bottom);
}

QRectF Zone::usableFrame(double gap, const ScreenGeometry& screens) const
{
    const QRectF gapped = visibleFrame(gap, screens);
    if (gapped.width() >= kMinimumExtent && gapped.height() >= kMinimumExtent)
        return gapped;
    return m_rect.normalized();
}
