#pragma once

#include "models/Screen.h"

#include <QRegion>
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
// model follows the zone gesture while the window is on the screen (see appear()).
class ZonesWindow final : public QWidget
{
    Q_OBJECT

public:
    // frame: the screen's visible frame in desktop space. The window owns the view model.
    ZonesWindow(std::unique_ptr<ZonesViewModel> viewModel, const QRect& frame, const Settings& settings,
        const DesktopEffects& effects, QWidget* parent = nullptr);
    ~ZonesWindow() override;

    static constexpr int kFadeInMs = 300;
    // Up to this many rectangles the shape also clips painting (see updateMask()):
    // measured between 8 zones (about 2 200) and 16 (about 4 400).
    static constexpr int kMostRectanglesToClipPaintingTo = 3000;

    ZonesViewModel& viewModel() const { return *m_viewModel; }
    ZonesView& view() const { return *m_view; }
    const Screen& screen() const;
    const std::shared_ptr<Layout>& layout() const;
    // The visible frame it was placed over, in desktop space.
    const QRect& desktopFrame() const { return m_desktopFrame; }

    // Shows the window, or brings a parked one back; either way the view model follows
    // the gesture and the fade-in starts over.
    void appear();
    // Takes the window off the screen. While a compositor blends it, a translucent
    // window is only parked: it stays mapped, fully transparent and click-through. Mapping
    // it again would make the X server allocate the window's pixmap anew and fill it
    // from the screen, which is most of the time it takes to appear with a compositor.
    void disappear();
    bool isParked() const { return m_parked; }
    // Gets a window that was never shown ready to appear at once: its native window,
    // its shape and a filled backing store are made now. With a compositor it is parked
    // (mapped and invisible), as a kept window is; without one it stays unmapped.
    void prepare();
    // On the screen for the user: shown and not parked.
    bool isShowing() const { return isVisible() && !m_parked; }
    // The window's shape in its own coordinates; empty when it is not shaped or has not
    // been shown yet.
    const QRegion& shape() const { return m_shape; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // Whether the window can wait mapped and invisible (see disappear()).
    bool canPark() const;
    // Out of sight by its opacity and its pixels, while it stays mapped.
    void park();
    void setTranslucent(bool translucent);
    void updateMask();
    void startShowing();
    void stopShowing();

    QRect m_desktopFrame;
    const DesktopEffects& m_effects;
    ZonesViewModel* m_viewModel; // child QObject
    ZonesView* m_view;
    QPropertyAnimation* m_fadeIn;
    bool m_parked = false;
    QRegion m_shape;
};
