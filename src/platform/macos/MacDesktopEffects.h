#pragma once

#include "platform/DesktopEffects.h"

// The window server composites every window, so overlays can always be translucent.
class MacDesktopEffects final : public DesktopEffects
{
    Q_OBJECT

public:
    using DesktopEffects::DesktopEffects;

    bool overlaysCanBeTranslucent() const override { return true; }
    // Qt's logical coordinates on macOS are points of desktop space already, so the
    // window stays where Qt put it. What this adds is the native window's standing: above
    // every other window, full-screen ones included, and in no Space of its own.
    void placeExactly(QWindow& window, const QRect& desktopRect) const override;
    // The menu-bar icon is a template image: drawn in black and marked as a mask, the menu
    // bar recolours it for light and dark bars and for the open menu.
    std::optional<QColor> trayForeground() const override { return QColor(Qt::black); }
};
