#include "core/Settings.h"

// The stored key names are the ones users' settings already carry: the "-v0" suffixes,
// the background colours' "custom...ZoneBackgroundColor" names and the misspelt
// "spanAdjancedZones" must stay exactly as they are.

namespace {

QColor accentColor()
{
    return Settings::systemAccentColor();
}

// The accent blended half-way toward white, every component including alpha.
QColor highlightColor()
{
    const QColor accent = Settings::systemAccentColor().toRgb();
    const auto halfwayToWhite = [](float component) { return component + (1.0f - component) * 0.5f; };
    return QColor::fromRgbF(halfwayToWhite(accent.redF()), halfwayToWhite(accent.greenF()),
        halfwayToWhite(accent.blueF()), halfwayToWhite(accent.alphaF()));
}

QColor lightBackgroundColor()
{
    return QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.5f);
}

QColor darkBackgroundColor()
{
    return QColor::fromRgbF(0.0f, 0.0f, 0.0f, 0.5f);
}

QColor lightTextColor()
{
    return QColor(Qt::black);
}

QColor darkTextColor()
{
    return QColor(Qt::white);
}

} // namespace

namespace Keys {
constinit const BoolKey firstRun {"firstRun", "firstRun", true};
constinit const BoolKey automaticUpdates {"automaticUpdates", "automaticUpdates", true};
constinit const BoolKey betaUpdates {"betaUpdates", "betaUpdates", false};
constinit const DoubleKey lastUpdateCheck {"lastUpdateCheck", "lastUpdateCheck", 0.0, 1e11};
constinit const BoolKey launchAtLogin {"launchAtLogin", "launchAtLogin", false};
constinit const BoolKey hideMenuBarIcon {"hideMenuBarIcon", "hideMenuBarIcon", false};
constinit const BoolKey restoreSizeOnUnsnap {"restoreSizeOnUnsnap", "restoreSizeOnUnsnap", true};
constinit const BoolKey spanAdjancedZones {"spanAdjancedZones", "spanAdjancedZones", true};
constinit const DoubleKey autoSpanDistance {"autoSpanDistance", "autoSpanDistance", 40.0};
constinit const BoolKey holdShiftToSnap {"holdShiftToSnap", "holdShiftToSnap", false};
constinit const BoolKey moveWindowsOnLayoutChange {"moveWindowsOnLayoutChange", "moveWindowsOnLayoutChange", true};
constinit const BoolKey shortcutsOnEveryScreen {"shortcutsOnEveryScreen", "shortcutsOnEveryScreen", false};
constinit const BoolKey restoreSnappedWindows {"restoreSnappedWindows", "restoreSnappedWindows", true};
constinit const BlobMapKey screens {"screens", "screens-v0"};
constinit const BlobMapKey layouts {"layouts", "layouts-v0"};
constinit const BlobMapKey activeLayouts {"activeLayouts", "activeLayouts-v0"};
constinit const BoolKey enableGaps {"enableGaps", "enableGaps", false};
constinit const DoubleKey gapSize {"gapSize", "gapSize", 10.0};
constinit const BoolKey useSystemAccentColor {"useSystemAccentColor", "useSystemAccentColor", true};
constinit const ColorKey customAccentColor {"customAccentColor", "customAccentColor", accentColor};
constinit const ColorKey zoneHighlightColor {"zoneHighlightColor", "zoneHighlightColor", highlightColor};
constinit const ColorKey zoneBackgroundLightColor {
    "zoneBackgroundLightColor", "customLightZoneBackgroundColor", lightBackgroundColor};
constinit const ColorKey zoneBackgroundDarkColor {
    "zoneBackgroundDarkColor", "customDarkZoneBackgroundColor", darkBackgroundColor};
constinit const ColorKey zoneTextLightColor {"zoneTextLightColor", "zoneTextLightColor", lightTextColor};
constinit const ColorKey zoneTextDarkColor {"zoneTextDarkColor", "zoneTextDarkColor", darkTextColor};
} // namespace Keys
