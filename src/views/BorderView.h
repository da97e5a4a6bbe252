#pragma once

#include "models/SplitBorder.h"

#include <QColor>

class QPainter;

// One split border drawn in the accent colour: in the zone editor and in the flash that
// shows a layout's borders.
struct BorderView
{
    SplitBorder border;
    QColor color;

    // rect: the border's band in the painter's coordinates; never thinner than 2 pixels,
    // so a border stays visible on a scaled-down canvas.
    void paint(QPainter& painter, const QRectF& rect) const;
};
