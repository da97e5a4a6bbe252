// What a window drag costs Parqueta on X11, and what its monitors cost while idle.
//
//   bench_drag_input [--rate 1000] [--seconds 3] [--idle 30]
//
// Starts a virtual desktop (Xvfb + openbox + a plain client), drags the client by its
// title bar with XTest motion at --rate events per second from a second thread, and
// times the handling of every raw motion event from its arrival on Parqueta's
// connection to the end of the last drag observer. The observer asks for the pointer
// position, as the zone overlay does on every move. Then it measures the CPU time of
// the process while the monitors listen to an idle desktop.
#include "BenchSupport.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11GlobalInput.h"
#include "platform/x11/X11WindowControl.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include <xcb/xinput.h>

namespace {

using Bench::Clock;

// Sees every event before the input backend and stamps raw motion.
class ArrivalStamp final : public X11EventHandler
{
public:
    bool handleX11Event(xcb_generic_event_t* event) override
    {
        if ((event->response_type & 0x7f) == XCB_GE_GENERIC
            && reinterpret_cast<xcb_ge_generic_event_t*>(event)->event_type == XCB_INPUT_RAW_MOTION) {
            arrived = Clock::now();
            ++count;
        }
        return false;
    }
    Clock::time_point arrived;
    long count = 0;
};

bool readPointerOnMove = true;

// Stands for the zone overlay: it needs the pointer on every move.
class PointerReader final : public WindowDragObserver
{
public:
    explicit PointerReader(GlobalInput& input)
        : m_input(input)
    { }
    void windowDragDidStart(const WindowDragEvent&) override { ++starts; }
    void windowDragDidMove(const WindowDragEvent&) override
    {
        if (readPointerOnMove)
            last = m_input.pointerLocation();
        ++moves;
    }
    void windowDragDidEnd(const WindowDragEvent&) override { ++ends; }
    QPointF last;
    long starts = 0, moves = 0, ends = 0;

private:
    GlobalInput& m_input;
};

} // namespace

int main(int argc, char** argv)
{
    const int rate = Bench::argument(argc, argv, "--rate", 1000);
    const int seconds = Bench::argument(argc, argv, "--seconds", 3);
    const int idleSeconds = Bench::argument(argc, argv, "--idle", 30);

    VirtualDesktop desktop;
    if (!desktop.start()) {
        std::fprintf(stderr, "no virtual desktop: %s\n", qPrintable(desktop.lastError()));
        return 1;
    }
    qputenv("QT_LOGGING_RULES", "parqueta.*.debug=false");
    QCoreApplication app(argc, argv);
    if (!desktop.startWindowManager(WindowManagerKind::Openbox))
        return 1;
    const xcb_window_t client = desktop.startPlainWindow(QStringLiteral("bench"), QRect(200, 200, 600, 400));
    if (client == XCB_WINDOW_NONE)
        return 1;
    VirtualDesktop::waitUntil([&] { return desktop.frameExtents(client).has_value(); });
    const QMargins extents = *desktop.frameExtents(client);

    X11Connection connection;
    ArrivalStamp stamp;
    connection.addEventHandler(&stamp); // before the input backend's handler
    X11WindowControl control(connection);
    WindowManager windows(control);
    X11GlobalInput input(connection);
    WindowDragMonitor monitor(input, windows);
    PointerReader reader(input);
    monitor.addObserver(&reader);
    monitor.startMonitoring();

    // One frame read: the per-event cost while a drag has not started yet.
    {
        const WindowPtr w = windows.windowFrom(X11WindowControl::handleFor(client));
        std::vector<double> reads;
        for (int i = 0; i < 2000; ++i) {
            const auto t0 = Clock::now();
            (void)windows.getFrame(*w);
            reads.push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
        }
        std::printf("One frame read (geometry, origin, extents in one round trip):\n");
        Bench::print("WindowManager::getFrame", Bench::stats(reads));
    }

    std::atomic<long> sent {0};
    std::atomic<bool> stop {false};
    const auto measureDrag = [&](bool readPointer) {
        std::vector<double> tracking, moving, all;
        std::vector<long> lag;
        reader.starts = reader.moves = reader.ends = 0;
        readPointerOnMove = readPointer;
        const QRect c = *desktop.clientGeometry(client);
        const QPoint grip(c.center().x(), c.top() - extents.top() / 2);
        const long handled0 = stamp.count;
        sent.store(0);
        stop.store(false);
        // Connected after the monitor: runs when the monitor and its observers are done.
        const QMetaObject::Connection probe = QObject::connect(&input, &GlobalInput::pointerMotion, [&] {
            const double us = std::chrono::duration<double, std::micro>(Clock::now() - stamp.arrived).count();
            all.push_back(us);
            (monitor.isMovingWindow() ? moving : tracking).push_back(us);
            lag.push_back(sent.load() - (stamp.count - handled0));
        });
        std::printf("\nTitle-bar drag under openbox, %d motion events/s for %d s, %s:\n", rate, seconds,
            readPointer ? "observer reads the pointer on every move" : "observer does nothing");
        const double cpu0 = Bench::threadCpuSeconds();
        std::thread driver(Bench::driveMotion, std::ref(sent), std::ref(stop), rate, true, grip, seconds * 1000);
        Bench::runUntil([] { return false; }, seconds * 1000);
        stop.store(true);
        driver.join();
        const double dragCpu = Bench::threadCpuSeconds() - cpu0;
        Bench::runUntil([&] { return reader.ends > 0; }, 2000);
        QObject::disconnect(probe);

        Bench::print("raw motion -> observers done, all", Bench::stats(all));
        Bench::print("  ... before the drag started", Bench::stats(tracking));
        Bench::print("  ... while moving", Bench::stats(moving));
        const long maxLag = lag.empty() ? 0 : *std::max_element(lag.begin(), lag.end());
        std::printf("  sent %ld, handled %zu; drag start %ld, moves %ld, end %ld\n", sent.load(), all.size(),
            reader.starts, reader.moves, reader.ends);
        std::printf("  backlog: at most %ld events sent but not yet handled (XTest in flight included)\n", maxLag);
        std::printf("  main-thread CPU during the drag: %.1f%% of one core, %.1f us per handled motion event\n",
            100.0 * dragCpu / seconds, all.empty() ? 0.0 : dragCpu * 1e6 / static_cast<double>(all.size()));
    };
    measureDrag(false);
    measureDrag(true);

    std::printf("\nPointer moving without a button at %d events/s for %d s:\n", rate, seconds);
    stop.store(false);
    sent.store(0);
    const double cpu1 = Bench::threadCpuSeconds();
    std::thread mover(
        Bench::driveMotion, std::ref(sent), std::ref(stop), rate, false, QPoint(1500, 500), seconds * 1000);
    Bench::runUntil([] { return false; }, seconds * 1000);
    stop.store(true);
    mover.join();
    std::printf("  main-thread CPU: %.1f%% of one core\n", 100.0 * (Bench::threadCpuSeconds() - cpu1) / seconds);

    std::printf("\nIdle desktop for %d s, drag monitor listening:\n", idleSeconds);
    long wakeups = 0;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, [&] { ++wakeups; });
    const double cpu2 = Bench::threadCpuSeconds();
    QTimer::singleShot(idleSeconds * 1000, &app, &QCoreApplication::quit);
    app.exec();
    const double idleCpu = Bench::threadCpuSeconds() - cpu2;
    std::printf("  main-thread CPU: %.1f ms in %d s (%.3f%%), %ld event-loop wakeups\n", idleCpu * 1000, idleSeconds,
        100.0 * idleCpu / idleSeconds, wakeups);

    monitor.stopMonitoring();
    connection.removeEventHandler(&stamp);
    return 0;
}
