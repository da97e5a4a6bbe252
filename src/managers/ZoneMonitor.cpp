#include "managers/ZoneMonitor.h"

#include "managers/WindowDragMonitor.h"
#include "managers/ZoneManager.h"

ZoneMonitor::ZoneMonitor(ZoneManager& zoneManager, WindowDragMonitor& dragMonitor)
    : m_zoneManager(zoneManager)
    , m_dragMonitor(dragMonitor)
{ }

ZoneMonitor::~ZoneMonitor()
{
    stopMonitoring();
}

void ZoneMonitor::startMonitoring()
{
    m_dragMonitor.addObserver(this);
}

void ZoneMonitor::stopMonitoring()
{
    m_dragMonitor.removeObserver(this);
}

void ZoneMonitor::windowDragDidStart(const WindowDragEvent& event)
{
    Q_UNUSED(event);
    m_zoneManager.prepareOverlayWindows();
}

void ZoneMonitor::windowDragDidEnd(const WindowDragEvent& event)
{
    if (event.window && m_zoneManager.isWindowSnapped(*event.window))
        m_zoneManager.unsnap(event.window);
}
