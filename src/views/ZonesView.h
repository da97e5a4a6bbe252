#pragma once

#include "views/NumberOutlines.h"

#include <QColor>
#include <QImage>
#include <QPainterPath>
#include <QRectF>
#include <QRegion>
#include <QTransform>
#include <QWidget>

#include <optional>
#include <tuple>
#include <utility>
#include <vector>

class QPainter;
class Settings;
class Zone;
class ZonesViewModel;

// Paints one screen's zones: the backdrop, the accent border, every zone's outline and
// number, and the highlighted zones' fill. It decides nothing; it repaints exactly the
// zones whose highlight flipped.
//
// Translucent mode (a compositor runs) leaves the backdrop see-through. Opaque mode
// paints every pixel solid and tells the window, through paintedRegion(), which pixels
// carry something other than backdrop, so the window can shape itself to them.
class ZonesView final : public QWidget
{
    Q_OBJECT

public:
    ZonesView(ZonesViewModel& viewModel, const Settings& settings, QWidget* parent = nullptr);

    void setOpaque(bool opaque);
    bool isOpaque() const { return m_opaque; }
    // Blank: every pixel fully transparent, for a window that stays mapped off duty.
    // Without a redraw only the paints from now on follow it (see ZonesWindow).
    enum class Redraw { Now, Later };
    void setBlank(bool blank, Redraw redraw = Redraw::Now);
    bool isBlank() const { return m_blank; }

    // Border, outlines, numbers and highlighted fills, in the view's coordinates.
    QRegion paintedRegion() const;
    // View pixels per layout point: 1 / the device-pixel ratio. Everything is drawn in
    // layout space scaled by this, so it lands on the same device pixels at any ratio.
    double scale() const;

Q_SIGNALS:
    // What paintedRegion() returns has changed: once per gesture step, however many
    // zones flipped in it.
    void paintedRegionChanged();
    // Pixels are going to the window's backing store; Qt sends them to the screen after.
    void painting();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // What one paint uses, read from the settings and the palette once per paint.
    struct Colors
    {
        QColor backdrop, accent, highlight, text, plate;
    };
    // A zone's number drawn once over its zone's plain backdrop, plain or highlighted,
    // in device pixels. A full paint blits these instead of turning glyphs into outlines
    // and stroking them zone by zone, which with many zones cost more than a frame.
    struct NumberTile
    {
        QRect devicePixels; // where it goes; empty when the number cannot be tiled
        QRect layoutBounds;
        QPainterPath number;
        QImage plain, highlighted;
    };

    Colors colors() const;
    void paintZone(QPainter& painter, const Zone& zone, size_t index, const Colors& colors);
    // The number pixels of zones()[index], made on first use. Null when the number
    // touches the zone's outline or the painter does not map layout points 1:1 onto
    // device pixels: those numbers are drawn directly.
    const QImage* numberTile(QPainter& painter, const Zone& zone, size_t index, const Colors& colors);
    void paintNumber(QPainter& painter, const QPainterPath& number, const Colors& colors) const;
    // What a highlighted zone's pixels come out as, the highlight at its opacity over the
    // backdrop, as a colour that fills to exactly those pixels in the painter's device
    // format: one plain fill instead of a fill and a blend over the whole zone. Nothing
    // where no colour does (unpremultiplying a translucent pixel may lose it) or the
    // device is not an image: the zone is blended then.
    std::optional<QColor> litColor(const QPainter& painter, const Colors& colors) const;
    void zoneHighlightChanged(int index);
    void redrawAll();
    QFont numberFont() const;
    // The zone's number as glyph outlines centred in its frame, in layout space.
    QPainterPath numberPath(const Zone& zone, const QRectF& frame) const;
    QRegion numberRegion(const Zone& zone, const QRectF& frame) const;
    QRegion unhighlightedShape() const;
    // A region built in layout space, in the view's pixels.
    QRegion toView(const QRegion& layoutRegion) const;
    // The view's own extent in layout space.
    QRect layoutRect() const;

    ZonesViewModel& m_viewModel;
    const Settings& m_settings;
    bool m_opaque = false;
    bool m_blank = false;
    // The shape asked for on every highlight flip is this plus the highlighted zones.
    // Outlines and number glyphs change only with a full redraw or a resize, and
    // rebuilding them (a glyph rendered and traced per zone, then united) is the dear
    // part: with many zones it would stall the drag at every flip.
    mutable std::optional<QRegion> m_unhighlightedShape;
    // By zone index; dropped with everything that changes how a number looks.
    std::vector<std::optional<NumberTile>> m_numberTiles;
    QTransform m_tilesTransform;
    // litColor() for (backdrop, highlight, device format).
    mutable std::optional<std::pair<std::tuple<QRgb, QRgb, int>, std::optional<QColor>>> m_lit;
    // The number font's glyphs, read once for all zones; dropped with the font.
    mutable std::optional<NumberOutlines> m_numbers;
};
