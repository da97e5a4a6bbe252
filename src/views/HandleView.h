#pragma once

#include "models/SplitType.h"

#include <QColor>
#include <QRectF>

class QPainter;

// The drag handle on a border: a pill in the accent colour holding a row of small white
// capsules, laid out along the border (a column on a vertical border, a row on a
// horizontal one); lighter while the pointer is over it.
struct HandleView
{
    SplitType direction = SplitType::vertical;
    bool highlighted = false;
    bool focused = false;
    QColor color;

    QColor highlightColor() const;
    // The handle's extent centred on a border's centre, in canvas pixels.
    static QRectF rectAt(QPointF centre, SplitType direction);
    void paint(QPainter& painter, const QRectF& rect) const;
};
