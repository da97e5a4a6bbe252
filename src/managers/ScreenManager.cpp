#include "managers/ScreenManager.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/ScreenCoordinates.h"

#include <cmath>
#include <limits>

namespace {

bool usableDimension(double value)
{
    return std::isfinite(value) && value >= 0.0 && value < double(std::numeric_limits<int>::max());
}

} // namespace

ScreenManager::ScreenManager(DisplayServer& displays, Settings& settings, QObject* parent)
    : QObject(parent)
    , m_displays(displays)
    , m_settings(settings)
{
    connect(&m_displays, &DisplayServer::displaysChanged, this, [this](quint32 flags) {
        qCDebug(lcScreens) << "display reconfiguration, flags" << Qt::hex << flags;
        Q_EMIT displayReconfiguration(flags);
    });
}

std::optional<QString> ScreenManager::identifierOf(const DisplayInfo& display)
{
    if (display.uuid.isEmpty())
        return std::nullopt;
    const double width = display.frame.width();
    const double height = display.frame.height();
    if (!usableDimension(width) || !usableDimension(height)) {
        qCCritical(lcScreens) << "Display" << display.name << "has an unusable size" << width << "x" << height
                              << "- it gets no screen";
        return std::nullopt;
    }
    return Screen::makeId(display.uuid, width, height);
}

std::optional<DisplayInfo> ScreenManager::displayWithPoint(const QList<DisplayInfo>& displays, QPointF desktopPoint)
{
    for (const DisplayInfo& display : displays) {
        if (ScreenCoordinates::frameContains(display.frame, desktopPoint))
            return display;
    }
    return std::nullopt;
}

QList<Screen> ScreenManager::screens()
{
    QList<Screen> result;
    for (const DisplayInfo& display : m_displays.displays()) {
        if (std::optional<Screen> found = screenFor(display))
            result.append(*found);
    }
    return result;
}

std::optional<Screen> ScreenManager::add(const DisplayInfo& display)
{
    const std::optional<QString> id = identifierOf(display);
    if (!id) {
        qCDebug(lcScreens) << "Display" << display.name << "has no identifier; not stored";
        return std::nullopt;
    }
    Screen created(*id, display.name);
    add(created);
    return created;
}

void ScreenManager::add(const Screen& screen)
{
    // Raw blobs: entries this build cannot decode are written back untouched.
    QMap<QString, QByteArray> stored = m_settings.blobs(Keys::screens);
    stored.insert(screen.id(), screen.toJson());
    m_settings.setBlobs(Keys::screens, stored);
    qCDebug(lcScreens) << "Stored screen" << screen.id() << screen.name();
}

std::optional<Screen> ScreenManager::screenFor(const DisplayInfo& display)
{
    const std::optional<QString> id = identifierOf(display);
    if (!id)
        return std::nullopt;
    if (std::optional<Screen> known = screen(*id))
        return known;
    return add(display);
}

std::optional<Screen> ScreenManager::screen(const QString& id) const
{
    const QMap<QString, QByteArray> stored = m_settings.blobs(Keys::screens);
    const auto it = stored.constFind(id);
    if (it == stored.constEnd())
        return std::nullopt;
    std::optional<Screen> decoded = Screen::fromJson(it.value());
    if (!decoded) {
        qCWarning(lcScreens) << "Stored screen" << id << "cannot be decoded; ignoring it";
        return std::nullopt;
    }
    if (decoded->id() != id) {
        qCWarning(lcScreens) << "Stored screen under" << id << "carries the id" << decoded->id() << "; ignoring it";
        return std::nullopt;
    }
    return decoded;
}

std::optional<Screen> ScreenManager::screenWithPoint(QPointF desktopPoint)
{
    const std::optional<DisplayInfo> display = displayWithPoint(m_displays.displays(), desktopPoint);
    if (!display)
        return std::nullopt;
    return screenFor(*display);
}

std::optional<QString> ScreenManager::screenIdWithPoint(QPointF desktopPoint) const
{
    const std::optional<DisplayInfo> display = displayWithPoint(m_displays.displays(), desktopPoint);
    return display ? identifierOf(*display) : std::nullopt;
}

std::optional<Screen> ScreenManager::screenWithMouse()
{
    return screenWithPoint(m_displays.pointerLocation());
}

std::optional<DisplayInfo> ScreenManager::displayFor(const Screen& screen) const
{
    for (const DisplayInfo& display : m_displays.displays()) {
        if (identifierOf(display) == screen.id())
            return display;
    }
    return std::nullopt;
}

std::optional<QRectF> ScreenManager::visibleFrameOf(const Screen& screen) const
{
    if (const std::optional<DisplayInfo> display = displayFor(screen))
        return display->visibleFrame;
    return std::nullopt;
}

std::optional<QString> ScreenManager::displayUuidOf(const Screen& screen) const
{
    if (const std::optional<DisplayInfo> display = displayFor(screen))
        return display->uuid;
    return std::nullopt;
}

std::optional<QRectF> ScreenManager::layoutToDesktop(const Screen& screen, const QRectF& layoutRect) const
{
    if (const std::optional<QRectF> frame = visibleFrameOf(screen))
        return ScreenCoordinates::layoutToDesktop(layoutRect, *frame);
    return std::nullopt;
}

std::optional<QPointF> ScreenManager::positionInVisibleFrame(const Screen& screen, QPointF desktopPoint) const
{
    if (const std::optional<QRectF> frame = visibleFrameOf(screen))
        return ScreenCoordinates::desktopToLayout(desktopPoint, *frame);
    return std::nullopt;
}
