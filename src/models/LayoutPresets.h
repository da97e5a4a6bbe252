#pragma once

#include "models/DefaultLayoutType.h"
#include "models/Layout.h"
#include "models/Screen.h"
#include "models/ScreenGeometry.h"

#include <memory>

// A new layout (fresh id, screen set) over the screen's visible frame, cut as the preset
// says; a screen that is not connected gets a 0 × 0 root, cut by the same clamps.
//   vertical:     two halves.
//   rightT:       a wide left zone (0.667) and a right column cut in two.
//   doubleRightT: left (0.4), middle (0.6 of the rest) and a right column cut in two.
std::shared_ptr<Layout> defaultLayout(DefaultLayoutType type, const Screen& screen, const ScreenGeometry& screens);
