#pragma once

#include "models/Screen.h"
#include "models/ScreenGeometry.h"

#include <QRectF>
#include <QString>

#include <optional>

// One leaf of a layout as the rest of the program sees it. Zones are rebuilt whenever the
// tree changes, never edited in place; only the highlight flag changes during a drag.
class Zone final
{
public:
    Zone(QString id, const QRectF& rect, std::optional<Screen> screen);

    // The 1-based position among the layout's leaves: "1", "2", ...
    const QString& id() const { return m_id; }
    // The leaf's rectangle in layout space when the zone was made.
    const QRectF& rect() const { return m_rect; }
    const std::optional<Screen>& screen() const { return m_screen; }

    bool highlighted() const { return m_highlighted; }
    void setHighlighted(bool highlighted) { m_highlighted = highlighted; }

    // Where a window snapped into this zone goes, in layout space. `gap` is 0 when gaps are
    // off. Edges on the screen's border get the whole gap and inner edges half of it, so
    // neighbouring windows end up one gap apart. The right and bottom edges only count as
    // the screen's border while the screen is connected.
    QRectF visibleFrame(double gap, const ScreenGeometry& screens) const;
    // visibleFrame(), unless the gap leaves less than kMinimumExtent of the zone either
    // way (a gap of 700 on a 640-wide zone): then the zone itself, so no window is ever
    // sized to nothing and no zone vanishes from the overlay.
    QRectF usableFrame(double gap, const ScreenGeometry& screens) const;
    static constexpr double kMinimumExtent = 40;

private:
    QString m_id;
    QRectF m_rect;
    std::optional<Screen> m_screen;
    bool m_highlighted = false;
};
