#include "platform/DesktopEffects.h"

DesktopEffects::~DesktopEffects() = default;
