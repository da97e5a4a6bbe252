#pragma once

// The preset layouts, in the order they are installed for every screen; the value is
// also the preset's index in a screen's freshly installed layout list.
enum class DefaultLayoutType { vertical = 0, rightT = 1, doubleRightT = 2 };
