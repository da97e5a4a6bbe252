#pragma once

#include <QWidget>

#include <functional>

class SettingsBinder;

// The Shortcuts tab: the zone toggle's behaviour, the six window shortcuts, and whether
// moving and spanning work on every screen.
class ShortcutsSettingsView final : public QWidget
{
    Q_OBJECT

public:
    using RecorderFactory = std::function<QWidget*(const QString& shortcutName, QWidget* parent)>;
    ShortcutsSettingsView(SettingsBinder& binder, const RecorderFactory& recorderFor, QWidget* parent = nullptr);
};
