#pragma once

#include <QColor>

class QPalette;
class Settings;

// The overlay's colours. Each is read from the settings at every call, so a colour
// changed in the settings window shows at the next paint.
namespace ZoneColors {

// The colours of the dark appearance apply when dark is set, the light ones otherwise.
QColor zoneBackground(const Settings& settings, bool dark);
QColor zoneText(const Settings& settings, bool dark);
// The system accent blended half-way with white while the system accent is in use,
// otherwise the stored highlight colour as it is.
QColor zoneHighlight(const Settings& settings);
// The system accent, or the custom accent while the system one is switched off.
QColor borderAccent(const Settings& settings);

// Moves each channel of base (alpha included) the fraction of the way towards other:
// 0 gives base, 1 gives other.
QColor blended(const QColor& base, double fraction, const QColor& other);

// Desktops have no explicit light/dark switch before Qt 6.5: a palette counts as dark
// when its window colour is darker than mid-grey.
bool isDark(const QPalette& palette);

} // namespace ZoneColors
