#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <vector>

class DesktopEffects;
class Layout;
class LayoutBordersWindow;
class ScreenManager;
class Settings;

// Shows the borders flash of a layout. A flash's first frame is mostly the cost of a new
// full-screen backing store, so a closed flash window is kept for the next flash on the
// same screen; one still flashing is never taken, so two flashes in quick succession are
// two windows on their own timelines. Kept windows go after keepMs without a flash.
class LayoutBordersFlasher final : public QObject
{
    Q_OBJECT

public:
    static constexpr int kKeepMs = 10000;

    LayoutBordersFlasher(
        ScreenManager& screens, const Settings& settings, const DesktopEffects& effects, int keepMs = kKeepMs);
    ~LayoutBordersFlasher() override;

    // The window that flashes; nothing when the layout's screen is not connected.
    LayoutBordersWindow* flash(const std::shared_ptr<Layout>& layout);
    int windowCount() const;

private:
    void dropIdle();

    ScreenManager& m_screens;
    const Settings& m_settings;
    const DesktopEffects& m_effects;
    std::vector<std::unique_ptr<LayoutBordersWindow>> m_windows;
    QTimer m_dropTimer;
};
