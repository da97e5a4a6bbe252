#pragma once

#include "models/Window.h"

#include <QRectF>

// One step of a window drag: the window and where it was when the drag began.
struct WindowDragEvent
{
    WindowPtr window;
    // Desktop space, the frame the user sees.
    QRectF initialFrame;

    // The same window (by id) with the same starting frame.
    friend bool operator==(const WindowDragEvent& a, const WindowDragEvent& b)
    {
        return sameWindow(a.window, b.window) && a.initialFrame == b.initialFrame;
    }
};
