#pragma once

#include <QColor>
#include <QObject>
#include <QString>

#include <optional>

class QAction;
class QMenu;
class QSystemTrayIcon;
class Settings;

// The tray icon and its menu: "Open layout editor…", the version, About, "Check for
// updates…", the community link (hidden while no address was configured at build time),
// the screens' layouts to switch between, Settings and Quit.
class StatusMenu final : public QObject
{
    Q_OBJECT

public:
    StatusMenu(Settings& settings, QString communityUrl, QObject* parent = nullptr);
    ~StatusMenu() override;

    QMenu* menu() const { return m_menu; }
    // Filled by whoever knows the layouts each time it is about to show.
    QMenu* layoutsMenu() const { return m_layouts; }
    // Without an update service (a build whose updates come from the package manager)
    // the item is hidden.
    void setUpdatesAvailable(bool available);
    // Whether the icon is in the tray now (the user may hide it; a desktop may have no tray).
    bool isIconVisible() const;
    // Whether the user can reach Parqueta through the tray: a tray runs and the icon is
    // not hidden.
    bool isReachable() const;
    // A passing message from the tray icon; logged as well, since not every desktop
    // shows tray messages.
    void notify(const QString& title, const QString& message);
    // The colour the panel paints its own icons in: the icon becomes a monochrome glyph
    // in that colour, like the icons beside it. Absent: the colour icon.
    void setPanelForeground(const std::optional<QColor>& foreground);

Q_SIGNALS:
    void editorRequested();
    void aboutRequested();
    void updateCheckRequested();
    void settingsRequested();
    void quitRequested();
    // The user clicked the last message shown by notify().
    void notificationClicked();

private:
    void applyIconVisibility();

    Settings& m_settings;
    QString m_communityUrl;
    QMenu* m_menu = nullptr;
    QMenu* m_layouts = nullptr;
    QAction* m_updates = nullptr;
    QSystemTrayIcon* m_tray = nullptr;
    std::optional<QColor> m_panelForeground;
};
