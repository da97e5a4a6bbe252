#include "app/Application.h"

#include "app/AppPresence.h"
#include "app/PermissionWatcher.h"
#include "app/StatusMenu.h"
#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/SoftwareUpdater.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "managers/WindowRestorer.h"
#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"
#include "managers/ZoneMonitor.h"
#include "models/Layout.h"
#include "platform/ApplicationShell.h"
#include "platform/DesktopEffects.h"
#include "platform/GlobalInput.h"
#include "platform/HotkeyBackend.h"
#include "platform/LoginItemService.h"
#include "platform/NativeUpdater.h"
#include "platform/Platform.h"
#include "views/AboutWindow.h"
#include "views/DebugWindow.h"
#include "views/OnboardingWindow.h"
#include "views/PermissionsWindow.h"
#include "views/LayoutBordersFlasher.h"
#include "views/LayoutsSettingsView.h"
#include "views/MoreSettingsView.h"
#include "views/SettingsWindow.h"
#include "views/UpdateDialog.h"
#include "views/ShortcutRecorder.h"
#include "views/ZoneEditorManager.h"
#include "views/ZoneManagerOverlayEngine.h"
#include "views/ZonesOverlayFactory.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QPixmapCache>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>

namespace {
// Tray icons embed a moment after start-up; a message sent earlier is lost.
constexpr int kNoticeDelayMs = 2000;
} // namespace

Application::Application(Platform& platform, Settings& settings, Options options, QObject* parent)
    : QObject(parent)
    , m_platform(platform)
    , m_settings(settings)
    , m_options(std::move(options))
{
    m_screens = std::make_unique<ScreenManager>(platform.displays(), settings);
    m_windows
        = std::make_unique<WindowManager>(platform.windows(), WindowManager::screenLocator(*m_screens), &settings);
    m_shortcuts = std::make_unique<GlobalShortcuts>(platform.hotkeys(), settings);
    m_layouts = std::make_unique<LayoutManager>(settings, *m_screens, *m_shortcuts);
    m_dragMonitor = std::make_unique<WindowDragMonitor>(platform.input(), *m_windows);
    m_gestureMonitor = std::make_unique<ZoneGestureMonitor>(*m_dragMonitor, platform.input(), settings);
    m_overlays = std::make_unique<ZonesOverlayFactory>(*m_screens, settings, platform.desktopEffects());
    m_statusMenu = std::make_unique<StatusMenu>(settings, m_options.communityUrl);
    DesktopEffects& effects = platform.desktopEffects();
    m_statusMenu->setPanelForeground(effects.trayForeground());
    connect(&effects, &DesktopEffects::trayForegroundChanged, m_statusMenu.get(),
        [this, &effects] { m_statusMenu->setPanelForeground(effects.trayForeground()); });
    if (NativeUpdater* native = platform.nativeUpdater())
        m_updater = std::make_unique<SoftwareUpdater>(settings, *native, m_options.runningVersion);
    else
        m_updater = std::make_unique<SoftwareUpdater>(settings, m_options.updateFeed, m_options.runningVersion);
    m_statusMenu->setUpdatesAvailable(m_updater->isAvailable());
    connect(m_statusMenu.get(), &StatusMenu::updateCheckRequested, this, &Application::checkForUpdates);
    connect(m_updater.get(), &SoftwareUpdater::checkFinished, this, &Application::handleUpdateCheck);

    // Shortcuts that cannot be had are told to the user once, not only logged; the
    // tray must exist before the six are registered.
    connect(m_shortcuts.get(), &GlobalShortcuts::shortcutUnavailable, this,
        [this](const QString& name, KeyCombination combination, const QString&) {
            queueShortcutNotice(GlobalShortcuts::unavailableNotice(name, combination));
        });
    m_shortcuts->registerDefaultShortcuts();

    m_zones = std::make_unique<ZoneManager>(
        *m_screens, *m_layouts, *m_windows, *m_gestureMonitor, *m_shortcuts, settings, *m_overlays);
    m_overlayEngine = std::make_unique<ZoneManagerOverlayEngine>(*m_zones, *m_gestureMonitor);
    m_overlays->setEngine(m_overlayEngine.get());
    m_zoneMonitor = std::make_unique<ZoneMonitor>(*m_zones, *m_dragMonitor);
    m_restorer = std::make_unique<WindowRestorer>(*m_zones, *m_screens, *m_layouts, *m_windows,
        platform.windowEvents(), settings, m_options.snappedWindowsState);
    m_editors = std::make_unique<ZoneEditorManager>(*m_layouts, *m_screens, settings, platform.desktopEffects());
    m_flasher = std::make_unique<LayoutBordersFlasher>(*m_screens, settings, platform.desktopEffects());

    connect(m_statusMenu.get(), &StatusMenu::editorRequested, this, &Application::openEditorUnderPointer);
    connect(m_layouts.get(), &LayoutManager::layoutBordersRequested, this, &Application::flashLayoutBorders);
    // Windows follow their zones when a layout changes shape or another one takes over.
    connect(m_editors.get(), &ZoneEditorManager::editorClosed, this,
        [this](const Screen& screen, const std::shared_ptr<Layout>& layout) {
            if (sameLayout(m_layouts->activeFor(screen), layout))
                m_zones->moveWindowsToZones(layout);
        });
    connect(m_layouts.get(), &LayoutManager::activeLayoutChanged, m_zones.get(), &ZoneManager::moveWindowsToZones);

    connect(m_statusMenu.get(), &StatusMenu::aboutRequested, this, &Application::showAbout);
    connect(m_statusMenu.get(), &StatusMenu::settingsRequested, this, &Application::openSettings);
    connect(m_statusMenu.get(), &StatusMenu::quitRequested, this, &Application::quit);
    connect(m_statusMenu.get(), &StatusMenu::notificationClicked, this, [this] {
        if (m_noticeClicked)
            m_noticeClicked();
    });
    connect(m_statusMenu->layoutsMenu(), &QMenu::aboutToShow, this, &Application::fillLayoutsMenu);
    m_presence = std::make_unique<AppPresence>(platform.shell());
    // Reopened through the system (the Dock, Finder): settings come forward only when
    // nothing of Parqueta's is on screen, as a click on a running application's icon does.
    connect(&platform.shell(), &ApplicationShell::reopenRequested, this, [this] {
        if (!AppPresence::userWindowVisible())
            reopen();
    });
    connect(&m_settings, &Settings::changed, this, [this](const QString& name) {
        if (name == QLatin1String(Keys::launchAtLogin.name))
            applyLoginItem();
    });
}

Application::~Application()
{
    shutDown();
}

void Application::start(bool launchedAsLoginItem)
{
    m_options.launchedAsLoginItem = m_options.launchedAsLoginItem || launchedAsLoginItem;
    // The order fixes the order observers are called in: the zone monitor's unsnap at
    // the end of a drag must run before the overlay snaps the window again.
    m_zones->startObserving();
    m_zoneMonitor->startMonitoring();
    m_dragMonitor->stopMonitoring();
    m_dragMonitor->startMonitoring();
    m_gestureMonitor->startMonitoring();

    if (!m_platform.hasWindowControlPermission())
        awaitWindowControlPermission();

    const bool firstRun = m_settings.value(Keys::firstRun);
    if (firstRun) {
        qCInfo(lcApp) << "First run: installing the preset layouts";
        m_layouts->setDefaultLayouts();
    }

    // At launch when automaticUpdates is on, then at most once a day.
    if (m_updater->isAvailable())
        m_updater->startScheduledChecks();

    connect(m_screens.get(), &ScreenManager::displayReconfiguration, this, &Application::handleDisplayReconfiguration);
    giveEveryScreenALayout();
    m_settings.sync();
    // Once every screen has its layout: windows go back into the zones they had.
    m_restorer->start();

    qCInfo(lcApp) << "Parqueta" << QApplication::applicationVersion() << "is running on" << m_screens->screens().size()
                  << "screen(s)";

    // A bare window manager may have no tray at all: the settings window is then the
    // only way in, and it must be able to quit.
    const bool trayless = !m_statusMenu->isReachable();
    if (trayless)
        qCInfo(lcApp) << "No tray icon to reach Parqueta by; the settings window carries a Quit button";
    if (!m_options.launchedAsLoginItem) {
        openSettings();
    } else if (trayless) {
        qCInfo(lcApp) << "Started at login without a tray icon: launch Parqueta again to open its settings";
    }
    if (firstRun) {
        // The guide comes last, so it stands in front of the settings window.
        if (m_options.showOnboarding)
            openOnboarding();
        // Written as soon as the guide shows, so a crash during it does not show it again.
        m_settings.setValue(Keys::firstRun, false);
        m_settings.sync();
    }
}

void Application::awaitWindowControlPermission()
{
    qCWarning(lcApp) << "Parqueta may not control other applications' windows yet; snapping waits for the grant";
    // The engine runs already: its calls simply fail until the grant arrives.
    m_permissionsWindow = std::make_unique<PermissionsWindow>(m_platform.shell().windowControlPermissionPage());
    m_permissionsWindow->present();
    m_permissionWatcher = std::make_unique<PermissionWatcher>([this] { return m_platform.hasWindowControlPermission(); });
    connect(m_permissionWatcher.get(), &PermissionWatcher::granted, this, [this] {
        m_permissionsWindow.reset();
        m_permissionWatcher.release()->deleteLater();
    });
    m_permissionWatcher->start();
}

void Application::openOnboarding()
{
    if (!m_onboarding) {
        m_onboarding = std::make_unique<OnboardingWindow>(*m_layouts, *m_screens, *m_shortcuts, m_statusMenu->isReachable());
        // Let go once closed: a guide is read once.
        connect(m_onboarding.get(), &OnboardingWindow::closed, this, [this] {
            if (m_onboarding)
                m_onboarding.release()->deleteLater();
        });
    }
    m_onboarding->present();
}

void Application::openDebugWindow()
{
    if (!m_debugWindow) {
        DebugViewModel::Sources sources {*m_screens, *m_layouts, *m_zones, *m_windows, *m_gestureMonitor,
            *m_dragMonitor, *m_shortcuts, [this] { return m_platform.desktopFacts(); }};
        m_debugWindow = std::make_unique<DebugWindow>(sources);
    }
    m_debugWindow->present();
}

void Application::giveEveryScreenALayout()
{
    for (const Screen& screen : m_screens->screens()) {
        if (!m_layouts->lookupLayouts(screen))
            m_layouts->save({Layout::defaultFor(screen, *m_screens)}, screen);
    }
}

void Application::handleDisplayReconfiguration()
{
    // Overlays belong to the displays that existed when the gesture began: rebuild them
    // for the displays there are now, so none is left over an unplugged monitor.
    if (m_zones->hasOverlays()) {
        m_zones->removeOverlayWindows();
        m_zones->showOverlayWindows();
    }
}

void Application::reopen()
{
    openSettings();
}

SettingsWindow& Application::settingsWindow()
{
    if (!m_settingsWindow) {
        SettingsWindow::Services services {m_settings, *m_layouts, *m_screens, *m_windows,
            [this](const QString& name, QWidget* parent) -> QWidget* {
                return new ShortcutRecorder(*m_shortcuts, name, parent);
            },
            m_options.versionText, m_platform.reopenPlace()};
        m_settingsWindow = std::make_unique<SettingsWindow>(services);
        if (m_updater->isAvailable())
            m_settingsWindow->more().setUpdatesAvailable(true);
        else
            m_settingsWindow->more().setUpdatesAvailable(false,
                tr("This build does not look for updates itself: they come with your system's package manager, "
                   "like the rest of your software."));
        connect(&m_settingsWindow->more(), &MoreSettingsView::checkForUpdatesRequested, this,
            &Application::checkForUpdates);
        connect(m_settingsWindow.get(), &SettingsWindow::quitRequested, this, &Application::quit);
        // A closed window is let go: it is opened seldom, and its widgets, pictures and
        // fonts are memory a tray utility should not keep for the rest of the session.
        connect(m_settingsWindow.get(), &SettingsWindow::closed, this, [this] {
            if (m_settingsWindow)
                m_settingsWindow.release()->deleteLater();
            // Pixmaps the style and the icons cached for it (up to 10 MB) are of no use now.
            QPixmapCache::clear();
        });
        connect(m_settingsWindow.get(), &SettingsWindow::editRequested, this,
            [this](const Screen& screen, const std::shared_ptr<Layout>& layout) {
                m_editors->showEditor(screen, layout);
            });
    }
    return *m_settingsWindow;
}

void Application::openSettings()
{
    SettingsWindow& window = settingsWindow();
    window.setQuitButtonVisible(!m_statusMenu->isReachable());
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    window.present(screen ? screen->availableGeometry() : QRect());
}

void Application::fillLayoutsMenu()
{
    QMenu* menu = m_statusMenu->layoutsMenu();
    menu->clear();
    const QList<Screen> screens = m_screens->screens();
    for (const Screen& screen : screens) {
        if (screens.size() > 1)
            menu->addSection(screen.name());
        const std::shared_ptr<Layout> active = m_layouts->activeFor(screen);
        int number = 0;
        for (const std::shared_ptr<Layout>& layout : m_layouts->layouts(screen)) {
            const bool isActive = active && active->id() == layout->id();
            QAction* item = menu->addAction(
                QIcon(LayoutsSettingsView::picture(*layout, QSize(48, 30), menu->palette(), isActive)),
                tr("Layout %1").arg(++number));
            item->setCheckable(true);
            item->setChecked(isActive);
            connect(
                item, &QAction::triggered, this, [this, screen, layout] { m_layouts->setActiveFor(screen, layout); });
        }
    }
}

void Application::applyLoginItem()
{
    const bool wanted = m_settings.value(Keys::launchAtLogin);
    QString error;
    if (!m_platform.loginItems().setEnabled(wanted, error))
        qCWarning(lcApp).noquote() << (wanted ? "Could not make Parqueta start at login:"
                                              : "Could not stop Parqueta "
                                                "starting at login:")
                                   << error << "- the choice is kept and tried again when it changes";
}

void Application::openEditorUnderPointer()
{
    const std::optional<Screen> screen = m_screens->screenWithMouse();
    if (!screen) {
        qCInfo(lcApp) << "No screen under the pointer to edit";
        return;
    }
    m_editors->showEditor(*screen, m_layouts->activeFor(*screen));
}

void Application::flashLayoutBorders(const std::shared_ptr<Layout>& layout)
{
    m_flasher->flash(layout);
}

void Application::showAbout()
{
    if (!m_about) {
        m_about = std::make_unique<AboutWindow>(
            AboutWindow::Details {m_options.versionText, m_settings.location(), Logging::logFilePath()});
        connect(m_about.get(), &AboutWindow::debugWindowRequested, this, &Application::openDebugWindow);
    }
    m_about->present();
}

UpdateDialog& Application::updateDialog()
{
    if (!m_updateDialog)
        m_updateDialog = std::make_unique<UpdateDialog>();
    return *m_updateDialog;
}

void Application::checkForUpdates()
{
    if (m_updater->showsItsOwnWindows()) {
        m_updater->checkForUpdates();
        return;
    }
    updateDialog().showChecking();
    updateDialog().present();
    m_updater->checkForUpdates();
}

void Application::handleUpdateCheck(const UpdateCheckResult& result)
{
    if (result.interactive) {
        updateDialog().showResult(result);
        return;
    }
    // A background check speaks only when there is something new; its failures are logged.
    if (result.kind != UpdateCheckResult::Kind::UpdateAvailable)
        return;
    m_noticeClicked = [this, result] {
        updateDialog().showResult(result);
        updateDialog().present();
    };
    m_statusMenu->notify(tr("An update is available"), result.message + tr(" Click for details."));
}

void Application::queueShortcutNotice(const QString& notice)
{
    m_pendingNotices.append(notice);
    if (m_pendingNotices.size() == 1)
        QTimer::singleShot(kNoticeDelayMs, this, &Application::flushShortcutNotices);
}

void Application::flushShortcutNotices()
{
    if (m_pendingNotices.isEmpty())
        return;
    m_noticeClicked = [this] {
        openSettings();
        settingsWindow().showTab(SettingsWindow::Tab::Shortcuts);
    };
    m_statusMenu->notify(tr("Some shortcuts are unavailable"), m_pendingNotices.join(QLatin1Char('\n')));
    m_pendingNotices.clear();
}

void Application::quit()
{
    shutDown();
    QCoreApplication::quit();
}

void Application::shutDown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    qCInfo(lcApp) << "Shutting down";
    // An editor open at quit keeps what was done in it.
    m_editors->closeAll();
    if (m_settingsWindow)
        m_settingsWindow->hide();
    // The debug window reads the engine; it goes before the engine does.
    m_debugWindow.reset();
    m_onboarding.reset();
    m_permissionWatcher.reset();
    m_permissionsWindow.reset();
    m_updateDialog.reset();
    m_zones->removeOverlayWindows();
    m_gestureMonitor->stopMonitoring();
    m_zoneMonitor->stopMonitoring();
    m_dragMonitor->stopMonitoring();
    m_zones->stopObserving();
    // Written now, while the windows can still be read.
    m_restorer->stop();
    m_overlays->setEngine(nullptr);
    // Key grabs are released when the shortcut service is destroyed with this object,
    // before main() closes the platform's connection.
    if (!m_settings.sync())
        qCWarning(lcApp) << "Settings could not be written on the way out";
}
