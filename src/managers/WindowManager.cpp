#include "managers/WindowManager.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/ScreenManager.h"

WindowManager::WindowManager(WindowControl& control, ScreenLocator screenLocator, const Settings* settings)
    : m_control(control)
    , m_screenLocator(std::move(screenLocator))
    , m_settings(settings)
{ }

WindowPtr WindowManager::getFocusedWindow(WindowLookup lookup)
{
    WindowPtr window = windowFrom(m_control.focusedWindow());
    return lookup == WindowLookup::Any ? window : snappableOnly(std::move(window));
}

WindowPtr WindowManager::getWindowAtCursor(WindowLookup lookup)
{
    WindowPtr window = windowFrom(m_control.windowAtCursor());
    return lookup == WindowLookup::Any ? window : snappableOnly(std::move(window));
}

QString WindowManager::excludedBy(const Window& window) const
{
    if (!m_settings)
        return {};
    const WindowApplication& app = window.app();
    for (const QString& entry : m_settings->value(Keys::excludedApplications)) {
        const QString name = entry.trimmed();
        if (!name.isEmpty()
            && (name.compare(app.identifier, Qt::CaseInsensitive) == 0
                || name.compare(app.instance, Qt::CaseInsensitive) == 0))
            return name;
    }
    return {};
}

WindowPtr WindowManager::snappableOnly(WindowPtr window)
{
    if (!window)
        return nullptr;
    // The list first: it costs no round trip to the window system.
    QString why;
    if (const QString entry = excludedBy(*window); !entry.isEmpty())
        why = QStringLiteral("its application is in excludedApplications (%1)").arg(entry);
    else if (!isNormal(*window))
        why = QStringLiteral("it is not a normal window");
    if (why.isEmpty()) {
        m_lastRefused = 0;
        return window;
    }
    if (m_lastRefused != window->id())
        qCDebug(lcWindows).noquote() << QStringLiteral("Leaving window 0x%1 of %2 alone: %3")
                                            .arg(window->id(), 0, 16)
                                            .arg(window->appName(), why);
    m_lastRefused = window->id();
    return nullptr;
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
        // A window snapped before its application was excluded is not brought back.
        if (WindowPtr window = windowFrom(handle); window && excludedBy(*window).isEmpty())
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
