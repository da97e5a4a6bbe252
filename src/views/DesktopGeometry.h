#pragma once

#include <QRect>
#include <QRectF>

// Where a top-level window must go, in Qt's coordinates, to cover a rectangle given in
// desktop space (the window manager's pixels). With a device-pixel ratio of 1 the two
// are the same. Otherwise Qt keeps each screen's top-left corner where it is and divides
// the distances from it by the screen's ratio (Xft.dpi 192, QT_SCALE_FACTOR=2, 1.5...).
namespace DesktopGeometry {

QRect toLogical(const QRectF& desktopRect);

} // namespace DesktopGeometry
