#pragma once

#include <QColor>
#include <QObject>
#include <QRect>

#include <optional>

class QWindow;

// What the desktop can do with Parqueta's own overlay windows. A translucent window only
// shows what lies beneath while a compositing manager runs; without one its transparent
// pixels come out black, so the overlays must then draw opaquely and shape themselves.
class DesktopEffects : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~DesktopEffects() override;

    virtual bool overlaysCanBeTranslucent() const = 0;

    // Qt places top-level windows in logical pixels, which at a device-pixel ratio other
    // than 1 cannot express every physical pixel (an odd one at 2, most at 1.25 or 1.5).
    // This puts one of Parqueta's own shown windows exactly on a rectangle of desktop
    // space. Nothing to do where Qt's coordinates are the desktop's.
    virtual void placeExactly(QWindow& window, const QRect& desktopRect) const;

    // The foreground colour the tray host paints its own icons in, where it says so:
    // light on a dark panel, dark on a light one. Absent when the host keeps it to itself.
    virtual std::optional<QColor> trayForeground() const;

Q_SIGNALS:
    // A compositing manager started or stopped.
    void overlaysCanBeTranslucentChanged(bool translucent);
    // Another tray host took over, or the host switched between light and dark.
    void trayForegroundChanged();
};
