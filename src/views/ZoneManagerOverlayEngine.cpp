#include "views/ZoneManagerOverlayEngine.h"

#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"

ZoneManagerOverlayEngine::ZoneManagerOverlayEngine(ZoneManager& zones, ZoneGestureMonitor& gestures)
    : m_zones(zones)
    , m_gestures(gestures)
{ }

void ZoneManagerOverlayEngine::addGestureObserver(ZoneGestureObserver* observer)
{
    m_gestures.addObserver(observer);
}

void ZoneManagerOverlayEngine::removeGestureObserver(ZoneGestureObserver* observer)
{
    m_gestures.removeObserver(observer);
}

bool ZoneManagerOverlayEngine::isCursorInZone(const Zone& zone) const
{
    return m_zones.isCursorInZone(zone);
}

bool ZoneManagerOverlayEngine::isCursorOnScreen(const Screen& screen) const
{
    return m_zones.isCursorOnScreen(screen);
}

void ZoneManagerOverlayEngine::snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones)
{
    m_zones.snap(window, zones);
}
