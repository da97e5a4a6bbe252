#pragma once

#include "managers/OverlayWindow.h"

#include <QPointer>
#include <QRect>
#include <QTimer>

#include <optional>
#include <vector>

class DesktopEffects;
class ScreenManager;
class Settings;
class ZoneOverlayEngine;
class ZonesWindow;

// Builds the zone overlays the engine shows during a zone gesture: one ZonesWindow over
// the screen's visible frame.
//
// A dropped overlay's window is parked (mapped and invisible: see
// ZonesWindow::disappear()) and kept for a while: the next gesture on the same screen,
// with the same layout and frame, shows it again instead of creating a native window
// and its backing store, which is most of the time it takes an overlay to appear. Kept
// windows are deleted once nothing has asked for them for keepHiddenMs, so an idle
// Parqueta holds no overlay memory and no timer. The first gesture after that is not
// slower for it: the drag that may lead to it has the windows made and kept
// beforehand (prepareOverlay()), while the user has yet to press Shift.
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
    static constexpr int kKeepHiddenMs = 10000;

    ZonesOverlayFactory(ScreenManager& screens, const Settings& settings, const DesktopEffects& effects,
        int keepHiddenMs = kKeepHiddenMs);
    ~ZonesOverlayFactory() override;

    // Kept windows talk to the engine they were made for: changing it (or setting none
    // on the way out) deletes them.
    void setEngine(ZoneOverlayEngine* engine);

    // Nothing when the screen's display is not connected (or no engine was set).
    std::unique_ptr<OverlayWindow> createOverlay(const Screen& screen, std::shared_ptr<Layout> layout) override;
    // Makes the window createOverlay() would, gets it ready off the screen (see
    // ZonesWindow::prepare()) and keeps it, unless a kept one fits already.
    void prepareOverlay(const Screen& screen, std::shared_ptr<Layout> layout) override;

    // Windows off the screen waiting for the next gesture.
    int keptCount() const;

    // Takes back the window of a dropped overlay (already off the screen).
    void keep(ZonesWindow* window);

private:
    // The screen's visible frame in device pixels; nothing (and a log line) when no
    // overlay can be made for it.
    std::optional<QRect> overlayFrame(const Screen& screen) const;
    ZonesWindow* makeWindow(const Screen& screen, std::shared_ptr<Layout> layout, const QRect& frame);
    ZonesWindow* takeKept(const Screen& screen, const std::shared_ptr<Layout>& layout, const QRect& frame);
    void dropKept();

    ScreenManager& m_screens;
    const Settings& m_settings;
    const DesktopEffects& m_effects;
    ZoneOverlayEngine* m_engine = nullptr;
    std::vector<QPointer<ZonesWindow>> m_kept;
    QTimer m_dropTimer;
};
