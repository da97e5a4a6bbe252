#include "GestureRun.h"
#include "PaintClock.h"
#include "Sections.h"
#include "ServerFloor.h"
#include "platform/GlobalInput.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

using Bench::Clock;

// --- Highlight and event cost -------------------------------------------------------
void measureHighlight(GestureRun& run)
{
    run.beginDrag();
    run.xtest.keyDown(kShift);
    Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= run.screenCount; }, 2000);
    // While the overlays fade in, a compositor repaints them whole at every step; moves
    // made then are counted apart, since the steps alone keep the server busy.
    const Clock::time_point fadedIn = Clock::now() + std::chrono::milliseconds(ZonesWindow::kFadeInMs);
    run.pump(50);
    long highlightChanges = 0;
    Clock::time_point flippedAt;
    for (ZonesWindow* window : visibleOverlays())
        QObject::connect(
            &window->viewModel(), &ZonesViewModel::zoneHighlightChanged, window, [&highlightChanges, &flippedAt] {
                if (++highlightChanges % 2 == 1)
                    flippedAt = Clock::now();
            });

    // Start in the second zone, so every move below changes the highlight.
    run.xtest.moveTo(qRound(run.targets[1].center.x()), qRound(run.targets[1].center.y()));
    run.pump(50);
    // The pointer into zone `index` (setting t0 as it goes) -> the left screen's view
    // painted with the highlight changed.
    const auto moveInto = [&](size_t index, Clock::time_point& t0) {
        const ZoneTarget& target = run.targets[index];
        const long changesBefore = highlightChanges;
        return run.qtApp.timeUntilPainted(
            [&] {
                t0 = Clock::now();
                run.xtest.moveTo(qRound(target.center.x()), qRound(target.center.y()));
            },
            [&](QWidget* view) { return highlightChanges != changesBefore && screenOf(view) == run.left->name(); },
            1000);
    };
    std::vector<double> highlightUs, seenUs, flippedUs, fadingUs;
    int missed = 0;
    size_t at = 1; // the zone the pointer is in
    for (int i = 0; int(highlightUs.size()) < run.reps && i < 2 * run.reps; ++i) {
        at = static_cast<size_t>(i % 2);
        Clock::time_point t0;
        const std::optional<double> us = moveInto(at, t0);
        if (us && t0 < fadedIn) {
            fadingUs.push_back(*us);
        } else if (us) {
            highlightUs.push_back(*us);
            seenUs.push_back(Bench::microseconds(t0, run.motionArrived));
            flippedUs.push_back(Bench::microseconds(t0, flippedAt));
        } else {
            ++missed;
        }
        run.pump(5);
    }
    // One fade-in holds a score of moves, too few for a p99: zone mode goes off and on
    // again within the drag (the windows kept), and the moves of each fade-in count.
    const int fadeIns = 1 + std::max(0, run.reps / 20);
    size_t next = 1 - at;
    for (int round = 1; round < fadeIns && run.zoneModeOff(); ++round) {
        run.pump(50);
        run.xtest.keyDown(kShift);
        if (!Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= run.screenCount; }, 2000))
            break;
        const Clock::time_point fadeEnd = Clock::now() + std::chrono::milliseconds(ZonesWindow::kFadeInMs);
        run.pump(50);
        while (Clock::now() < fadeEnd) {
            Clock::time_point t0;
            const std::optional<double> us = moveInto(next, t0);
            next = 1 - next;
            if (us && t0 < fadeEnd)
                fadingUs.push_back(*us);
            else if (!us)
                ++missed;
            run.pump(5);
        }
    }
    std::printf("\nHighlight: pointer moved into another zone -> overlay repainted:\n");
    Bench::print("highlight latency", Bench::stats(highlightUs), true);
    const QByteArray fading = "  ... while the overlays fade in (" + QByteArray::number(fadeIns) + " fade-ins)";
    Bench::print(fading.constData(), Bench::stats(fadingUs), true);
    std::printf("  stages, from the move:\n");
    Bench::print("  raw motion seen by the application", Bench::stats(seenUs), true);
    Bench::print("  highlight flipped (pointer read)", Bench::stats(flippedUs), true);
    run.qtApp.printPaints("  painting the view");
    if (missed)
        std::printf("  %d moves changed no highlight within 1 s\n", missed);

    // Motion at a fixed rate across the border of the first two zones.
    std::atomic<long> sent {0};
    std::atomic<bool> stop {false};
    run.motionUs.clear();
    run.recordMotion = true;
    // Motion that piles up is handled as one step at the latest pointer, so handled
    // steps are not counted against events sent: each step is placed by the pointer
    // position it acted on (Parqueta's own reading, kept for the event, no round trip
    // of the probe's), as the latest driver event that leaves the pointer there.
    std::vector<long> lag;
    long reflected = 0;
    const QMetaObject::Connection lagProbe = QObject::connect(&run.input, &GlobalInput::pointerMotion, [&] {
        const long now = sent.load();
        const int x = qRound(run.input.pointerLocation().x());
        // The server may have moved the pointer for an event whose XTest request has
        // not come back to the driver yet: one ahead of the count.
        long k = now + 1;
        while (k > 0 && k > now - 800 && run.start.x() + Bench::motionOffset(k - 1) != x)
            --k;
        reflected = std::max(reflected, k);
        lag.push_back(std::max(0L, now - k));
    });
    const long changes0 = highlightChanges;
    const double cpu0 = Bench::threadCpuSeconds();
    Bench::RoundTripProbe serverProbe;
    const Clock::time_point driverStarted = Clock::now();
    std::thread driver(
        Bench::driveMotion, std::ref(sent), std::ref(stop), run.rate, false, run.start, run.seconds * 1000);
    run.pump(run.seconds * 1000);
    stop.store(true);
    driver.join();
    Bench::runUntil([&] { return reflected >= sent.load(); }, 30000);
    const double cpu = Bench::threadCpuSeconds() - cpu0;
    // The driver's last event went out `seconds` after it started.
    const double drainMs = Bench::microseconds(driverStarted + std::chrono::seconds(run.seconds), Clock::now()) / 1000;
    run.recordMotion = false;
    QObject::disconnect(lagProbe);
    std::printf("\nEvent handling in zone mode (overlays shown), %d motion events/s for %d s, crossing a zone "
                "border every 400 events:\n",
        run.rate, run.seconds);
    Bench::print("raw motion -> every observer done", Bench::stats(run.motionUs));
    Bench::print("the server meanwhile: a bare client's round trip", Bench::stats(serverProbe.stop()));
    const long maxLag = lag.empty() ? 0 : *std::max_element(lag.begin(), lag.end());
    std::printf("  sent %ld, %zu drag steps handled (motion that piled up is one step), the last event %.1f ms "
                "after it was sent; %ld highlight changes\n",
        sent.load(), run.motionUs.size(), drainMs, highlightChanges - changes0);
    std::printf("  backlog: at most %ld events sent but not yet in the pointer a handled step acted on (XTest in "
                "flight included)\n",
        maxLag);
    std::printf("  main-thread CPU: %.1f%% of one core, %.1f us per handled motion event (repaints included)\n",
        100.0 * cpu / run.seconds, run.motionUs.empty() ? 0.0 : cpu * 1e6 / static_cast<double>(run.motionUs.size()));

    run.xtest.release(1);
    run.xtest.keyUp(kShift);
    run.pump(300);
}
