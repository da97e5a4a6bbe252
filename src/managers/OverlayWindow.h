#pragma once

#include "models/Screen.h"

#include <memory>

class Layout;

// The zone overlay of one screen while a zone gesture is under way. The engine only
// shows and hides it; what it draws and how it follows the pointer is the view's
// business. Destroying it takes it off screen.
class OverlayWindow
{
public:
    virtual ~OverlayWindow() = default;

    // Brings the overlay on screen (fading in) above every other window, without
    // taking focus or input.
    virtual void show() = 0;
    virtual void hide() = 0;
};

// Makes overlays; the application passes the real one (src/views), tests a fake.
class OverlayFactory
{
public:
    virtual ~OverlayFactory() = default;

    // Nothing when the screen's display is not connected.
    virtual std::unique_ptr<OverlayWindow> createOverlay(const Screen& screen, std::shared_ptr<Layout> layout) = 0;

    // A zone gesture may follow soon: whatever makes createOverlay() for this screen
    // quicker can be done now, off the screen. Nothing by default.
    virtual void prepareOverlay(const Screen& screen, std::shared_ptr<Layout> layout)
    {
        Q_UNUSED(screen);
        Q_UNUSED(layout);
    }
};
