#pragma once

#include "managers/OverlayWindow.h"
#include "managers/ZoneCycleDirection.h"
#include "managers/ZoneGestureObserver.h"
#include "models/Window.h"
#include "models/Zone.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class GlobalShortcuts;
class LayoutManager;
class ScreenManager;
class Settings;
class WindowManager;
class ZoneGestureMonitor;

// The centre of the snapping engine: shows the overlays during a zone gesture, hit-tests
// zones, snaps windows into zones and out again, remembers which windows stand in which
// zones, and carries out the six window shortcuts.
class ZoneManager final : public QObject, public ZoneGestureObserver
{
    Q_OBJECT

public:
    ZoneManager(ScreenManager& screens, LayoutManager& layouts, WindowManager& windows, ZoneGestureMonitor& gestures,
        GlobalShortcuts& shortcuts, Settings& settings, OverlayFactory& overlays, QObject* parent = nullptr);
    ~ZoneManager() override;

    void startObserving();
    void stopObserving();

    void zoneGestureDidStart(const ZoneGestureEvent& event) override;
    void zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled) override;

    void showOverlayWindows();
    void removeOverlayWindows();
    // A window drag began, so a zone gesture may follow: has every screen's overlay made
    // ready off the screen, once the current event is handled (a gesture that starts
    // with the drag is not held up, and finds nothing to wait for).
    void prepareOverlayWindows();

    // Whether the pointer is over the zone (as a point, or as a square of side
    // autoSpanDistance while spanning adjacent zones). A zone on another screen never is.
    bool isCursorInZone(const Zone& zone) const;
    bool isCursorOnScreen(const Screen& screen) const;

    void snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones);
    void unsnap(const WindowPtr& window);

    void addSnappedWindow(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones);
    void removeSnappedWindow(const Window& window);
    bool isWindowSnapped(const Window& window) const;
    std::optional<QString> zoneId(const Window& window) const;
    void cleanSnappedWindowsByZone(const QString& zoneId);

    // The layout of a screen changed shape or another one became active: every window
    // snapped on that screen moves into the zones with the same ids; one whose zones are
    // all gone is forgotten and left where it is. Only while moveWindowsOnLayoutChange is on.
    void moveWindowsToZones(const std::shared_ptr<class Layout>& layout);

    void handleCycleMove(ZoneCycleDirection direction);
    void handleCycleSwap(ZoneCycleDirection direction);
    void onSpanWindow(ZoneCycleDirection direction);

    // Read-only views for the debug window and the tests.
    const QHash<quint32, WindowPtr>& snappedWindows() const { return m_snappedWindows; }
    const QHash<QString, std::vector<WindowPtr>>& snappedWindowsByZone() const { return m_snappedWindowsByZone; }
    bool hasOverlays() const { return !m_overlayWindows.empty(); }
    // The id of the screen whose zones the window was snapped into.
    std::optional<QString> snappedScreenId(const Window& window) const
    {
        const auto it = m_snappedScreens.constFind(window.id());
        return it == m_snappedScreens.constEnd() ? std::nullopt : std::optional<QString>(*it);
    }

Q_SIGNALS:
    // A window now stands in these zones of that screen: after every snap, whoever asked.
    void windowSnapped(const WindowPtr& window, const QString& screenId, const QStringList& zoneIds);
    // The user took the window out of its zones (dragged it out). Windows forgotten for
    // other reasons (closed, their zones gone) are not announced.
    void windowUnsnapped(quint32 windowId);

private:
    // The focused window, its frame (desktop space) and the zones of the active layout of
    // the screen holding its top-left corner; nothing when any of them is missing.
    struct FocusedPlacement
    {
        WindowPtr window;
        // The window's frame as the shortcuts compare it with the zones: in desktop
        // space, or in its screen's layout space with shortcutsOnEveryScreen.
        QRectF frame;
        std::vector<std::shared_ptr<Zone>> zones;
    };
    std::optional<FocusedPlacement> focusedPlacement();

    ScreenManager& m_screens;
    LayoutManager& m_layouts;
    WindowManager& m_windows;
    ZoneGestureMonitor& m_gestures;
    GlobalShortcuts& m_shortcuts;
    Settings& m_settings;
    OverlayFactory& m_overlays;
    std::vector<std::pair<Screen, std::unique_ptr<OverlayWindow>>> m_overlayWindows;
    bool m_preparePending = false;
    QHash<quint32, WindowPtr> m_snappedWindows;
    QHash<QString, std::vector<WindowPtr>> m_snappedWindowsByZone;
    // The screen id of the zones each snapped window stands in.
    QHash<quint32, QString> m_snappedScreens;
};
