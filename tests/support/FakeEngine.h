#pragma once

#include "FakePlatform.h"
#include "FakeWindowControl.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/OverlayWindow.h"
#include "managers/ScreenManager.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"
#include "managers/ZoneMonitor.h"

// The engine wired as the application wires it, on the platform fakes and a settings
// store in memory. Overlays are the view layer's (tested there and end to end): here
// every screen gets none unless a test asks for stand-ins, and the factory notes which
// screens it was asked for and asked to prepare. Tests set the displays before they read the screens; the
// model benchmark gives it the JSON file store to measure the engine as it runs.
struct FakeEngine
{
    explicit FakeEngine(std::unique_ptr<SettingsBackend> backend = std::make_unique<MemorySettingsBackend>())
        : settings(std::move(backend))
    { }

    struct NoOverlays final : OverlayFactory
    {
        struct StandIn final : OverlayWindow
        {
            void show() override { }
            void hide() override { }
        };
        std::unique_ptr<OverlayWindow> createOverlay(const Screen& screen, std::shared_ptr<Layout>) override
        {
            created << screen.name();
            return standIns ? std::make_unique<StandIn>() : nullptr;
        }
        void prepareOverlay(const Screen& screen, std::shared_ptr<Layout>) override { prepared << screen.name(); }
        bool standIns = false;
        QStringList created, prepared;
    };

    FakeDisplayServer displays;
    FakeWindowControl control;
    FakeGlobalInput input;
    FakeHotkeyBackend hotkeys;
    FakeWindowEvents windowEvents;
    NoOverlays overlays;
    Settings settings;
    ScreenManager screens {displays, settings};
    GlobalShortcuts shortcuts {hotkeys, settings};
    LayoutManager layouts {settings, screens, shortcuts};
    WindowManager windows {control, WindowManager::screenLocator(screens), &settings};
    WindowDragMonitor dragMonitor {input, windows};
    ZoneGestureMonitor gestures {dragMonitor, input, settings};
    ZoneManager zoneManager {screens, layouts, windows, gestures, shortcuts, settings, overlays};
    ZoneMonitor zoneMonitor {zoneManager, dragMonitor};
};
