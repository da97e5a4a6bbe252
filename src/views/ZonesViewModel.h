#pragma once

#include "managers/ZoneGestureObserver.h"
#include "models/Screen.h"

#include <QObject>
#include <QRectF>

#include <memory>
#include <vector>

class Layout;
class ScreenGeometry;
class Settings;
class Zone;
class ZoneOverlayEngine;

// The overlay's policy for one screen: which zones are highlighted while the gesture
// moves, and what the end of the gesture snaps. The view only draws what this says.
class ZonesViewModel final : public QObject, public ZoneGestureObserver
{
    Q_OBJECT

public:
    ZonesViewModel(Screen screen, std::shared_ptr<Layout> layout, ZoneOverlayEngine& engine, const Settings& settings,
        const ScreenGeometry& screens, QObject* parent = nullptr);
    ~ZonesViewModel() override;

    const Screen& screen() const { return m_screen; }
    const std::shared_ptr<Layout>& layout() const { return m_layout; }
    // The layout's zones in layout order (none without a layout).
    const std::vector<std::shared_ptr<Zone>>& zones() const;
    // Where a zone is drawn: the rectangle a window snapped into it takes, in layout
    // space (which is the overlay's own space), with the current gaps.
    QRectF frameOf(const Zone& zone) const;
    // The overlay's extent in layout space: the screen's visible frame size (empty while
    // the screen is not connected).
    QSizeF canvasSize() const;

    // Follows the gesture from now on; highlights left over from an earlier gesture
    // are cleared first.
    void startMonitoring();
    void stopMonitoring();
    bool isMonitoring() const { return m_monitoring; }

    // A multi-zone gesture keeps every zone the pointer has touched; otherwise exactly
    // the zones under the pointer are highlighted.
    void highlightZonesWithCursor(bool isMultiZone);
    std::vector<std::shared_ptr<Zone>> highlightedZones() const;

    void zoneGestureDidMove(const ZoneGestureEvent& event) override;
    void zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled) override;

Q_SIGNALS:
    // The highlighted flag of zones()[index] flipped.
    void zoneHighlightChanged(int index);
    // One gesture step's flips are all out (sent once after them, only when any).
    void highlightsSettled();
    // The layout's zones were rebuilt (the view redraws everything).
    void zonesChanged();

private:
    // True when the flag flipped.
    bool setHighlighted(int index, bool highlighted);
    void clearHighlights();

    Screen m_screen;
    std::shared_ptr<Layout> m_layout;
    ZoneOverlayEngine& m_engine;
    const Settings& m_settings;
    const ScreenGeometry& m_screens;
    bool m_monitoring = false;
};
