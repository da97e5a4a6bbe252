#pragma once

#include <QWidget>

#include <memory>

class DesktopEffects;
class Layout;
class LayoutBordersView;
class ScreenManager;
class Settings;

// A half-second flash of a layout's borders over its screen, shown when the layout's own
// shortcut makes it active. Each flash is a window of its own that fades in for 0.2 s,
// fades out for 0.2 s and closes itself at 0.5 s; it never takes focus or clicks and
// stands above full-screen windows (override-redirect, like the zone overlay).
class LayoutBordersWindow final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kFadeMs = 200;
    static constexpr int kCloseAfterMs = 500;

    // Nothing when the layout's screen is not connected. The window deletes itself once
    // the flash is over.
    static LayoutBordersWindow* create(const std::shared_ptr<Layout>& layout, ScreenManager& screens,
        const Settings& settings, const DesktopEffects& effects);

    // Runs the flash once.
    void flash();
    LayoutBordersView& view() const { return *m_view; }

private:
    LayoutBordersWindow(const std::shared_ptr<Layout>& layout, const QRectF& visibleFrame, const Settings& settings,
        const DesktopEffects& effects);
    void resizeEvent(QResizeEvent* event) override;

    LayoutBordersView* m_view;
};
