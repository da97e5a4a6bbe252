#pragma once

#include <QWidget>

#include <memory>

class DesktopEffects;
class QPropertyAnimation;
class ScreenManager;
class Settings;
class ZoneEditorView;
class ZoneEditorViewModel;

// The borderless window an open zone editor lives in: exactly over its screen's visible
// frame (panels and docks stay uncovered), above every other window including full-screen
// ones, with the keyboard while it is open, and never in a task bar or window switcher.
//
// On X11 that is an override-redirect window (no window manager decides where it goes or
// whether it stays on top) that takes the input focus itself when shown; the window
// managers we run leave such a focus alone. Clicks reach it like any window.
class ZoneEditorWindow final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kFadeInMs = 300;

    // Null when the view model's screen has no connected display.
    static std::unique_ptr<ZoneEditorWindow> create(ZoneEditorViewModel& viewModel, ScreenManager& screens,
        const Settings& settings, const DesktopEffects& effects);
    ZoneEditorWindow(ZoneEditorViewModel& viewModel, const QRectF& visibleFrame, const Settings& settings,
        const DesktopEffects& effects);
    ~ZoneEditorWindow() override;

    ZoneEditorViewModel& viewModel() const { return m_viewModel; }
    ZoneEditorView& view() const { return *m_view; }

    // Fades in, raises and takes the keyboard.
    void present();
    // Follows a change of the screen's visible frame (a panel came or went).
    void place(const QRectF& visibleFrame);

Q_SIGNALS:
    // Every close, whatever caused it.
    void closing(ZoneEditorWindow* window);

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeNatively();

    ZoneEditorViewModel& m_viewModel;
    const DesktopEffects& m_effects;
    QRect m_desktopFrame;
    ZoneEditorView* m_view;
    QPropertyAnimation* m_fadeIn;
};
