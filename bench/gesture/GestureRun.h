#pragma once

// What bench_gesture's sections share: the command line, the desktop with the client
// dragged by its title bar, the application under test, the zones the drag crosses and
// the probe around the application's own handling of every motion event. main() sets it
// up once and the sections take turns on it, each starting where the one before left off.
#include "BenchSupport.h"
#include "XTestInput.h"
#include "models/Screen.h"

#include <QByteArray>
#include <QList>
#include <QMargins>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

class Application;
class GlobalInput;
class QWidget;
class ScreenManager;
class Settings;
class VirtualDesktop;
class ZoneManager;
class ZonesWindow;

namespace Bench {
class PaintClock;
} // namespace Bench

constexpr uint32_t kShift = 0xffe1;

struct ZoneTarget
{
    QPointF center; // desktop space
    QRect frame; // where a window snapped into it goes, desktop space
    QRectF rect; // the zone itself, desktop space
};

QString screenOf(const QWidget* view);
QList<ZonesWindow*> visibleOverlays();

class GestureRun final
{
public:
    struct Options
    {
        int reps = 0, rate = 0, seconds = 0;
        CompositorKind compositor {};
        int depth = 0, shiftAfterMs = 0;
        QByteArray sections;
        QString picture;
    };

    GestureRun(const Options& options, VirtualDesktop& desktop, Bench::PaintClock& qtApp, xcb_window_t client,
        QMargins extents, Application& application, Settings& settings, GlobalInput& input);
    GestureRun(const GestureRun&) = delete;
    GestureRun& operator=(const GestureRun&) = delete;

    static void pump(int ms);
    // Presses the title bar of the client and moves it a little: the drag is on. back:
    // the other way, so that drag after drag the client stays where it is.
    void beginDrag(bool back = false);
    // With Shift held since zone mode came on: released, pressed again to switch zone mode
    // off, released. False when the overlays did not go.
    bool zoneModeOff();
    // The zone under the path at this x, -1 in a gap.
    int zoneOnPath(int x) const;

    const int reps, rate, seconds;
    const CompositorKind compositor;
    const int depth, shiftAfterMs;
    const QByteArray sections;
    const QString picture;

    VirtualDesktop& desktop;
    Bench::PaintClock& qtApp;
    const xcb_window_t client;
    const QMargins extents;
    Application& application;
    Settings& settings;
    GlobalInput& input;
    ScreenManager& screens;
    ZoneManager& zones;
    XTestInput xtest;

    // Known once the application has started and the layouts are in place.
    std::optional<Screen> left;
    std::vector<ZoneTarget> targets;
    QPoint start;
    int screenCount = 0;

    Bench::Clock::time_point motionArrived;
    std::vector<double> motionUs;
    bool recordMotion = false;
    Bench::Clock::time_point shiftSeen;
};
