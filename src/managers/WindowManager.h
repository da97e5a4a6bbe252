#pragma once

#include "models/Screen.h"
#include "models/Window.h"
#include "platform/WindowControl.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <functional>
#include <optional>
#include <vector>

class ScreenManager;

// Finds other applications' windows and reads, moves and raises them through the
// platform's window control. Nothing is cached here: every read asks the window
// system again, and a window that has gone gives absent values.
class WindowManager final
{
public:
    // Which screen holds a frame (desktop space); absent when it lies on none.
    using ScreenLocator = std::function<std::optional<Screen>(const QRectF& frame)>;

    explicit WindowManager(WindowControl& control, ScreenLocator screenLocator = {});

    // The screen whose display shares the most area with the frame; a frame on no
    // display belongs to the screen under its centre, if any.
    static ScreenLocator screenLocator(ScreenManager& screens);

    WindowManager(const WindowManager&) = delete;
    WindowManager& operator=(const WindowManager&) = delete;

    // The focused window of the active application.
    WindowPtr getFocusedWindow();
    // The top-level window under the pointer.
    WindowPtr getWindowAtCursor();
    // A record for a platform window, or nothing (logged) when its number or size
    // cannot be read or its application cannot be found.
    WindowPtr windowFrom(const WindowControl::Handle& handle);

    std::optional<QPointF> getPosition(const Window& window);
    std::optional<QSizeF> getSize(const Window& window);
    std::optional<QRectF> getFrame(const Window& window);

    void setFrame(const Window& window, const QRectF& rect);
    void setSize(const Window& window, const QSizeF& size);
    // Raises the window and activates its application; false when the raise failed.
    bool focus(const Window& window);
    bool isNormal(const Window& window);
    // What the platform can tell a person about the window; absent once it is gone.
    std::optional<WindowFacts> facts(const Window& window);
    // Who the window is, to recognise it after a restart; absent once it is gone.
    std::optional<WindowIdentity> identity(const Window& window);
    // A record for every normal top-level window now; windows that vanish while they are
    // read are left out.
    std::vector<WindowPtr> normalWindows();

    QString appName(const Window& window) const { return window.appName(); }
    QString appIdentifier(const Window& window) const { return window.appIdentifier(); }
    // The screen that holds the window now; absent when it cannot be read or lies
    // on no screen.
    std::optional<Screen> screen(const Window& window);

private:
    WindowControl& m_control;
    ScreenLocator m_screenLocator;
};
