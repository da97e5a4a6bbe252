#pragma once

#include "EngineTestDoubles.h"
#include "FakeDisplayServer.h"
#include "FakeGlobalInput.h"
#include "FakeHotkeyBackend.h"
#include "FakeWindowControl.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"
#include "managers/ZoneMonitor.h"

#include <QSet>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

inline void PrintTo(const QRectF& r, std::ostream* os)
{
    *os << r.x() << "," << r.y() << " " << r.width() << "x" << r.height();
}

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& list, std::ostream* os)
{
    *os << '{' << list.join(QStringLiteral(", ")).toStdString() << '}';
}

namespace EngineTest {

// LEFT is the primary with a 30-point panel along its top; RIGHT stands beside it with a
// 40-point panel along its bottom. Layout space of LEFT starts at desktop (0, 30).
inline const DisplayInfo kLeft = FakeDisplayServer::display(QStringLiteral("11111111-1111-1111-1111-111111111111"),
    QStringLiteral("LEFT"), QRectF(0, 0, 1280, 1080), QRectF(0, 30, 1280, 1050));
inline const DisplayInfo kRight = FakeDisplayServer::display(QStringLiteral("22222222-2222-2222-2222-222222222222"),
    QStringLiteral("RIGHT"), QRectF(1280, 0, 1280, 1080), QRectF(1280, 0, 1280, 1040));

// The whole engine on the fakes, built and started in the application's order.
class EngineFixture : public ::testing::Test
{
protected:
    EngineFixture()
    {
        displays.setDisplays({kLeft, kRight});
        const QList<Screen> all = screens.screens();
        left = all.at(0);
        right = all.at(1);
        useThreeColumns(left);
        useThreeColumns(right);
        // Point tests unless a test asks for spanning.
        settings.setValue(Keys::spanAdjancedZones, false);

        zoneManager.startObserving();
        zoneMonitor.startMonitoring();
        dragMonitor.startMonitoring();
        gestures.startMonitoring();
    }

    // Zones "1" | "2" | "3" of 400, 400 and the rest, the full height of the visible frame.
    void useThreeColumns(const Screen& screen)
    {
        const QRectF frame = *screens.visibleFrameOf(screen);
        auto root = SplitNode::create(0, 0, frame.width(), frame.height());
        root->splitAtOffset(SplitType::vertical, 400);
        root->children().at(1)->splitAtOffset(SplitType::vertical, 400);
        auto layout = Layout::create(root, QUuid::createUuid(), screen);
        layouts.save(LayoutList {layout}, screen);
        layouts.setActiveFor(screen, layout);
    }

    std::shared_ptr<Zone> zone(const Screen& screen, int number)
    {
        return layouts.activeFor(screen)->zones().at(static_cast<size_t>(number - 1));
    }
    std::vector<std::shared_ptr<Zone>> zones(const Screen& screen, const std::vector<int>& numbers)
    {
        std::vector<std::shared_ptr<Zone>> result;
        for (const int number : numbers)
            result.push_back(zone(screen, number));
        return result;
    }

    // A window record as the engine takes one: its size now is its initialSize.
    WindowPtr record(quint32 id) { return windows.windowFrom(FakeWindowControl::handleFor(id)); }
    QRectF frameOf(quint32 id) { return control.frameOf(id).value_or(QRectF()); }

    // The ids standing in one zone, in their order.
    QList<quint32> idsIn(const QString& zoneId)
    {
        QList<quint32> result;
        for (const WindowPtr& window : zoneManager.snappedWindowsByZone().value(zoneId))
            result << window->id();
        return result;
    }
    // The zone ids a window stands in, sorted.
    QStringList zonesOf(quint32 id)
    {
        QStringList result;
        for (const QString& zoneId : zoneManager.snappedWindowsByZone().keys()) {
            if (idsIn(zoneId).contains(id))
                result << zoneId;
        }
        result.sort();
        return result;
    }

    // A window id is known exactly while it stands in some zone; no zone keeps an empty list.
    void expectConsistentBookkeeping()
    {
        QSet<quint32> listed;
        for (const QString& zoneId : zoneManager.snappedWindowsByZone().keys()) {
            const QList<quint32> ids = idsIn(zoneId);
            EXPECT_FALSE(ids.isEmpty()) << "zone " << zoneId.toStdString() << " keeps an empty list";
            listed.unite(QSet<quint32>(ids.begin(), ids.end()));
        }
        const QList<quint32> known = zoneManager.snappedWindows().keys();
        EXPECT_EQ(listed, QSet<quint32>(known.begin(), known.end()));
    }

    FakeDisplayServer displays;
    FakeWindowControl control;
    FakeGlobalInput input;
    FakeHotkeyBackend hotkeys;
    FakeOverlayFactory overlays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    ScreenManager screens {displays, settings};
    GlobalShortcuts shortcuts {hotkeys, settings};
    LayoutManager layouts {settings, screens, shortcuts};
    WindowManager windows {control, WindowManager::screenLocator(screens)};
    WindowDragMonitor dragMonitor {input, windows};
    ZoneGestureMonitor gestures {dragMonitor, input, settings};
    ZoneManager zoneManager {screens, layouts, windows, gestures, shortcuts, settings, overlays};
    ZoneMonitor zoneMonitor {zoneManager, dragMonitor};
    Screen left;
    Screen right;
};

} // namespace EngineTest
