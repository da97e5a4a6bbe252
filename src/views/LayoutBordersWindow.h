#pragma once

#include <QWidget>

#include <memory>

class DesktopEffects;
class Layout;
class LayoutBordersView;
class ScreenManager;
class Settings;

// A half-second flash of a layout's borders over its screen, shown when the layout's own
// shortcut makes it active. Each flash fades in for 0.2 s, fades out for 0.2 s and closes
// at 0.5 s, on a window that is not flashing anything else (LayoutBordersFlasher keeps
// closed ones for the next flash); it never takes focus or clicks and stands above
// full-screen windows (override-redirect, like the zone overlay).
class LayoutBordersWindow final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kFadeMs = 200;
    static constexpr int kCloseAfterMs = 500;

    // Nothing when the layout's screen is not connected.
    static std::unique_ptr<LayoutBordersWindow> create(const std::shared_ptr<Layout>& layout, ScreenManager& screens,
        const Settings& settings, const DesktopEffects& effects);

    // Runs the flash once; the window is closed (hidden) at its end.
    void flash();
    bool isFlashing() const { return isVisible(); }
    void setLayout(const std::shared_ptr<Layout>& layout);
    LayoutBordersView& view() const { return *m_view; }
    // The visible frame it covers, in desktop space.
    const QRectF& desktopFrame() const { return m_desktopFrame; }

    LayoutBordersWindow(const std::shared_ptr<Layout>& layout, const QRectF& visibleFrame, const Settings& settings,
        const DesktopEffects& effects);

private:
    void resizeEvent(QResizeEvent* event) override;

    QRectF m_desktopFrame;
    const DesktopEffects& m_effects;
    LayoutBordersView* m_view;
};
