#include "DesktopZones.h"

#include "FakePlatform.h"
#include "ParquetaProcess.h"
#include "VirtualDesktop.h"
#include "core/FileSettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "models/Zone.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DisplayServer.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

QString g_lastError;

} // namespace

QString DesktopZones::lastError()
{
    return g_lastError;
}

std::optional<DesktopZones> DesktopZones::read(const QString& settingsPath, int timeoutMs)
{
    const QString path = settingsPath.isEmpty() ? ParquetaProcess::settingsPath() : settingsPath;
    QTemporaryDir scratch;
    if (!scratch.isValid()) {
        g_lastError = QStringLiteral("cannot create a temporary directory");
        return std::nullopt;
    }
    X11Connection connection;
    if (!connection.isValid()) {
        g_lastError = QStringLiteral("cannot connect to the X display %1").arg(qEnvironmentVariable("DISPLAY"));
        return std::nullopt;
    }
    X11DisplayServer displays(connection);

    int attempt = 0;
    std::optional<DesktopZones> result;
    const auto decode = [&]() -> bool {
        // A fresh copy each time: the store below writes the screens it sees into it.
        const QString copy = QStringLiteral("%1/copy-%2.json").arg(scratch.path()).arg(++attempt);
        if (!QFile::exists(path)) {
            g_lastError = QStringLiteral("%1 does not exist").arg(path);
            return false;
        }
        if (!QFile::copy(path, copy)) {
            g_lastError = QStringLiteral("cannot copy %1").arg(path);
            return false;
        }
        Settings settings(std::make_unique<FileSettingsBackend>(copy));
        const QMap<QString, QList<QByteArray>> stored = settings.blobLists(Keys::layouts);
        ScreenManager screens(displays, settings);
        FakeHotkeyBackend hotkeys;
        GlobalShortcuts shortcuts(hotkeys, settings);
        LayoutManager layouts(settings, screens, shortcuts);

        DesktopZones zones;
        zones.m_gap = settings.effectiveGap();
        zones.m_spanDistance = settings.value(Keys::spanAdjancedZones) ? settings.value(Keys::autoSpanDistance) : 0;
        const QList<Screen> connected = screens.screens();
        if (connected.isEmpty()) {
            g_lastError = QStringLiteral("the X server reports no displays");
            return false;
        }
        for (const Screen& screen : connected) {
            if (!stored.contains(screen.id())) {
                g_lastError
                    = QStringLiteral("%1 holds no layouts for screen %2 (%3)").arg(path, screen.id(), screen.name());
                return false;
            }
            const std::optional<QRectF> visible = screens.visibleFrameOf(screen);
            const std::shared_ptr<Layout> layout = layouts.activeFor(screen);
            if (!visible || !layout) {
                g_lastError = QStringLiteral("screen %1 has no visible frame or no layout").arg(screen.name());
                return false;
            }
            zones.m_visibleFrames.append({screen.name(), *visible});
            for (const std::shared_ptr<Zone>& zone : layout->zones()) {
                DesktopZone entry;
                entry.screenId = screen.id();
                entry.screenName = screen.name();
                entry.zoneId = zone->id();
                entry.rect = screens.layoutToDesktop(screen, zone->rect()).value_or(QRectF());
                entry.frameF
                    = screens.layoutToDesktop(screen, zone->visibleFrame(zones.m_gap, screens)).value_or(QRectF());
                entry.frame = entry.frameF.toRect();
                zones.m_zones.append(entry);
            }
        }
        result = std::move(zones);
        return true;
    };
    if (!VirtualDesktop::waitUntil(decode, timeoutMs))
        return std::nullopt;
    return result;
}

QStringList DesktopZones::screenNames() const
{
    QStringList names;
    for (const auto& [name, frame] : m_visibleFrames)
        names << name;
    return names;
}

QList<DesktopZone> DesktopZones::zonesOn(const QString& screenName) const
{
    QList<DesktopZone> result;
    for (const DesktopZone& zone : m_zones) {
        if (zone.screenName == screenName)
            result << zone;
    }
    return result;
}

std::optional<DesktopZone> DesktopZones::zone(const QString& screenName, const QString& zoneId) const
{
    for (const DesktopZone& zone : m_zones) {
        if (zone.screenName == screenName && zone.zoneId == zoneId)
            return zone;
    }
    return std::nullopt;
}

std::optional<QRectF> DesktopZones::visibleFrame(const QString& screenName) const
{
    for (const auto& [name, frame] : m_visibleFrames) {
        if (name == screenName)
            return frame;
    }
    return std::nullopt;
}

std::optional<QRect> DesktopZones::unitedFrame(const QString& screenName, const QStringList& zoneIds) const
{
    QRectF united;
    for (const QString& id : zoneIds) {
        const std::optional<DesktopZone> found = zone(screenName, id);
        if (!found)
            return std::nullopt;
        united = united.united(found->frameF);
    }
    if (united.isNull())
        return std::nullopt;
    return united.toRect();
}

QPoint DesktopZones::dropPoint(const QString& screenName, const QString& zoneId, QPoint offset, int margin) const
{
    const std::optional<DesktopZone> found = zone(screenName, zoneId);
    if (!found)
        return {};
    const QRect r = found->rect.toRect();
    const int mx = std::min(margin, r.width() / 2);
    const int my = std::min(margin, r.height() / 2);
    const QPoint c = r.center() + offset;
    return QPoint(std::clamp(c.x(), r.left() + mx, r.right() - mx), std::clamp(c.y(), r.top() + my, r.bottom() - my));
}
