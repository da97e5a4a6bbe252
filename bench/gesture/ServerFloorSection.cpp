#include "ConfigureWatcher.h"
#include "GestureRun.h"
#include "PaintClock.h"
#include "Sections.h"
#include "ServerFloor.h"
#include "views/ZonesWindow.h"

#include <QApplication>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

using Bench::Clock;

// --- The server's own floor under the overlays' shapes ---------------------------------
void measureServerFloor(GestureRun& run)
{
    // The shapes zone mode gives the overlays with each zone lit that the drag's path
    // crosses and with the first two (the highlight step's), taken off the real
    // overlays; then the overlays go and bare windows take their place.
    run.beginDrag();
    run.xtest.keyDown(kShift);
    Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= run.screenCount; }, 2000);
    std::map<int, QPoint> litAt {{1, run.targets[1].center.toPoint()}, {0, run.targets[0].center.toPoint()}};
    for (int x = run.start.x() + 1; x <= run.start.x() + 400; ++x) {
        const int zone = run.zoneOnPath(x);
        if (zone >= 0 && !litAt.count(zone))
            litAt[zone] = QPoint(x + 20, run.start.y());
    }
    std::vector<Bench::ShapedFrame> frames;
    std::map<int, std::vector<QRegion>> lit;
    int rectangles = 0;
    for (const auto& [zone, at] : litAt) {
        run.xtest.moveTo(at.x(), at.y());
        run.pump(100);
        for (ZonesWindow* window : visibleOverlays()) {
            // Qt's mask is in its own pixels; these are the server's.
            if (window->devicePixelRatio() != 1 || window->shape().isEmpty())
                continue;
            lit[zone].push_back(window->shape());
        }
    }
    // The bare windows start as the overlays are where the drag starts.
    const int firstZone = std::max(0, run.zoneOnPath(run.start.x()));
    size_t shapeIndex = 0;
    for (ZonesWindow* window : visibleOverlays()) {
        if (window->devicePixelRatio() != 1 || window->shape().isEmpty() || shapeIndex >= lit[firstZone].size())
            continue;
        frames.push_back({window->desktopFrame(), lit[firstZone][shapeIndex]});
        rectangles += lit[firstZone][shapeIndex++].rectCount();
    }
    if (!run.zoneModeOff())
        std::printf("  zone mode did not end: what follows is not without Parqueta\n");
    run.pump(100);
    // The window manager moves its frame, the client only with it.
    xcb_connection_t* qtConnection = qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    xcb_query_tree_reply_t* tree
        = xcb_query_tree_reply(qtConnection, xcb_query_tree(qtConnection, run.client), nullptr);
    const xcb_window_t frame = tree ? tree->parent : run.client;
    std::free(tree);
    std::printf("\nThe X server without Parqueta, in the same drag: nothing over the desktop, then bare windows with "
                "the overlays' frames and shapes%s\n",
        frames.empty() ? " (none here: the overlays are not shaped with a compositor or at another ratio)" : "");
    for (const bool shaped : {false, true}) {
        if (shaped && frames.empty())
            continue;
        std::optional<Bench::BareShapedWindows> windows;
        if (shaped) {
            const Clock::time_point t0 = Clock::now();
            windows.emplace(frames);
            std::printf("  bare windows, %d rectangles in their shapes, created, shaped and mapped in %.2f ms:\n",
                rectangles, Bench::microseconds(t0, Clock::now()) / 1000);
        } else
            std::printf("  nothing over the desktop:\n");
        run.pump(50);
        Bench::ConfigureWatcher moves(frame);
        std::atomic<long> sent {0};
        std::atomic<bool> stop {false};
        Bench::RoundTripProbe probe;
        std::thread driver(
            Bench::driveMotion, std::ref(sent), std::ref(stop), run.rate, false, run.start, run.seconds * 1000);
        // The lit zone follows the pointer along the path, as in zone mode (the
        // pointer's place is known from the events sent: no round trip for it).
        int litZone = firstZone;
        int flips = 0;
        const Clock::time_point driveEnd = Clock::now() + std::chrono::milliseconds(run.seconds * 1000);
        while (Clock::now() < driveEnd) {
            const long n = sent.load();
            const int zone = run.zoneOnPath(n > 0 ? run.start.x() + Bench::motionOffset(n - 1) : run.start.x());
            if (windows && zone >= 0 && zone != litZone && lit.count(zone)) {
                windows->reshape(lit[zone]);
                litZone = zone;
                ++flips;
            }
            run.pump(1);
        }
        stop.store(true);
        driver.join();
        Bench::print("    motion at the rate: a bare client's round trip", Bench::stats(probe.stop()));
        std::printf("    motion events XTest got through: %ld of %d; the window manager moved the window %zu "
                    "times; %d highlight steps\n",
            sent.load(), run.rate * run.seconds, moves.times().size(), flips);
        // The highlight's step: the pointer into the other zone (the window manager
        // moves the window there), then the shapes as Parqueta would set them.
        std::vector<double> stepUs;
        for (int i = 0; i < run.reps; ++i) {
            const size_t zone = size_t(i % 2);
            const size_t movesBefore = moves.times().size();
            const Clock::time_point t0 = Clock::now();
            run.xtest.moveTo(qRound(run.targets[zone].center.x()), qRound(run.targets[zone].center.y()));
            if (windows)
                windows->reshape(lit[int(zone)]);
            // The window manager's move of the dragged window under the new shapes
            // belongs to the step: the server does it before answering anyone else.
            const Clock::time_point giveUp = Clock::now() + std::chrono::milliseconds(200);
            while (moves.times().size() == movesBefore && Clock::now() < giveUp)
                std::this_thread::yield();
            Bench::PaintClock::syncWithServer();
            stepUs.push_back(Bench::microseconds(t0, Clock::now()));
            run.pump(5);
        }
        Bench::print(shaped ? "    pointer into the other zone -> window moved, new shapes set"
                            : "    pointer into the other zone -> window moved",
            Bench::stats(stepUs), true);
        windows.reset();
        run.pump(100);
    }
    run.xtest.release(1);
    run.pump(300);
}
