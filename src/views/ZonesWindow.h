#pragma once

#include "models/Screen.h"

#include <QWidget>

#include <memory>

class DesktopEffects;
class Layout;
class QPropertyAnimation;
class Settings;
class ZonesView;
class ZonesViewModel;

// The borderless, click-through window that shows one screen's zones over exactly its
// visible frame. It never takes focus or input, so the drag of another application's
// window goes on underneath. It hosts the view, places itself and fades in; the view
// model follows the zone gesture while the window is shown.
class ZonesWindow final : public QWidget
{
    Q_OBJECT

public:
    // frame: the screen's visible frame in desktop space. The window owns the view model.
    ZonesWindow(std::unique_ptr<ZonesViewModel> viewModel, const QRect& frame, const Settings& settings,
        const DesktopEffects& effects, QWidget* parent = nullptr);
    ~ZonesWindow() override;

    static constexpr int kFadeInMs = 300;

    ZonesViewModel& viewModel() const { return *m_viewModel; }
    ZonesView& view() const { return *m_view; }
    const Screen& screen() const;
    const std::shared_ptr<Layout>& layout() const;
    // The visible frame it was placed over, in desktop space.
    const QRect& desktopFrame() const { return m_desktopFrame; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void setTranslucent(bool translucent);
    void updateMask();

    QRect m_desktopFrame;
    const DesktopEffects& m_effects;
    ZonesViewModel* m_viewModel; // child QObject
    ZonesView* m_view;
    QPropertyAnimation* m_fadeIn;
};
