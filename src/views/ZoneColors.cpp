#include "views/ZoneColors.h"

#include "core/Settings.h"

#include <QPalette>

namespace ZoneColors {

QColor zoneBackground(const Settings& settings, bool dark)
{
    return settings.value(dark ? Keys::zoneBackgroundDarkColor : Keys::zoneBackgroundLightColor);
}

QColor zoneText(const Settings& settings, bool dark)
{
    return settings.value(dark ? Keys::zoneTextDarkColor : Keys::zoneTextLightColor);
}

QColor zoneHighlight(const Settings& settings)
{
    if (settings.value(Keys::useSystemAccentColor))
        return blended(Settings::systemAccentColor(), 0.5, Qt::white);
    return settings.value(Keys::zoneHighlightColor);
}

QColor borderAccent(const Settings& settings)
{
    if (settings.value(Keys::useSystemAccentColor))
        return Settings::systemAccentColor();
    return settings.value(Keys::customAccentColor);
}

QColor blended(const QColor& base, double fraction, const QColor& other)
{
    const QColor a = base.toRgb();
    const QColor b = other.toRgb();
    const auto mix = [fraction](float x, float y) { return x + (y - x) * static_cast<float>(fraction); };
    return QColor::fromRgbF(
        mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()), mix(a.blueF(), b.blueF()), mix(a.alphaF(), b.alphaF()));
}

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

} // namespace ZoneColors
