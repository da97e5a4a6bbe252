#include "views/ZonesView.h"

#include "core/Settings.h"
#include "models/Zone.h"
#include "views/NumberOutlines.h"
#include "views/ZoneColors.h"
#include "views/ZonesViewModel.h"

#include <QBitmap>
#include <QEvent>
#include <QFontDatabase>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPaintEngine>

#include <algorithm>
#include <iterator>
#include <tuple>

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
    // Moving into the next zone flips two: the window is reshaped once for both, since
    // with many zones every new shape is a large request the X server must validate.
    connect(&m_viewModel, &ZonesViewModel::highlightsSettled, this, [this] {
        if (m_opaque)
            Q_EMIT paintedRegionChanged();
    });
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

void ZonesView::setBlank(bool blank, Redraw redraw)
{
    if (blank == m_blank)
        return;
    m_blank = blank;
    if (redraw == Redraw::Now)
        update();
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

ZonesView::Colors ZonesView::colors() const
{
    const bool dark = ZoneColors::isDark(palette());
    Colors c;
    c.backdrop = ZoneColors::zoneBackground(m_settings, dark);
    if (m_opaque)
        c.backdrop.setAlphaF(1);
    c.accent = ZoneColors::borderAccent(m_settings);
    c.highlight = ZoneColors::zoneHighlight(m_settings);
    c.text = ZoneColors::zoneText(m_settings, dark);
    c.plate = ZoneColors::zoneBackground(m_settings, dark);
    c.plate.setAlphaF(1);
    return c;
}

void ZonesView::paintEvent(QPaintEvent* event)
{
    Q_EMIT painting();
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (m_blank) {
        painter.fillRect(event->rect(), Qt::transparent);
        return;
    }
    const Colors c = colors();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), c.backdrop);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.scale(scale(), scale());

    painter.setBrush(Qt::NoBrush);
    painter.setPen(stroke(c.accent, kBorderWidth));
    painter.drawRect(strokeInside(layoutRect(), kBorderWidth));

    // A highlight flip repaints one zone: the others are not even looked at, since
    // nothing of theirs (their number included) reaches outside their frame then.
    const QRectF dirty = painter.transform().inverted().mapRect(QRectF(event->rect()));
    const std::vector<std::shared_ptr<Zone>>& zones = m_viewModel.zones();
    // Tiles are device pixels: a window moved to a screen of another ratio needs new ones.
    if (painter.deviceTransform() != m_tilesTransform) {
        m_numberTiles.clear();
        m_tilesTransform = painter.deviceTransform();
    }
    m_numberTiles.resize(zones.size());
    for (size_t i = 0; i < zones.size(); ++i) {
        const QRect pixels = pixelFrame(m_viewModel.frameOf(*zones[i]));
        const std::optional<NumberTile>& tile = m_numberTiles[i];
        const bool inside = tile && !tile->devicePixels.isEmpty();
        if (inside && !dirty.intersects(pixels))
            continue;
        paintZone(painter, *zones[i], i, c);
    }
}

void ZonesView::paintZone(QPainter& painter, const Zone& zone, size_t index, const Colors& c)
{
    const QRectF frame = m_viewModel.frameOf(zone);
    const QRect pixels = pixelFrame(frame);
    if (zone.highlighted()) {
        // Inside the screen's border the zone lies on the plain backdrop and takes the
        // blended colour as a plain fill; where it overlaps the border it is blended.
        const QRect inner
            = pixels & layoutRect().adjusted(kBorderWidth, kBorderWidth, -kBorderWidth, -kBorderWidth);
        const std::optional<QColor> lit = litColor(painter, c);
        QRegion blended(pixels);
        if (lit && !inner.isEmpty()) {
            painter.save();
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.fillRect(inner, *lit);
            painter.restore();
            blended -= inner;
        }
        painter.setOpacity(kHighlightOpacity);
        for (const QRect& r : blended)
            painter.fillRect(r, c.highlight);
        painter.setOpacity(1);
    }
    painter.setPen(stroke(c.accent, kOutlineWidth));
    painter.drawRect(strokeInside(pixels, kOutlineWidth));
    if (const QImage* tile = numberTile(painter, zone, index, c)) {
        // Device pixels for device pixels: the tile holds exactly what drawing the
        // number here would have left, so it replaces those pixels as they are.
        painter.save();
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.setWorldTransform(QTransform());
        const QTransform toDevice = painter.deviceTransform();
        painter.setWorldTransform(toDevice.inverted());
        painter.drawImage(m_numberTiles[index]->devicePixels.topLeft(), *tile);
        painter.restore();
        return;
    }
    paintNumber(painter, numberPath(zone, frame), c);
}

void ZonesView::paintNumber(QPainter& painter, const QPainterPath& number, const Colors& c) const
{
    painter.strokePath(number, QPen(c.plate, 2 * kNumberOutline, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.fillPath(number, c.text);
}

std::optional<QColor> ZonesView::litColor(const QPainter& painter, const Colors& c) const
{
    const QPaintDevice* device = painter.paintEngine() ? painter.paintEngine()->paintDevice() : nullptr;
    if (!device || device->devType() != QInternal::Image)
        return std::nullopt;
    const QImage::Format format = static_cast<const QImage*>(device)->format();
    const auto key = std::make_tuple(c.backdrop.rgba(), c.highlight.rgba(), int(format));
    if (m_lit && m_lit->first == key)
        return m_lit->second;
    // A row long enough for the raster engine's vector loops as well as its scalar ends.
    constexpr int kRow = 64;
    const auto fill = [&](const QColor& colour, bool blended) {
        QImage row(kRow, 1, format);
        QPainter p(&row);
        p.setCompositionMode(QPainter::CompositionMode_Source);
        p.fillRect(row.rect(), blended ? c.backdrop : colour);
        if (blended) {
            p.setCompositionMode(QPainter::CompositionMode_SourceOver);
            p.setOpacity(kHighlightOpacity);
            p.fillRect(row.rect(), c.highlight);
        }
        p.end();
        return row;
    };
    const auto uniform = [](const QImage& row) -> std::optional<quint32> {
        if (row.depth() != 32)
            return std::nullopt;
        const auto* bits = reinterpret_cast<const quint32*>(row.constScanLine(0));
        return std::all_of(bits, bits + row.width(), [&](quint32 b) { return b == bits[0]; })
            ? std::optional<quint32>(bits[0])
            : std::nullopt;
    };
    std::optional<QColor> result;
    const QImage blended = fill(QColor(), true);
    if (const std::optional<quint32> want = uniform(blended)) {
        // Unpremultiplying may round: the colour itself or one a step off in a channel.
        const QColor guess = blended.pixelColor(0, 0);
        for (int i = 0; i < 81 && !result; ++i) {
            const int steps[] = {i % 3 - 1, i / 3 % 3 - 1, i / 9 % 3 - 1, i / 27 - 1};
            const int rgba[] = {guess.red() + steps[0], guess.green() + steps[1], guess.blue() + steps[2],
                guess.alpha() + steps[3]};
            if (std::any_of(std::begin(rgba), std::end(rgba), [](int v) { return v < 0 || v > 255; }))
                continue;
            const QColor candidate(rgba[0], rgba[1], rgba[2], rgba[3]);
            if (uniform(fill(candidate, false)) == want)
                result = candidate;
        }
    }
    m_lit.emplace(key, result);
    return result;
}

const QImage* ZonesView::numberTile(QPainter& painter, const Zone& zone, size_t index, const Colors& c)
{
    std::optional<NumberTile>& slot = m_numberTiles[index];
    if (!slot) {
        slot.emplace();
        // Layout points must land on device pixels one to one and on whole pixels, or
        // a blit would not reproduce what drawing there gives.
        const QTransform device = painter.deviceTransform();
        const bool exact = device.type() <= QTransform::TxTranslate && qFuzzyIsNull(device.dx() - qRound(device.dx()))
            && qFuzzyIsNull(device.dy() - qRound(device.dy()));
        const QRectF frame = m_viewModel.frameOf(zone);
        const QPainterPath number = numberPath(zone, frame);
        const QRect bounds
            = number.boundingRect()
                  .adjusted(-kNumberOutline - 1, -kNumberOutline - 1, kNumberOutline + 1, kNumberOutline + 1)
                  .toAlignedRect();
        // Clear of the zone's outline and of the screen's border: what lies under the
        // tile is then the zone's plain fill and nothing else.
        const QRect interior = pixelFrame(frame).adjusted(kBorderWidth, kBorderWidth, -kBorderWidth, -kBorderWidth);
        if (!exact || bounds.isEmpty() || !interior.contains(bounds))
            return nullptr;
        slot->devicePixels = device.mapRect(bounds);
        slot->number = number;
        slot->layoutBounds = bounds;
    }
    if (slot->devicePixels.isEmpty())
        return nullptr;
    // Each look is drawn when first needed: most zones are never highlighted.
    QImage& image = zone.highlighted() ? slot->highlighted : slot->plain;
    if (image.isNull()) {
        image = QImage(slot->layoutBounds.size(), QImage::Format_ARGB32_Premultiplied);
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        p.translate(-slot->layoutBounds.topLeft());
        p.setCompositionMode(QPainter::CompositionMode_Source);
        p.fillRect(slot->layoutBounds, c.backdrop);
        p.setCompositionMode(QPainter::CompositionMode_SourceOver);
        if (zone.highlighted()) {
            p.setOpacity(kHighlightOpacity);
            p.fillRect(slot->layoutBounds, c.highlight);
            p.setOpacity(1);
        }
        paintNumber(p, slot->number, c);
    }
    return &image;
}

void ZonesView::changeEvent(QEvent* event)
{
    // The desktop switched between light and dark: backdrop and numbers follow.
    if (event->type() == QEvent::PaletteChange) {
        m_numberTiles.clear();
        m_numbers.reset();
        update();
    }
    QWidget::changeEvent(event);
}

void ZonesView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_unhighlightedShape.reset();
    m_numberTiles.clear();
    Q_EMIT paintedRegionChanged();
}

void ZonesView::zoneHighlightChanged(int index)
{
    const std::vector<std::shared_ptr<Zone>>& zones = m_viewModel.zones();
    if (index < 0 || index >= int(zones.size()))
        return;
    update(toView(QRegion(pixelFrame(m_viewModel.frameOf(*zones[size_t(index)])))));
}

void ZonesView::redrawAll()
{
    m_unhighlightedShape.reset();
    m_numberTiles.clear();
    m_numbers.reset();
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
    if (!m_numbers)
        m_numbers.emplace(numberFont());
    return m_numbers->centredIn(zone.id(), frame);
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
