#pragma once

#include <QObject>

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

Q_SIGNALS:
    // A compositing manager started or stopped.
    void overlaysCanBeTranslucentChanged(bool translucent);
};
