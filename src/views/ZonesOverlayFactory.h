#pragma once

#include "managers/OverlayWindow.h"

class DesktopEffects;
class ScreenManager;
class Settings;
class ZoneOverlayEngine;

// Builds the zone overlays the engine shows during a zone gesture: one ZonesWindow over
// the screen's visible frame.
//
// The engine the overlays talk to is ZoneManager itself, which needs this factory to be
// constructed; so the engine is handed over afterwards:
//     ZonesOverlayFactory overlays(screenManager, settings, platform.desktopEffects());
//     ZoneManager zoneManager(..., overlays);
//     ZoneManagerOverlayEngine engine(zoneManager, gestureMonitor);
//     overlays.setEngine(&engine);
class ZonesOverlayFactory final : public OverlayFactory
{
public:
    ZonesOverlayFactory(ScreenManager& screens, const Settings& settings, const DesktopEffects& effects);

    void setEngine(ZoneOverlayEngine* engine) { m_engine = engine; }

    // Nothing when the screen's display is not connected (or no engine was set).
    std::unique_ptr<OverlayWindow> createOverlay(const Screen& screen, std::shared_ptr<Layout> layout) override;

private:
    ScreenManager& m_screens;
    const Settings& m_settings;
    const DesktopEffects& m_effects;
    ZoneOverlayEngine* m_engine = nullptr;
};
