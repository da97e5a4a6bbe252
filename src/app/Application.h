#pragma once

#include <QObject>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

class AboutWindow;
class GlobalShortcuts;
class LayoutBordersFlasher;
class LayoutManager;
class Platform;
class ScreenManager;
class Settings;
class StatusMenu;
class WindowDragMonitor;
class WindowManager;
class ZoneGestureMonitor;
class ZoneManager;
class ZoneEditorManager;
class ZoneManagerOverlayEngine;
class ZoneMonitor;
class ZonesOverlayFactory;

// The application's delegate: owns one instance of every manager, wires them in the
// order the engine depends on, runs the launch sequence and tears everything down
// cleanly on quit.
class Application final : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        // Started by the session at login: no window opens by itself.
        bool launchedAsLoginItem = false;
        // The first run shows its guide; off, it only installs the presets.
        bool showOnboarding = true;
        // The tray's community link; the item is hidden while empty.
        QString communityUrl;
        // "0.1.0 (57)", with "-beta" for a pre-release build.
        QString versionText;
        // "0.1.0" or "0.1.0-beta": what update feeds are compared with.
        QString runningVersion;
        // The appcast; empty: updates come from elsewhere (a package manager).
        QUrl updateFeed;
        // The state file of snapped windows; empty: nothing is kept between runs.
        QString snappedWindowsState;
    };

    Application(Platform& platform, Settings& settings, Options options, QObject* parent = nullptr);
    ~Application() override;

    // The launch sequence: engine observers in their fixed order, the permission check,
    // first-run layouts, display changes, a layout for every screen. Called once the
    // system has finished launching Parqueta, which is when it says whether the session
    // started it at login (that or Options::launchedAsLoginItem counts).
    void start(bool launchedAsLoginItem = false);
    // A later launch asked this instance to come forward.
    void reopen();
    // The zone editor for the screen under the pointer and its active layout.
    void openEditorUnderPointer();
    // The settings window in front, focused, centred on the screen under the pointer.
    void openSettings();
    // The engine's state, live, with "Why won't this window snap?".
    void openDebugWindow();
    // The first-run guide (shown by start() on the first run only).
    void openOnboarding();
    // Overlays gone, monitors stopped, grabs released, settings flushed; then the event
    // loop ends. Safe to call more than once.
    void quit();

    ScreenManager& screenManager() const { return *m_screens; }
    LayoutManager& layoutManager() const { return *m_layouts; }
    ZoneManager& zoneManager() const { return *m_zones; }
    WindowManager& windowManager() const { return *m_windows; }
    ZoneEditorManager& editorManager() const { return *m_editors; }
    // Open now, or null.
    class OnboardingWindow* onboardingWindow() const { return m_onboarding.get(); }

private:
    void shutDown();
    void handleDisplayReconfiguration();
    void giveEveryScreenALayout();
    void showAbout();
    void flashLayoutBorders(const std::shared_ptr<class Layout>& layout);
    void queueShortcutNotice(const QString& notice);
    void flushShortcutNotices();
    void fillLayoutsMenu();
    void applyLoginItem();
    // Shows the permissions window and waits for the grant, then closes it.
    void awaitWindowControlPermission();
    // "Check for updates…" from the tray or the More tab: the dialog shows the answer.
    void checkForUpdates();
    void handleUpdateCheck(const struct UpdateCheckResult& result);
    class UpdateDialog& updateDialog();
    class SettingsWindow& settingsWindow();

    Platform& m_platform;
    Settings& m_settings;
    Options m_options;
    bool m_shutDown = false;
    QStringList m_pendingNotices;

    // Declared in construction order; shutDown() stops everything before they go.
    std::unique_ptr<ScreenManager> m_screens;
    std::unique_ptr<WindowManager> m_windows;
    std::unique_ptr<GlobalShortcuts> m_shortcuts;
    std::unique_ptr<LayoutManager> m_layouts;
    std::unique_ptr<WindowDragMonitor> m_dragMonitor;
    std::unique_ptr<ZoneGestureMonitor> m_gestureMonitor;
    std::unique_ptr<ZonesOverlayFactory> m_overlays;
    std::unique_ptr<ZoneManager> m_zones;
    std::unique_ptr<ZoneManagerOverlayEngine> m_overlayEngine;
    std::unique_ptr<ZoneMonitor> m_zoneMonitor;
    std::unique_ptr<class WindowRestorer> m_restorer;
    std::unique_ptr<ZoneEditorManager> m_editors;
    std::unique_ptr<LayoutBordersFlasher> m_flasher;
    std::unique_ptr<StatusMenu> m_statusMenu;
    std::unique_ptr<AboutWindow> m_about;
    std::unique_ptr<class SettingsWindow> m_settingsWindow;
    std::unique_ptr<class OnboardingWindow> m_onboarding;
    std::unique_ptr<class DebugWindow> m_debugWindow;
    std::unique_ptr<class SoftwareUpdater> m_updater;
    std::unique_ptr<class UpdateDialog> m_updateDialog;
    std::unique_ptr<class PermissionsWindow> m_permissionsWindow;
    std::unique_ptr<class PermissionWatcher> m_permissionWatcher;
    std::unique_ptr<class AppPresence> m_presence;
    // What clicking the last tray notice leads to: the shortcuts' tab, or the update found.
    std::function<void()> m_noticeClicked;
};
