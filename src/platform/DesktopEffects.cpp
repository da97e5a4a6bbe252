#include "platform/DesktopEffects.h"

DesktopEffects::~DesktopEffects() = default;

void DesktopEffects::placeExactly(QWindow&, const QRect&) const
{ }
