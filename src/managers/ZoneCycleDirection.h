#pragma once

#include <QDebug>

// up = next and down = previous when cycling the windows of one zone; left and right
// move or span a window between zones.
enum class ZoneCycleDirection {
    up = 0,
    down = 1,
    left = 2,
    right = 3,
};

QDebug operator<<(QDebug debug, ZoneCycleDirection direction);
