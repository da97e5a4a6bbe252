#pragma once

#include "managers/WindowDragObserver.h"

class WindowDragMonitor;
class ZoneManager;

// Takes a snapped window out of its zones when the user finishes dragging it, restoring
// its earlier size if the settings ask for that. Registered with the drag monitor before
// the gesture monitor, so the old position is given up before a new snap lands. When a
// drag begins it has the overlays made ready, since a zone gesture may follow.
class ZoneMonitor final : public WindowDragObserver
{
public:
    ZoneMonitor(ZoneManager& zoneManager, WindowDragMonitor& dragMonitor);
    ~ZoneMonitor() override;

    ZoneMonitor(const ZoneMonitor&) = delete;
    ZoneMonitor& operator=(const ZoneMonitor&) = delete;

    void startMonitoring();
    void stopMonitoring();

    void windowDragDidStart(const WindowDragEvent& event) override;
    void windowDragDidEnd(const WindowDragEvent& event) override;

private:
    ZoneManager& m_zoneManager;
    WindowDragMonitor& m_dragMonitor;
};
