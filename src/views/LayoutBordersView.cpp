#include "views/LayoutBordersView.h"

#include "models/Layout.h"
#include "views/BorderView.h"
#include "views/ZoneColors.h"

#include <QPainter>

namespace {
constexpr int kOutlineWidth = 2;
constexpr double kMiterLimit = 10;
} // namespace

LayoutBordersView::LayoutBordersView(std::shared_ptr<Layout> layout, const Settings& settings, QWidget* parent)
    : QWidget(parent)
    , m_layout(std::move(layout))
    , m_settings(settings)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void LayoutBordersView::setLayout(std::shared_ptr<Layout> layout)
{
    m_layout = std::move(layout);
    update();
}

QColor LayoutBordersView::backgroundColor() const
{
    return ZoneColors::isDark(palette()) ? QColor::fromRgbF(0, 0, 0, 0.5f) : QColor::fromRgbF(1, 1, 1, 0.5f);
}

QRectF LayoutBordersView::toView(const QRectF& layoutRect) const
{
    // The layout's root spans the whole screen; the view may be scaled by a pixel ratio.
    const QRectF root = m_layout ? m_layout->root()->rect() : QRectF(rect());
    if (root.width() <= 0 || root.height() <= 0)
        return layoutRect;
    const double sx = width() / root.width();
    const double sy = height() / root.height();
    return QRectF(layoutRect.x() * sx, layoutRect.y() * sy, layoutRect.width() * sx, layoutRect.height() * sy);
}

QRegion LayoutBordersView::paintedRegion() const
{
    QRegion region
        = QRegion(rect()) - QRegion(rect().adjusted(kOutlineWidth, kOutlineWidth, -kOutlineWidth, -kOutlineWidth));
    if (m_layout) {
        for (const SplitBorder& border : m_layout->borders())
            region += toView(border.rect).toAlignedRect().adjusted(-1, -1, 1, 1);
    }
    return region;
}

void LayoutBordersView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), m_opaque ? palette().color(QPalette::Window) : backgroundColor());
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const QColor accent = ZoneColors::borderAccent(m_settings);
    QPen pen(accent, kOutlineWidth);
    pen.setJoinStyle(Qt::MiterJoin);
    pen.setMiterLimit(kMiterLimit);
    painter.setPen(pen);
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    if (!m_layout)
        return;
    for (const SplitBorder& border : m_layout->borders())
        BorderView {border, accent}.paint(painter, toView(border.rect));
}
