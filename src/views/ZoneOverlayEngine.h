#pragma once

#include "models/Screen.h"
#include "models/Window.h"

#include <memory>
#include <vector>

class Zone;
class ZoneGestureObserver;

// The part of the snapping engine an overlay talks to: the gesture it follows, the hit
// test and the snap. The application binds it to ZoneManager and ZoneGestureMonitor
// (ZoneManagerOverlayEngine); tests give answers of their own.
class ZoneOverlayEngine
{
public:
    virtual ~ZoneOverlayEngine() = default;

    virtual void addGestureObserver(ZoneGestureObserver* observer) = 0;
    virtual void removeGestureObserver(ZoneGestureObserver* observer) = 0;

    virtual bool isCursorInZone(const Zone& zone) const = 0;
    // Whether the pointer is on that screen: the overlay of the screen where a gesture
    // ends is the one to tell what became of it.
    virtual bool isCursorOnScreen(const Screen& screen) const
    {
        Q_UNUSED(screen);
        return true;
    }
    // Moves the window over the union of the zones (given in layout order).
    virtual void snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones) = 0;
};
