#pragma once

#include "models/Screen.h"

#include <QRectF>

#include <optional>

// What the model needs to know about a screen's display: its visible frame (desktop
// space), or nothing when the display is not connected at that size. Implemented by
// ScreenManager; tests supply fixed answers.
class ScreenGeometry
{
public:
    virtual ~ScreenGeometry() = default;
    virtual std::optional<QRectF> visibleFrameOf(const Screen& screen) const = 0;
};
