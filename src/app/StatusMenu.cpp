#include "app/StatusMenu.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "views/AppIcon.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QUrl>

StatusMenu::StatusMenu(Settings& settings, QString communityUrl, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_communityUrl(std::move(communityUrl))
{
    // The menu has no parent widget; this object owns it.
    m_menu = new QMenu();
    m_menu->setObjectName(QStringLiteral("statusMenu"));

    QAction* editor = m_menu->addAction(tr("Open layout editor…"));
    editor->setObjectName(QStringLiteral("openLayoutEditor"));
    connect(editor, &QAction::triggered, this, &StatusMenu::editorRequested);
    m_menu->addSeparator();

    QAction* version = m_menu->addAction(tr("Version %1").arg(QApplication::applicationVersion()));
    version->setEnabled(false); // shown in the secondary (disabled) style, does nothing

    QAction* about = m_menu->addAction(tr("About %1").arg(QApplication::applicationName()));
    connect(about, &QAction::triggered, this, &StatusMenu::aboutRequested);

    m_updates = m_menu->addAction(tr("Check for updates…"));
    m_updates->setObjectName(QStringLiteral("checkForUpdates"));
    connect(m_updates, &QAction::triggered, this, &StatusMenu::updateCheckRequested);
    setUpdatesAvailable(false);

    QAction* community = m_menu->addAction(tr("Join our community"));
    community->setVisible(!m_communityUrl.isEmpty());
    connect(community, &QAction::triggered, this, [this] { QDesktopServices::openUrl(QUrl(m_communityUrl)); });

    m_menu->addSeparator();
    m_layouts = m_menu->addMenu(tr("Layouts"));
    m_layouts->setObjectName(QStringLiteral("layoutsMenu"));
    QAction* settingsItem = m_menu->addAction(tr("Settings…"));
    settingsItem->setObjectName(QStringLiteral("settings"));
    // Shown in the menu as the desktop writes it (Ctrl+, here, Command-comma on a Mac).
    settingsItem->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    connect(settingsItem, &QAction::triggered, this, &StatusMenu::settingsRequested);
    QAction* quit = m_menu->addAction(tr("Quit"));
    connect(quit, &QAction::triggered, this, &StatusMenu::quitRequested);

    m_tray = new QSystemTrayIcon(AppIcon::icon(), this);
    m_tray->setToolTip(QApplication::applicationName());
    m_tray->setContextMenu(m_menu);
    // A left click opens the same menu: there is no main window to show.
    connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            m_menu->popup(QCursor::pos());
    });
    connect(m_tray, &QSystemTrayIcon::messageClicked, this, &StatusMenu::notificationClicked);
    connect(&m_settings, &Settings::changed, this, [this](const QString& name) {
        if (name == QLatin1String(Keys::hideMenuBarIcon.name))
            applyIconVisibility();
    });
    applyIconVisibility();
}

StatusMenu::~StatusMenu()
{
    delete m_menu;
}

void StatusMenu::setPanelForeground(const std::optional<QColor>& foreground)
{
    if (foreground == m_panelForeground)
        return;
    m_panelForeground = foreground;
    // A glyph guessed against the wrong background would vanish into the panel: the
    // colour icon reads on any panel that does not say what it looks like.
    m_tray->setIcon(foreground ? AppIcon::trayIcon(*foreground) : AppIcon::icon());
}

bool StatusMenu::isIconVisible() const
{
    return m_tray->isVisible();
}

bool StatusMenu::isReachable() const
{
    return m_tray->isVisible() && QSystemTrayIcon::isSystemTrayAvailable();
}

void StatusMenu::notify(const QString& title, const QString& message)
{
    qCInfo(lcApp).noquote() << title << "-" << message;
    if (m_tray->isVisible())
        m_tray->showMessage(title, message, QSystemTrayIcon::Warning, 10000);
}

void StatusMenu::applyIconVisibility()
{
    const bool hidden = m_settings.value(Keys::hideMenuBarIcon);
    if (!hidden && !QSystemTrayIcon::isSystemTrayAvailable())
        qCInfo(lcApp) << "No system tray on this desktop yet; the icon appears when one starts";
    m_tray->setVisible(!hidden);
}

void StatusMenu::setUpdatesAvailable(bool available)
{
    m_updates->setVisible(available);
}
