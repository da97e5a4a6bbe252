#pragma once

#include "core/Settings.h"

#include <QWidget>

class QVBoxLayout;
class SettingsBinder;
class WindowManager;

// The General tab: behaviour switches, the two adjusters under their switches, the
// applications never snapped, and the accent, highlight, text and background colours.
class GeneralSettingsView final : public QWidget
{
    Q_OBJECT

public:
    // reopenPlace: where this desktop keeps Parqueta for the user to open it again
    // ("the application menu"), for the hint under "Hide menubar icon"; windows names the
    // window picked for the list of applications never snapped.
    GeneralSettingsView(
        SettingsBinder& binder, WindowManager& windows, const QString& reopenPlace, QWidget* parent = nullptr);

private:
    QWidget* toggle(const QString& label, const BoolKey& key, const QString& description = {});

    SettingsBinder& m_binder;
    QVBoxLayout* m_layout;
};
