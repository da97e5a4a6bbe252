#pragma once

#include "models/SplitLine.h"

#include <QColor>
#include <QRectF>

class QPainter;

// The preview of a split: the split line's rectangle, filled.
struct LineView
{
    SplitLine line;
    QColor color;

    // The line's rectangle with its corner where the canvas places it: SplitLine keeps
    // the centre in x and y.
    static QRectF placed(const SplitLine& line);
    void paint(QPainter& painter, const QRectF& rect) const;
};
