#pragma once

#include <QIcon>

// Parqueta's icon, drawn rather than shipped: a screen split into three zones, one of
// them lit. Sharp at every size the tray or a window asks for.
namespace AppIcon {
QIcon icon();
QPixmap pixmap(int size);
} // namespace AppIcon
