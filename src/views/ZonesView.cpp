#include "views/ZonesView.h"

#include "core/Settings.h"
#include "models/Zone.h"
#include "views/ZoneColors.h"
#include "views/ZonesViewModel.h"

#include <QBitmap>
#include <QEvent>
#include <QFontDatabase>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kBorderWidth = 2;
constexpr int kOutlineWidth = 1;
constexpr double kMiterLimit = 10;
constexpr double kHighlightOpacity = 0.5;
constexpr int kNumberSize = 100;
// A plate of the backdrop's colour around each glyph keeps the numbers readable over
// any window, dark or light, with or without a compositor.
constexpr double kNumberOutline = 3;

// Gaps give zones fractional edges (half a gap between neighbours); whole pixels keep the
// one-pixel outlines sharp and let the window's shape match the painting exactly.
QRect pixelFrame(const QRectF& frame)
{
    return QRect(QPoint(qRound(frame.left()), qRound(frame.top())),
        QPoint(qRound(frame.right()) - 1, qRound(frame.bottom()) - 1));
}

QPen stroke(const QColor& color, int width)
{
    QPen pen(color, width);
    pen.setJoinStyle(Qt::MiterJoin);
    pen.setMiterLimit(kMiterLimit);
    return pen;
}

// The pixels a stroke of this width drawn just inside the rectangle covers.
QRegion ring(const QRect& outer, int width)
{
    return QRegion(outer) - QRegion(outer.adjusted(width, width, -width, -width));
}

QRectF strokeInside(const QRect& rect, int width)
{
    const double half = width / 2.0;
    return QRectF(rect).adjusted(half, half, -half, -half);
}

bool affectsDrawing(const QString& settingName)
{
    static const QStringList names {QString::fromLatin1(Keys::useSystemAccentColor.name),
        QString::fromLatin1(Keys::customAccentColor.name), QString::fromLatin1(Keys::zoneHighlightColor.name),
        QString::fromLatin1(Keys::zoneBackgroundLightColor.name),
        QString::fromLatin1(Keys::zoneBackgroundDarkColor.name), QString::fromLatin1(Keys::zoneTextLightColor.name),
        QString::fromLatin1(Keys::zoneTextDarkColor.name), QString::fromLatin1(Keys::enableGaps.name),
        QString::fromLatin1(Keys::gapSize.name)};
    return names.contains(settingName);
}

} // namespace

ZonesView::ZonesView(ZonesViewModel& viewModel, const Settings& settings, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
    , m_settings(settings)
{
    connect(&m_viewModel, &ZonesViewModel::zoneHighlightChanged, this, &ZonesView::zoneHighlightChanged);
    connect(&m_viewModel, &ZonesViewModel::zonesChanged, this, &ZonesView::redrawAll);
    connect(&m_settings, &Settings::changed, this, [this](const QString& name) {
        if (affectsDrawing(name))
            redrawAll();
    });
}

void ZonesView::setOpaque(bool opaque)
{
    if (opaque == m_opaque)
        return;
    m_opaque = opaque;
    redrawAll();
}

double ZonesView::scale() const
{
    const QSizeF canvas = m_viewModel.canvasSize();
    if (canvas.width() <= 0 || width() <= 0)
        return 1.0;
    return width() / canvas.width();
}

QRegion ZonesView::toView(const QRegion& layoutRegion) const
{
    const double s = scale();
    if (qFuzzyCompare(s, 1.0))
        return layoutRegion;
    QRegion region;
    for (const QRect& r : layoutRegion)
        region += QRectF(r.x() * s, r.y() * s, r.width() * s, r.height() * s).toAlignedRect();
    return region;
}

QRect ZonesView::layoutRect() const
{
    const QSizeF canvas = m_viewModel.canvasSize();
    return canvas.isEmpty() ? rect() : QRect(QPoint(0, 0), canvas.toSize());
}

QRegion ZonesView::paintedRegion() const
{
    QRegion region = unhighlightedShape();
    QRegion highlighted;
    for (const std::shared_ptr<Zone>& zone : m_viewModel.zones()) {
        if (zone->highlighted())
            highlighted += pixelFrame(m_viewModel.frameOf(*zone));
    }
    return region + toView(highlighted);
}

QRegion ZonesView::unhighlightedShape() const
{
    if (m_unhighlightedShape)
        return *m_unhighlightedShape;
    QRegion region = ring(layoutRect(), kBorderWidth);
    for (const std::shared_ptr<Zone>& zone : m_viewModel.zones()) {
        const QRectF frame = m_viewModel.frameOf(*zone);
        region += ring(pixelFrame(frame), kOutlineWidth);
        region += numberRegion(*zone, frame);
    }
    m_unhighlightedShape = toView(region);
    return *m_unhighlightedShape;
}

void ZonesView::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    const bool dark = ZoneColors::isDark(palette());
    QColor backdrop = ZoneColors::zoneBackground(m_settings, dark);
    if (m_opaque)
        backdrop.setAlphaF(1);
    const QColor accent = ZoneColors::borderAccent(m_settings);
    const QColor highlight = ZoneColors::zoneHighlight(m_settings);
    const QColor text = ZoneColors::zoneText(m_settings, dark);
    QColor plate = ZoneColors::zoneBackground(m_settings, dark);
    plate.setAlphaF(1);

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), backdrop);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.scale(scale(), scale());

    painter.setBrush(Qt::NoBrush);
    painter.setPen(stroke(accent, kBorderWidth));
    painter.drawRect(strokeInside(layoutRect(), kBorderWidth));

    for (const std::shared_ptr<Zone>& zone : m_viewModel.zones()) {
        const QRectF frame = m_viewModel.frameOf(*zone);
        const QRect pixels = pixelFrame(frame);
        if (zone->highlighted()) {
            painter.setOpacity(kHighlightOpacity);
            painter.fillRect(pixels, highlight);
            painter.setOpacity(1);
        }
        painter.setPen(stroke(accent, kOutlineWidth));
        painter.drawRect(strokeInside(pixels, kOutlineWidth));
        const QPainterPath number = numberPath(*zone, frame);
        painter.strokePath(number, QPen(plate, 2 * kNumberOutline, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.fillPath(number, text);
    }
}

void ZonesView::changeEvent(QEvent* event)
{
    // The desktop switched between light and dark: backdrop and numbers follow.
    if (event->type() == QEvent::PaletteChange)
        update();
    QWidget::changeEvent(event);
}

void ZonesView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_unhighlightedShape.reset();
    Q_EMIT paintedRegionChanged();
}

void ZonesView::zoneHighlightChanged(int index)
{
    const std::vector<std::shared_ptr<Zone>>& zones = m_viewModel.zones();
    if (index < 0 || index >= int(zones.size()))
        return;
    update(toView(QRegion(pixelFrame(m_viewModel.frameOf(*zones[size_t(index)])))));
    if (m_opaque)
        Q_EMIT paintedRegionChanged();
}

void ZonesView::redrawAll()
{
    m_unhighlightedShape.reset();
    update();
    Q_EMIT paintedRegionChanged();
}

QFont ZonesView::numberFont() const
{
    // Sized in layout space, like the zones they stand in; the painter's scale maps
    // both to the view.
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(kNumberSize);
    return font;
}

QPainterPath ZonesView::numberPath(const Zone& zone, const QRectF& frame) const
{
    const QFont font = numberFont();
    const QRectF glyphs = QFontMetricsF(font).tightBoundingRect(zone.id());
    QPainterPath path;
    path.addText(frame.center().x() - glyphs.width() / 2 - glyphs.left(),
        frame.center().y() - glyphs.height() / 2 - glyphs.top(), font, zone.id());
    return path;
}

QRegion ZonesView::numberRegion(const Zone& zone, const QRectF& frame) const
{
    const QPainterPath path = numberPath(zone, frame);
    const QRect bounds = path.boundingRect()
                             .adjusted(-kNumberOutline - 1, -kNumberOutline - 1, kNumberOutline + 1, kNumberOutline + 1)
                             .toAlignedRect();
    if (bounds.isEmpty())
        return {};
    QImage image(bounds.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-bounds.topLeft());
    painter.strokePath(path, QPen(Qt::black, 2 * kNumberOutline, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.fillPath(path, Qt::black);
    painter.end();
    QRegion region(QBitmap::fromImage(image.createAlphaMask()));
    region.translate(bounds.topLeft());
    return region;
}
