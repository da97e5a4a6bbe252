#include "GestureRun.h"
#include "PaintClock.h"
#include "Sections.h"
#include "ServerFloor.h"
#include "VirtualDesktop.h"
#include "managers/ZoneManager.h"
#include "views/ZonesWindow.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSet>

#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using Bench::Clock;

// --- Overlay ------------------------------------------------------------------------
// fresh: every repetition is a drag of its own, Shift pressed shiftAfter ms after it
// began; released: the windows kept from the repetition before are deleted first, as
// the factory does 10 s after a gesture: the overlay a gesture after a pause gets.
void measureOverlays(GestureRun& run, bool fresh, int shiftAfter, bool released)
{
    std::vector<double> overlayUs, shiftSeenUs, shownUs, exposedUs, offUs;
    if (!fresh)
        run.beginDrag();
    int missed = 0;
    for (int i = 0; i < run.reps; ++i) {
        if (fresh) {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                auto* window = qobject_cast<ZonesWindow*>(widget);
                if (released && window && !window->isShowing())
                    delete window;
            }
            run.pump(20);
            run.beginDrag(i % 2 == 1);
            run.pump(shiftAfter);
        }
        QSet<QString> painted;
        Clock::time_point last;
        run.qtApp.onPainted = [&](QWidget* view, Clock::time_point at) {
            painted.insert(screenOf(view));
            last = at;
        };
        // A window parked with its pixels kept aside sends them without a paint.
        QList<QMetaObject::Connection> returns;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* window = qobject_cast<ZonesWindow*>(widget))
                returns << QObject::connect(window, &ZonesWindow::cameBackWithKeptPixels, window,
                    [&run, window] { run.qtApp.countAsPainted(window); });
        }
        const Clock::time_point t0 = Clock::now();
        run.xtest.keyDown(kShift);
        if (Bench::runUntil([&] { return painted.size() >= run.screenCount; }, 2000)) {
            overlayUs.push_back(Bench::microseconds(t0, last));
            shiftSeenUs.push_back(Bench::microseconds(t0, run.shiftSeen));
            // A parked window comes back without being mapped or exposed.
            if (run.qtApp.lastShown > t0)
                shownUs.push_back(Bench::microseconds(t0, run.qtApp.lastShown));
            if (run.qtApp.lastExposed > t0)
                exposedUs.push_back(Bench::microseconds(t0, run.qtApp.lastExposed));
        } else
            ++missed;
        run.qtApp.onPainted = nullptr;
        for (const QMetaObject::Connection& connection : returns)
            QObject::disconnect(connection);
        run.xtest.keyUp(kShift);
        run.pump(5);
        // A second press switches zone mode off again. The round trip after it returns
        // once the server has dealt with the overlays leaving: what that uncovers is
        // repainted before anyone else is answered.
        const Clock::time_point off = Clock::now();
        run.xtest.keyDown(kShift);
        if (Bench::runUntil([&] { return !run.zones.hasOverlays(); }, 2000)) {
            Bench::PaintClock::syncWithServer();
            offUs.push_back(Bench::microseconds(off, Clock::now()));
        }
        run.xtest.keyUp(kShift);
        run.pump(10);
        if (fresh) {
            run.xtest.release(1);
            run.pump(30);
        }
    }
    if (!fresh) {
        run.xtest.release(1);
        run.pump(200);
    }
    if (fresh)
        std::printf("\nOverlay %s, Shift pressed %d ms after a title-bar drag began -> overlays of all %d "
                    "screens painted:\n",
            released ? "after a pause (the kept windows released first)" : "of a new drag, windows kept", shiftAfter,
            run.screenCount);
    else
        std::printf("\nOverlay: Shift pressed during a title-bar drag -> overlays of all %d screens painted:\n",
            run.screenCount);
    Bench::print("overlay latency", Bench::stats(overlayUs), true);
    std::printf("  stages, from the key press:\n");
    Bench::print("  Shift seen by the application", Bench::stats(shiftSeenUs), true);
    // Windows parked between gestures (with a compositor) are neither shown nor exposed.
    if (!shownUs.empty())
        Bench::print("  last overlay window shown", Bench::stats(shownUs), true);
    if (!exposedUs.empty())
        Bench::print("  last overlay window exposed", Bench::stats(exposedUs), true);
    run.qtApp.printPaints("  painting one view");
    Bench::print("zone mode off: Shift pressed again -> overlays gone, the server done with them", Bench::stats(offUs),
        true);
    if (missed)
        std::printf("  %d repetitions showed no overlay within 2 s\n", missed);
}

} // namespace

void measureOverlay(GestureRun& run)
{
    measureOverlays(run, false, 0, false);
}

void measureOverlayAfterPause(GestureRun& run)
{
    // A person takes a good tenth of a second from starting a drag to pressing Shift; 0
    // is Shift pressed right after the drag's first steps. The windows kept, in the same
    // rhythm, are the reference: each repetition starts from a few idle milliseconds,
    // which alone makes everything slower than back-to-back gestures in one drag.
    measureOverlays(run, true, run.shiftAfterMs, true);
    if (run.shiftAfterMs > 0)
        measureOverlays(run, true, 0, true);
    measureOverlays(run, true, run.shiftAfterMs, false);
}

// --- A plain drag over parked windows ----------------------------------------------
// A drag that never becomes a gesture still has the overlays made ready, and they
// stay mapped, parked, until released: what they cost the
// compositor and the X server while windows are dragged, against the same drag with
// them deleted.
void measurePlainDrag(GestureRun& run)
{
    const auto cpuMsOf = [](const char* command) {
        double ms = 0;
        for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
            if (!comm.open(QIODevice::ReadOnly) || comm.readAll().trimmed() != command)
                continue;
            QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
            if (!stat.open(QIODevice::ReadOnly))
                continue;
            const QList<QByteArray> fields = stat.readAll().split(')').value(1).split(' ');
            // After the command: state is field 3, utime 14 and stime 15.
            ms += (fields.value(12).toDouble() + fields.value(13).toDouble()) * 1000.0 / double(sysconf(_SC_CLK_TCK));
        }
        return ms;
    };
    const char* compositorCommand = run.compositor == CompositorKind::Picom ? "picom" : "xcompmgr";
    std::printf("\nA plain drag (no zone mode), %d motion events/s for %d s:\n", run.rate, run.seconds);
    for (const bool parked : {true, false}) {
        run.beginDrag();
        run.pump(300);
        int deleted = 0;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* window = qobject_cast<ZonesWindow*>(widget);
            if (!parked && window && !window->isShowing()) {
                delete window;
                ++deleted;
            }
        }
        run.pump(100);
        std::atomic<long> sent {0};
        std::atomic<bool> stop {false};
        const double compositor0 = cpuMsOf(compositorCommand), server0 = cpuMsOf("Xvfb");
        Bench::RoundTripProbe serverProbe;
        std::thread driver(
            Bench::driveMotion, std::ref(sent), std::ref(stop), run.rate, false, run.start, run.seconds * 1000);
        run.pump(run.seconds * 1000);
        stop.store(true);
        driver.join();
        const QByteArray compositorCpu = run.compositor == CompositorKind::None
            ? QByteArray("no compositor")
            : QByteArray(compositorCommand) + " " + QByteArray::number(cpuMsOf(compositorCommand) - compositor0, 'f', 0)
                + " ms of CPU";
        std::printf("  %s: %s, Xvfb %.0f ms\n", parked ? "the overlays made ready and parked" : "no overlay windows",
            compositorCpu.constData(), cpuMsOf("Xvfb") - server0);
        Bench::print("  a bare client's round trip meanwhile", Bench::stats(serverProbe.stop()));
        run.xtest.release(1);
        run.pump(300);
    }
}
