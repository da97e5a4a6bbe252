#pragma once

#include "managers/ZoneGestureEvent.h"

// Told about zone gestures by ZoneGestureMonitor, synchronously and in registration
// order. Each callback does nothing unless overridden.
class ZoneGestureObserver
{
public:
    virtual ~ZoneGestureObserver() = default;

    virtual void zoneGestureDidStart(const ZoneGestureEvent& event) { Q_UNUSED(event); }
    virtual void zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled)
    {
        Q_UNUSED(event);
        Q_UNUSED(canceled);
    }
    virtual void zoneGestureDidMove(const ZoneGestureEvent& event) { Q_UNUSED(event); }
};
