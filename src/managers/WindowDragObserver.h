#pragma once

#include "managers/WindowDragEvent.h"

// Told about window drags by WindowDragMonitor, synchronously and in registration
// order. Each callback does nothing unless overridden.
class WindowDragObserver
{
public:
    virtual ~WindowDragObserver() = default;

    virtual void windowDragDidStart(const WindowDragEvent& event) { Q_UNUSED(event); }
    virtual void windowDragDidEnd(const WindowDragEvent& event) { Q_UNUSED(event); }
    virtual void windowDragDidMove(const WindowDragEvent& event) { Q_UNUSED(event); }
};
