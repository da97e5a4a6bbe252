#include "managers/WindowManager.h"

#include "core/Logging.h"
#include "managers/ScreenManager.h"

WindowManager::WindowManager(WindowControl& control, ScreenLocator screenLocator)
    : m_control(control)
    , m_screenLocator(std::move(screenLocator))
{ }

WindowPtr WindowManager::getFocusedWindow()
{
    return windowFrom(m_control.focusedWindow());
}

WindowPtr WindowManager::getWindowAtCursor()
{
    return windowFrom(m_control.windowAtCursor());
}

WindowPtr WindowManager::windowFrom(const WindowControl::Handle& handle)
{
    if (!handle)
        return nullptr;
    std::optional<WindowApplication> app = m_control.application(*handle);
    if (!app)
        return nullptr;
    const std::optional<quint32> id = m_control.windowId(*handle);
    if (!id) {
        qCCritical(lcWindows) << "Failed to get window id";
        return nullptr;
    }
    const std::optional<QSizeF> size = m_control.size(*handle);
    if (!size) {
        qCCritical(lcWindows) << "Failed to get window size";
        return nullptr;
    }
    return std::make_shared<Window>(*id, handle, std::move(*app), *size);
}

std::optional<QPointF> WindowManager::getPosition(const Window& window)
{
    return window.handle() ? m_control.position(*window.handle()) : std::nullopt;
}

std::optional<QSizeF> WindowManager::getSize(const Window& window)
{
    return window.handle() ? m_control.size(*window.handle()) : std::nullopt;
}

std::optional<QRectF> WindowManager::getFrame(const Window& window)
{
    return window.handle() ? m_control.frame(*window.handle()) : std::nullopt;
}

void WindowManager::setFrame(const Window& window, const QRectF& rect)
{
    if (window.handle())
        m_control.setFrame(*window.handle(), rect);
}

void WindowManager::setSize(const Window& window, const QSizeF& size)
{
    if (window.handle())
        m_control.setSize(*window.handle(), size);
}

bool WindowManager::focus(const Window& window)
{
    return window.handle() && m_control.focus(*window.handle());
}

bool WindowManager::isNormal(const Window& window)
{
    return window.handle() && m_control.isNormal(*window.handle());
}

std::optional<WindowFacts> WindowManager::facts(const Window& window)
{
    return window.handle() ? m_control.facts(*window.handle()) : std::nullopt;
}

std::optional<WindowIdentity> WindowManager::identity(const Window& window)
{
    return window.handle() ? m_control.identity(*window.handle()) : std::nullopt;
}

std::vector<WindowPtr> WindowManager::normalWindows()
{
    std::vector<WindowPtr> result;
    for (const WindowControl::Handle& handle : m_control.normalWindows()) {
        if (WindowPtr window = windowFrom(handle))
            result.push_back(std::move(window));
    }
    return result;
}

std::optional<Screen> WindowManager::screen(const Window& window)
{
    if (!m_screenLocator)
        return std::nullopt;
    const std::optional<QRectF> frame = getFrame(window);
    if (!frame)
        return std::nullopt;
    return m_screenLocator(*frame);
}

WindowManager::ScreenLocator WindowManager::screenLocator(ScreenManager& screens)
{
    return [&screens](const QRectF& frame) -> std::optional<Screen> {
        std::optional<Screen> best;
        qreal bestArea = 0;
        for (const Screen& screen : screens.screens()) {
            const std::optional<DisplayInfo> display = screens.displayFor(screen);
            if (!display)
                continue;
            const QRectF overlap = display->frame.intersected(frame);
            const qreal area = overlap.width() * overlap.height();
            if (area > bestArea) {
                bestArea = area;
                best = screen;
            }
        }
        return best ? best : screens.screenWithPoint(frame.center());
    };
}
