#pragma once

#include "managers/LayoutManager.h"
#include "managers/OverlayWindow.h"
#include "managers/ScreenManager.h"
#include "managers/ZoneGestureObserver.h"
#include "managers/ZoneManager.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <memory>
#include <utility>

// Stand-ins for the zone overlay, shared by the unit tests and the X11 test.
namespace EngineTest {

// One overlay as the engine drives it; every call lands in the factory's log.
class FakeOverlay final : public OverlayWindow
{
public:
    FakeOverlay(QStringList* log, QString name)
        : m_log(log)
        , m_name(std::move(name))
    { }
    ~FakeOverlay() override { m_log->append(QStringLiteral("destroy ") + m_name); }
    void show() override { m_log->append(QStringLiteral("show ") + m_name); }
    void hide() override { m_log->append(QStringLiteral("hide ") + m_name); }

private:
    QStringList* m_log;
    QString m_name;
};

// Names overlays after their screen's display name ("LEFT", "RIGHT").
class FakeOverlayFactory final : public OverlayFactory
{
public:
    std::unique_ptr<OverlayWindow> createOverlay(const Screen& screen, std::shared_ptr<Layout> layout) override
    {
        if (refused.contains(screen.name()))
            return nullptr;
        log.append(QStringLiteral("create ") + screen.name());
        layouts.insert(screen.name(), layout ? layout->idText() : QString());
        return std::make_unique<FakeOverlay>(&log, screen.name());
    }

    QStringList log;
    // The layout id each overlay was made for, by screen name.
    QHash<QString, QString> layouts;
    // Screens whose display the view layer cannot find.
    QSet<QString> refused;
};

// Does on release what the zone overlay does: snaps the dragged window into the zones
// under the pointer, if a gesture was shown and not cancelled.
class SnapOnRelease final : public ZoneGestureObserver
{
public:
    SnapOnRelease(ZoneManager& zones, LayoutManager& layouts, ScreenManager& screens)
        : m_zones(zones)
        , m_layouts(layouts)
        , m_screens(screens)
    { }

    void zoneGestureDidStart(const ZoneGestureEvent&) override { m_shown = true; }
    void zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled) override
    {
        const bool shown = std::exchange(m_shown, false);
        if (canceled || !shown || !event.dragEvent)
            return;
        std::vector<std::shared_ptr<Zone>> hit;
        for (const Screen& screen : m_screens.screens()) {
            for (const std::shared_ptr<Zone>& zone : m_layouts.activeFor(screen)->zones()) {
                if (m_zones.isCursorInZone(*zone))
                    hit.push_back(zone);
            }
        }
        m_zones.snap(event.dragEvent->window, hit);
    }

private:
    ZoneManager& m_zones;
    LayoutManager& m_layouts;
    ScreenManager& m_screens;
    bool m_shown = false;
};

} // namespace EngineTest
