#pragma once

#include <QRectF>

// The editor's preview of where a click would split a zone.
struct SplitLine
{
    QRectF rect;
};
