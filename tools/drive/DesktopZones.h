#pragma once

#include <QList>
#include <QRect>
#include <QRectF>
#include <QString>
#include <QStringList>

#include <optional>

// One zone of a screen's active layout, in desktop space.
struct DesktopZone
{
    QString screenId;
    // The monitor's name (LEFT, RIGHT on the virtual desktop).
    QString screenName;
    // "1", "2", ... in layout order.
    QString zoneId;
    // The zone's rectangle: where the pointer hits it.
    QRectF rect;
    // Where a window snapped into it goes (gaps applied), and the same in whole pixels
    // as the program rounds it when it moves a window.
    QRectF frameF;
    QRect frame;
};

// The zones the running program works with, computed by the program's own model code
// from a copy of the settings file it wrote: the stored screens, layouts and active
// layouts and the gap setting, against the displays the X server has now (monitors
// minus panels, as the program measures them). The program's file is only read.
//
//     const auto zones = DesktopZones::read();              // after ParquetaProcess::start()
//     ASSERT_TRUE(zones) << DesktopZones::lastError();
//     const DesktopZone right1 = *zones->zone("RIGHT", "1");
//     driver.dragTo(window, zones->dropPoint("RIGHT", "1"), ...);
//     EXPECT_EQ(frameOf(window), right1.frame);
class DesktopZones final
{
public:
    // settingsPath empty: ParquetaProcess::settingsPath(). Waits up to timeoutMs for the
    // file to hold a layout for every connected screen (the program writes it once its
    // start-up is complete). Nothing, with lastError() set, when that does not happen.
    static std::optional<DesktopZones> read(const QString& settingsPath = {}, int timeoutMs = 5000);
    static QString lastError();

    const QList<DesktopZone>& zones() const { return m_zones; }
    // Monitor names in the display server's order (primary first).
    QStringList screenNames() const;
    QList<DesktopZone> zonesOn(const QString& screenName) const;
    std::optional<DesktopZone> zone(const QString& screenName, const QString& zoneId) const;
    // The visible frame (monitor minus panels) of a screen in desktop space.
    std::optional<QRectF> visibleFrame(const QString& screenName) const;
    // The frame a window snapped over several zones of one screen takes (the union of
    // their gapped frames), rounded as the program rounds it.
    std::optional<QRect> unitedFrame(const QString& screenName, const QStringList& zoneIds) const;
    // A point well inside the zone, at least `margin` from its edges where it can be
    // (so that span-adjacent hit testing picks this zone alone): its centre shifted by
    // `offset` and clamped.
    QPoint dropPoint(const QString& screenName, const QString& zoneId, QPoint offset = {}, int margin = 60) const;
    // Gap in effect (0 while gaps are off).
    double gap() const { return m_gap; }
    // Hit-test square side of span-adjacent zones (0 when off).
    double spanDistance() const { return m_spanDistance; }

private:
    QList<DesktopZone> m_zones;
    QList<QPair<QString, QRectF>> m_visibleFrames;
    double m_gap = 0;
    double m_spanDistance = 0;
};
