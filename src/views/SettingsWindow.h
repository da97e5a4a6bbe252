#pragma once

#include "models/Layout.h"
#include "models/Screen.h"

#include <QWidget>

#include <functional>
#include <memory>

class GlobalShortcuts;
class LayoutManager;
class LayoutsViewModel;
class MoreSettingsView;
class QPushButton;
class QTabWidget;
class ScreenManager;
class Settings;
class SettingsBinder;
class WindowManager;

// The settings window: the tabs General, Layouts, Shortcuts and More. Every control
// writes its key at once; there is no Apply. Closing only hides it.
class SettingsWindow final : public QWidget
{
    Q_OBJECT

public:
    enum class Tab { General = 0, Layouts = 1, Shortcuts = 2, More = 3 };

    struct Services
    {
        Settings& settings;
        LayoutManager& layouts;
        ScreenManager& screens;
        // Names the window picked for the applications never snapped.
        WindowManager& windows;
        // The shortcut control of a named global shortcut.
        std::function<QWidget*(const QString& shortcutName, QWidget* parent)> recorderFor;
        // "0.1.0 (57)", "-beta" added for a pre-release build.
        QString versionText;
        // Where this desktop keeps Parqueta for the user to open it again.
        QString reopenPlace;
    };

    explicit SettingsWindow(const Services& services, QWidget* parent = nullptr);
    ~SettingsWindow() override;

    void showTab(Tab tab);
    Tab currentTab() const;
    // Shows the window in front, focused, centred on area (Qt coordinates of a screen).
    void present(const QRect& area);
    // Without a tray icon this window is the only way to quit.
    void setQuitButtonVisible(bool visible);

    LayoutsViewModel& layoutsModel() const { return *m_layoutsModel; }
    MoreSettingsView& more() const { return *m_more; }

Q_SIGNALS:
    void quitRequested();
    // The user closed the window (it is only hidden; its owner may let it go).
    void closed();
    void editRequested(const Screen& screen, const std::shared_ptr<Layout>& layout);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<SettingsBinder> m_binder;
    LayoutsViewModel* m_layoutsModel;
    QTabWidget* m_tabs;
    MoreSettingsView* m_more;
    QPushButton* m_quit;
};
