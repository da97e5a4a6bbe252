#pragma once

#include "views/ZoneOverlayEngine.h"

class ZoneGestureMonitor;
class ZoneManager;

// The overlays' view of the real engine.
class ZoneManagerOverlayEngine final : public ZoneOverlayEngine
{
public:
    ZoneManagerOverlayEngine(ZoneManager& zones, ZoneGestureMonitor& gestures);

    void addGestureObserver(ZoneGestureObserver* observer) override;
    void removeGestureObserver(ZoneGestureObserver* observer) override;
    bool isCursorInZone(const Zone& zone) const override;
    bool isCursorOnScreen(const Screen& screen) const override;
    void snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones) override;

private:
    ZoneManager& m_zones;
    ZoneGestureMonitor& m_gestures;
};
