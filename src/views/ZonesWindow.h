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
    // Above this many rectangles in its shape a window leaves by its whole frame (see
    // updateMask()): uncovering the shape itself would cost the server more than
    // repainting everything beneath.
    static constexpr int kMostRectanglesToUncover = 1000;

    ZonesViewModel& viewModel() const { return *m_viewModel; }
    ZonesView& view() const { return *m_view; }
    const Screen& screen() const;
    const std::shared_ptr<Layout>& layout() const;
    // The visible frame it was placed over, in desktop space.
    const QRect& desktopFrame() const { return m_desktopFrame; }

    // Shows the window, or brings a parked one back; either way the view model follows
    // the gesture and the fade-in starts over.
    void appear();
    // Takes the window off the screen without unmapping it (parks it): where a
    // compositor blends it, it goes fully transparent; where none does, it keeps its
    // pixels and takes a shape that leaves nothing of it on the screen. Mapping a window
    // again costs the X server a new pixmap filled from the screen with a compositor, and
    // Qt a full repaint without one; a parked window comes back with neither.
    void disappear();
    bool isParked() const { return m_parking != Parking::None; }
    // Gets a window that was never shown ready to appear at once: its native window,
    // its shape and a filled backing store are made now, and it is mapped parked.
    void prepare();
    // On the screen for the user: shown and not parked.
    bool isShowing() const { return isVisible() && m_parking == Parking::None; }
    // The window's shape in its own coordinates; empty when it is not shaped or has not
    // been shown yet.
    const QRegion& shape() const { return m_shape; }

Q_SIGNALS:
    // Back from parking with the pixels it kept aside, sent at once rather than painted.
    void cameBackWithKeptPixels();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Out of sight while it stays mapped: by its opacity and its pixels where a
    // compositor blends it, by its shape where none does.
    void park();
    void setTranslucent(bool translucent);
    void updateMask();
    void keepPixelsAsideWhenIdle();
    void keepPixelsAside();
    void startShowing();
    void stopShowing();

    QRect m_desktopFrame;
    const DesktopEffects& m_effects;
    ZonesViewModel* m_viewModel; // child QObject
    ZonesView* m_view;
    QPropertyAnimation* m_fadeIn;
    enum class Parking { None, ByOpacity, ByShape };
    Parking m_parking = Parking::None;
    QRegion m_shape;
    // Parked by its opacity, blank on the server, while the backing store holds the
    // zones as they were drawn last (see keepPixelsAside()).
    bool m_pixelsAside = false;
};
