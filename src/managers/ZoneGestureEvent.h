#pragma once

#include "managers/WindowDragEvent.h"

#include <optional>

// What switched zone mode on during the current drag.
enum class ToggleDevice {
    none = 0,
    mouse = 1,
    keyboard = 2,
};

// Handed to zone gesture observers.
struct ZoneGestureEvent
{
    // Whether the multi-zone modifier (Option on macOS, Alt on Linux) is held.
    bool isMultiZone = false;
    // The drag the gesture concerns; absent when zone mode ends because the toggle was
    // released or switched off rather than because the drag ended.
    std::optional<WindowDragEvent> dragEvent;
};
