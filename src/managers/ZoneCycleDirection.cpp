#include "managers/ZoneCycleDirection.h"

QDebug operator<<(QDebug debug, ZoneCycleDirection direction)
{
    const QDebugStateSaver saver(debug);
    debug.nospace();
    switch (direction) {
    case ZoneCycleDirection::up:
        return debug << "up";
    case ZoneCycleDirection::down:
        return debug << "down";
    case ZoneCycleDirection::left:
        return debug << "left";
    case ZoneCycleDirection::right:
        return debug << "right";
    }
    // A value cast from an integer outside the enumeration.
    return debug << "ZoneCycleDirection(" << static_cast<int>(direction) << ')';
}
