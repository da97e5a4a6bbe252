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
class Settings;

// Which windows a lookup gives: those Parqueta may move, or any (to explain or name it).
enum class WindowLookup { Snappable, Any };

// Finds other applications' windows and reads, moves and raises them through the
// platform's window control. Nothing is cached here: every read asks the window
// system again, and a window that has gone gives absent values.
//
// This is the one place that decides which windows the engine may touch: the drag
// monitor and the shortcuts find their window through the lookups below, which refuse a
// window that is not a normal one or whose application the user excluded, so no
// gesture, snap, unsnap or shortcut ever starts with such a window.
class WindowManager final
{
public:
    // Which screen holds a frame (desktop space); absent when it lies on none.
    using ScreenLocator = std::function<std::optional<Screen>(const QRectF& frame)>;

    // settings (may be null: nothing excluded) holds excludedApplications.
    explicit WindowManager(
        WindowControl& control, ScreenLocator screenLocator = {}, const Settings* settings = nullptr);

    // The screen whose display shares the most area with the frame; a frame on no
    // display belongs to the screen under its centre, if any.
    static ScreenLocator screenLocator(ScreenManager& screens);

    WindowManager(const WindowManager&) = delete;
    WindowManager& operator=(const WindowManager&) = delete;

    // The focused window of the active application; with Snappable, nothing when
    // Parqueta leaves that window alone (logged at debug level).
    WindowPtr getFocusedWindow(WindowLookup lookup = WindowLookup::Snappable);
    // The top-level window under the pointer, likewise.
    WindowPtr getWindowAtCursor(WindowLookup lookup = WindowLookup::Snappable);
    // The entry of excludedApplications that names the window's class or instance (in
    // any case); empty when none does.
    QString excludedBy(const Window& window) const;
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
    // A record for every normal top-level window now, excluded applications' left out;
    // windows that vanish while they are read are left out too.
    std::vector<WindowPtr> normalWindows();

    QString appName(const Window& window) const { return window.appName(); }
    QString appIdentifier(const Window& window) const { return window.appIdentifier(); }
    // The screen that holds the window now; absent when it cannot be read or lies
    // on no screen.
    std::optional<Screen> screen(const Window& window);

private:
    WindowPtr snappableOnly(WindowPtr window);

    WindowControl& m_control;
    ScreenLocator m_screenLocator;
    const Settings* m_settings;
    // The window refused last, so a drag over it logs once rather than at every step.
    quint32 m_lastRefused = 0;
};
