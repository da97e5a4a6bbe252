#pragma once

#include <QObject>
#include <QString>

class QAction;
class QMenu;
class QSystemTrayIcon;
class Settings;

// The tray icon and its menu. Items whose feature is not built in yet are left out;
// the community item is hidden while no address was configured at build time.
class StatusMenu final : public QObject
{
    Q_OBJECT

public:
    StatusMenu(Settings& settings, QString communityUrl, QObject* parent = nullptr);
    ~StatusMenu() override;

    QMenu* menu() const { return m_menu; }
    // Whether the icon is in the tray now (the user may hide it; a desktop may have no tray).
    bool isIconVisible() const;
    // A passing message from the tray icon; logged as well, since not every desktop
    // shows tray messages.
    void notify(const QString& title, const QString& message);

Q_SIGNALS:
    void editorRequested();
    void aboutRequested();
    void quitRequested();

private:
    void applyIconVisibility();

    Settings& m_settings;
    QString m_communityUrl;
    QMenu* m_menu = nullptr;
    QSystemTrayIcon* m_tray = nullptr;
};
