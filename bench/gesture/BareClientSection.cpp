#include "BareOverlayClient.h"
#include "GestureRun.h"
#include "Sections.h"
#include "VirtualDesktop.h"
#include "views/ZonesWindow.h"

#include <QRegion>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <vector>

using Bench::Clock;

// --- A bare client in the overlays' place ----------------------------------------------
// The floor of the overlay and highlight figures: windows of the overlays' frames,
// visual and shapes (taken off the real ones), shown and repainted by a bare xcb client
// that reacts to the same raw input, in the same rhythms, with its pixels ready.
void measureBareClient(GestureRun& run)
{
    // Neither Parqueta nor openbox's move does anything with a plain 'z'.
    constexpr uint32_t kTrigger = 0x7a;
    const bool translucent = run.compositor != CompositorKind::None;
    run.beginDrag();
    run.xtest.keyDown(kShift);
    Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= run.screenCount; }, 2000);
    std::vector<Bench::BareOverlayClient::Window> windows;
    QRegion leftShapes[2];
    size_t leftIndex = 0;
    QPoint leftOrigin;
    bool logicalPixels = false;
    for (const int zone : {1, 0}) {
        run.xtest.moveTo(qRound(run.targets[size_t(zone)].center.x()), qRound(run.targets[size_t(zone)].center.y()));
        run.pump(100);
        windows.clear();
        for (ZonesWindow* window : visibleOverlays()) {
            // Qt's mask is in its own pixels; the server's are wanted.
            logicalPixels = logicalPixels || window->devicePixelRatio() != 1;
            if (window->screen().name() == run.left->name()) {
                leftIndex = windows.size();
                leftShapes[zone] = window->shape();
                leftOrigin = window->desktopFrame().topLeft();
            }
            windows.push_back({window->desktopFrame(), window->shape()});
        }
    }
    run.zoneModeOff();
    run.xtest.release(1);
    run.pump(300);
    Bench::BareOverlayClient bare(windows, translucent);
    if (!bare.isValid() || logicalPixels) {
        std::printf("\nNo bare client: it needs MIT-SHM, XInput 2.2%s and a device-pixel ratio of 1\n",
            translucent ? ", a 32-bit visual" : "");
    } else {
        const auto waitDone = [&](std::vector<double>& us, Clock::time_point t0) {
            if (Bench::runUntil([&] { return bare.done().has_value(); }, 2000))
                us.push_back(Bench::microseconds(t0, *bare.done()));
        };
        // Back to back within one drag, as the kept overlays; or each time a new drag,
        // the key pressed shiftAfterMs after it began, as the overlay after a pause.
        std::vector<double> hiddenUs;
        const auto shown = [&](bool inNewDrags) {
            std::vector<double> us;
            if (!inNewDrags)
                run.beginDrag();
            for (int i = 0; i < run.reps; ++i) {
                if (inNewDrags) {
                    run.pump(20);
                    run.beginDrag(i % 2 == 1);
                    run.pump(run.shiftAfterMs);
                }
                bare.showOnNextKeyPress();
                const Clock::time_point t0 = Clock::now();
                run.xtest.keyDown(kTrigger);
                waitDone(us, t0);
                run.xtest.keyUp(kTrigger);
                run.pump(5);
                const Clock::time_point hiding = Clock::now();
                bare.hide();
                if (Bench::runUntil([&] { return bare.hidden().has_value(); }, 2000))
                    hiddenUs.push_back(Bench::microseconds(hiding, *bare.hidden()));
                run.pump(10);
                if (inNewDrags) {
                    run.xtest.release(1);
                    run.pump(30);
                }
            }
            run.xtest.release(1);
            run.pump(200);
            return us;
        };
        const std::vector<double> backToBack = shown(false);
        const std::vector<double> inNewDrags = shown(true);
        // The highlight's step: the pointer into the other zone, the zone left and the
        // zone entered drawn anew, and without a compositor the shape of the new highlight.
        std::vector<double> stepUs, ignored;
        bare.showOnNextKeyPress();
        run.xtest.keyDown(kTrigger);
        waitDone(ignored, Clock::now());
        run.xtest.keyUp(kTrigger);
        bare.fadeIn();
        run.beginDrag();
        run.xtest.moveTo(qRound(run.targets[1].center.x()), qRound(run.targets[1].center.y()));
        run.pump(50);
        // The pointer into `zone` (setting t0 as it goes) -> the step done.
        const auto step = [&](size_t zone, Clock::time_point& t0) -> std::optional<double> {
            const std::vector<QRect> rects {run.targets[zone].rect.toRect().translated(-leftOrigin),
                run.targets[1 - zone].rect.toRect().translated(-leftOrigin)};
            bare.repaintOnNextMotion(leftIndex, rects, translucent ? QRegion() : leftShapes[zone]);
            t0 = Clock::now();
            run.xtest.moveTo(qRound(run.targets[zone].center.x()), qRound(run.targets[zone].center.y()));
            if (!Bench::runUntil([&] { return bare.done().has_value(); }, 2000))
                return std::nullopt;
            return Bench::microseconds(t0, *bare.done());
        };
        for (int i = 0; i < run.reps; ++i) {
            Clock::time_point t0;
            if (const std::optional<double> us = step(size_t(i % 2), t0))
                stepUs.push_back(*us);
            run.pump(5);
        }
        // The same step while the windows fade in, in the overlays' rhythm: shown, the
        // moves from 50 ms on, as many fade-ins as the overlays had.
        std::vector<double> fadingUs;
        const int fadeIns = translucent ? 1 + std::max(0, run.reps / 20) : 0;
        size_t zone = size_t((run.reps - 1) % 2);
        for (int round = 0; round < fadeIns; ++round) {
            bare.hide();
            Bench::runUntil([&] { return bare.hidden().has_value(); }, 2000);
            run.pump(50);
            bare.showOnNextKeyPress();
            run.xtest.keyDown(kTrigger);
            waitDone(ignored, Clock::now());
            run.xtest.keyUp(kTrigger);
            bare.fadeIn(ZonesWindow::kFadeInMs);
            const Clock::time_point fadeEnd = Clock::now() + std::chrono::milliseconds(ZonesWindow::kFadeInMs);
            run.pump(50);
            while (Clock::now() < fadeEnd) {
                zone = 1 - zone;
                Clock::time_point t0;
                const std::optional<double> us = step(zone, t0);
                if (us && t0 < fadeEnd)
                    fadingUs.push_back(*us);
                run.pump(5);
            }
        }
        run.xtest.release(1);
        bare.hide();
        run.pump(300);
        std::printf("\nA bare xcb client in the overlays' place (%s windows, %d rectangles in the left one's "
                    "shape, pixels ready in shared memory), reacting to raw input:\n",
            translucent ? "32-bit, parked" : "opaque, unmapped", leftShapes[0].rectCount());
        Bench::print("a key pressed during a drag -> every window drawn", Bench::stats(backToBack), true);
        const QByteArray rhythm = "  ... pressed " + QByteArray::number(run.shiftAfterMs) + " ms into a new drag";
        Bench::print(rhythm.constData(), Bench::stats(inNewDrags), true);
        Bench::print(translucent ? "pointer into the other zone -> pointer read, both zones drawn"
                                 : "pointer into the other zone -> pointer read, both zones drawn, shape set",
            Bench::stats(stepUs), true);
        if (!fadingUs.empty()) {
            const QByteArray fading = "  ... while the windows fade in (" + QByteArray::number(fadeIns)
                + " fade-ins, the opacity stepped as Qt animates it)";
            Bench::print(fading.constData(), Bench::stats(fadingUs), true);
        }
        Bench::print(translucent ? "windows parked (opacity 0) -> the server done with them"
                                 : "windows unmapped -> the server done with what they uncovered",
            Bench::stats(hiddenUs), true);
    }
}
