#pragma once

#include <QObject>

#include <functional>
#include <vector>

class QAbstractButton;
class QWidget;
class Settings;
template <typename T> struct SettingKey;
using BoolKey = SettingKey<bool>;

// Keeps controls of the settings window and their keys in step both ways: a control
// writes its key the moment it changes (there is no Apply), and a key changed elsewhere
// (the tray, another program editing the file) shows in its control at once.
class SettingsBinder final : public QObject
{
    Q_OBJECT

public:
    explicit SettingsBinder(Settings& settings, QObject* parent = nullptr);

    Settings& settings() const { return m_settings; }

    // A checkable button (check box, switch) over a boolean key.
    void bind(QAbstractButton* toggle, const BoolKey& key);
    // Shows widget only while key is on (the adjusters under their toggles).
    void showWhile(QWidget* widget, const BoolKey& key);
    // Calls refresh now and whenever the key called name changes.
    void follow(const char* name, std::function<void()> refresh);

private:
    Settings& m_settings;
    std::vector<std::pair<QString, std::function<void()>>> m_refreshers;
};
