#include "platform/DesktopEffects.h"

DesktopEffects::~DesktopEffects() = default;

void DesktopEffects::placeExactly(QWindow&, const QRect&) const
{ }

std::optional<QColor> DesktopEffects::trayForeground() const
{
    return std::nullopt;
}
