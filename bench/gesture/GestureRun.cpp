#include "GestureRun.h"

#include "VirtualDesktop.h"
#include "app/Application.h"
#include "managers/ScreenManager.h"
#include "managers/ZoneManager.h"
#include "views/ZonesWindow.h"

#include <QApplication>
#include <QWidget>

QString screenOf(const QWidget* view)
{
    const auto* window = qobject_cast<const ZonesWindow*>(view->window());
    return window ? window->screen().name() : QString();
}

QList<ZonesWindow*> visibleOverlays()
{
    QList<ZonesWindow*> result;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = qobject_cast<ZonesWindow*>(widget); window && window->isShowing())
            result.append(window);
    }
    return result;
}

GestureRun::GestureRun(const Options& options, VirtualDesktop& desktop, Bench::PaintClock& qtApp, xcb_window_t client,
    QMargins extents, Application& application, Settings& settings, GlobalInput& input)
    : reps(options.reps)
    , rate(options.rate)
    , seconds(options.seconds)
    , compositor(options.compositor)
    , depth(options.depth)
    , shiftAfterMs(options.shiftAfterMs)
    , sections(options.sections)
    , picture(options.picture)
    , desktop(desktop)
    , qtApp(qtApp)
    , client(client)
    , extents(extents)
    , application(application)
    , settings(settings)
    , input(input)
    , screens(application.screenManager())
    , zones(application.zoneManager())
{ }

void GestureRun::pump(int ms)
{
    Bench::runUntil([] { return false; }, ms);
}

void GestureRun::beginDrag(bool back)
{
    const QRect c = *desktop.clientGeometry(client);
    const QPoint grip(c.center().x(), c.top() - extents.top() / 2);
    xtest.moveTo(grip.x(), grip.y());
    pump(20);
    xtest.press(1);
    pump(20);
    for (int i = 1; i <= 6; ++i) {
        xtest.moveBy(back ? -8 : 8, back ? -4 : 4);
        pump(8);
    }
}

bool GestureRun::zoneModeOff()
{
    xtest.keyUp(kShift);
    pump(20);
    xtest.keyDown(kShift);
    const bool off = Bench::runUntil([&] { return !zones.hasOverlays(); }, 2000);
    xtest.keyUp(kShift);
    return off;
}

int GestureRun::zoneOnPath(int x) const
{
    for (size_t i = 0; i < targets.size(); ++i) {
        if (targets[i].rect.contains(QPointF(x + 0.5, start.y() + 0.5)))
            return int(i);
    }
    return -1;
}
