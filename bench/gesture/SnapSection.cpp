#include "ConfigureWatcher.h"
#include "GestureRun.h"
#include "Sections.h"
#include "VirtualDesktop.h"
#include "managers/ZoneManager.h"

#include <cstdio>
#include <optional>
#include <vector>

using Bench::Clock;

// --- Snap ---------------------------------------------------------------------------
void measureSnap(GestureRun& run)
{
    Bench::ConfigureWatcher watcher(run.client);
    std::vector<double> snapUs;
    int wrong = 0, missed = 0;
    for (int i = 0; i < run.reps; ++i) {
        const ZoneTarget& target = run.targets[static_cast<size_t>(i % 2)];
        run.beginDrag();
        run.xtest.keyDown(kShift);
        if (!Bench::runUntil([&] { return run.zones.hasOverlays(); }, 2000)) {
            ++missed;
            run.xtest.release(1);
            run.xtest.keyUp(kShift);
            run.pump(200);
            continue;
        }
        run.xtest.moveTo(qRound(target.center.x()), qRound(target.center.y()));
        run.pump(30);
        watcher.clear();
        const Clock::time_point t0 = Clock::now();
        run.xtest.release(1);
        // Final: the last ConfigureNotify before 150 ms without any.
        const std::optional<double> snapped = watcher.lastAfterQuiet(t0, 150, 2000);
        run.xtest.keyUp(kShift);
        if (!snapped) {
            ++missed;
            continue;
        }
        snapUs.push_back(*snapped);
        const std::optional<QRect> c = run.desktop.clientGeometry(run.client);
        if (!c || c->marginsAdded(run.extents) != target.frame)
            ++wrong;
        run.pump(20);
    }
    std::printf("\nSnap: button released -> the window's last ConfigureNotify (own connection):\n");
    Bench::print("snap latency", Bench::stats(snapUs), true);
    std::printf("  %d snaps ended elsewhere than the zone's frame, %d gestures without a snap\n", wrong, missed);
}
