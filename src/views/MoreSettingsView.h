#pragma once

#include <QWidget>

class QPushButton;
class SettingsBinder;

// The More tab: the update controls and the version of this build.
class MoreSettingsView final : public QWidget
{
    Q_OBJECT

public:
    // versionText: "0.1.0 (57)", with "-beta" for a pre-release build.
    MoreSettingsView(SettingsBinder& binder, const QString& versionText, QWidget* parent = nullptr);

    // Without an update service the controls are hidden, and note says where updates
    // come from instead.
    void setUpdatesAvailable(bool available, const QString& note = {});

Q_SIGNALS:
    void checkForUpdatesRequested();

private:
    QWidget* m_updates;
    class QLabel* m_note;
};
