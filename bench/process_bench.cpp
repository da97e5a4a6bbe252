// What the real parqueta process costs: start-up to a tray icon, CPU and wakeups while
// nothing happens, resident memory at idle and after many gestures, and the snap latency
// seen from outside. Everything is observed from other processes: /proc and the X server.
//
//   bench_process [--starts 20] [--idle 60] [--gestures 1000] [--snaps 200]
//
// Starts a virtual desktop (Xvfb with two monitors, openbox, a tint2 panel whose system
// tray takes the icon, a plain client) and the parqueta executable of this build
// (PARQUETA_EXECUTABLE overrides it).
//
// Tray icon ready: a window of the parqueta process (its _NET_WM_PID) is a viewable
// descendant of the tint2 panel window, i.e. the panel has embedded the icon (XEMBED
// reparents it into the panel and maps it). Found by walking the panel's window tree
// every millisecond from a connection of the benchmark's own.
#include "BenchSupport.h"
#include "ConfigureWatcher.h"
#include "DesktopZones.h"
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"

#include <QCoreApplication>
#include <QMap>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

namespace {

using Bench::Clock;

double megabytes(qint64 bytes)
{
    return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

// "43.7 MB (private 20.1, files 12.8, shared memory 10.8)": the shared part is mostly
// window backing stores, the file-backed part library and font pages.
QString residentText(const ProcessSample& sample)
{
    return QString::asprintf("%.1f MB (private %.1f, files %.1f, shared memory %.1f)", megabytes(sample.rssBytes),
        megabytes(sample.rssAnonBytes), megabytes(sample.rssFileBytes), megabytes(sample.rssShmemBytes));
}

// Whether a window of process `pid` is a viewable descendant of `ancestor`.
bool hasViewableWindowOf(xcb_connection_t* c, xcb_window_t ancestor, pid_t pid, xcb_atom_t pidAtom, int depth = 0)
{
    if (depth > 8)
        return false;
    xcb_query_tree_reply_t* tree = xcb_query_tree_reply(c, xcb_query_tree(c, ancestor), nullptr);
    if (!tree)
        return false;
    const xcb_window_t* children = xcb_query_tree_children(tree);
    const int count = xcb_query_tree_children_length(tree);
    bool found = false;
    for (int i = 0; i < count && !found; ++i) {
        const xcb_window_t child = children[i];
        xcb_get_property_reply_t* property
            = xcb_get_property_reply(c, xcb_get_property(c, 0, child, pidAtom, XCB_ATOM_CARDINAL, 0, 1), nullptr);
        const bool owned = property && xcb_get_property_value_length(property) == 4
            && *static_cast<uint32_t*>(xcb_get_property_value(property)) == static_cast<uint32_t>(pid);
        std::free(property);
        if (owned) {
            xcb_get_window_attributes_reply_t* attributes
                = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, child), nullptr);
            found = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
            std::free(attributes);
        }
        if (!found)
            found = hasViewableWindowOf(c, child, pid, pidAtom, depth + 1);
    }
    std::free(tree);
    return found;
}

// CPU and wakeups of the process over `seconds` of doing nothing, per thread.
void measureIdle(ParquetaProcess& parqueta, int seconds, const char* title)
{
    const std::optional<ProcessSample> before = parqueta.sample();
    const QMap<QString, Bench::ThreadSwitches> threadsBefore = Bench::threadSwitches(parqueta.pid());
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const std::optional<ProcessSample> after = parqueta.sample();
    const QMap<QString, Bench::ThreadSwitches> threadsAfter = Bench::threadSwitches(parqueta.pid());
    if (!before || !after) {
        std::printf("  no /proc figures: %s\n", qPrintable(parqueta.lastError()));
        return;
    }
    const Bench::Wakeups woke = Bench::wakeupsBetween(threadsBefore, threadsAfter);
    const qint64 wakeups = woke.total;
    const QStringList& busy = woke.threads;
    const double cpu = after->cpuSeconds - before->cpuSeconds;
    std::printf("\n%s, %d s:\n", title, seconds);
    std::printf("  CPU %.1f ms (%.4f%% of one core); %lld wakeups (%.2f per second) in %lld threads\n", cpu * 1000,
        100.0 * cpu / seconds, static_cast<long long>(wakeups), static_cast<double>(wakeups) / seconds,
        static_cast<long long>(threadsAfter.size()));
    if (!busy.isEmpty())
        std::printf("  threads that woke: %s\n", qPrintable(busy.join(QStringLiteral(", "))));
    std::printf("  resident memory %s\n", qPrintable(residentText(*after)));
    std::fflush(stdout);
}

// The same desktop without Parqueta: a trivial Qt Widgets program with a tray icon and
// one plain window per overlay frame (bench_floor_tray, beside this program).
void measureFloor(const QList<QRect>& frames)
{
    std::printf("\nThe floor: a trivial Qt Widgets program with a tray icon, and windows of the overlays' frames "
                "and flags\n");
    if (frames.isEmpty()) {
        std::printf("  not measured: no overlay was seen\n");
        return;
    }
    QStringList arguments;
    for (const QRect& r : frames)
        arguments << QStringLiteral("--frame")
                  << QStringLiteral("%1,%2,%3,%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
    QProcess floor;
    floor.start(QCoreApplication::applicationDirPath() + QStringLiteral("/bench_floor_tray"), arguments);
    const char* titles[] = {"idle, its tray icon shown", "the windows shown and painted", "the windows hidden again"};
    for (const char* title : titles) {
        // The program names each stage, then waits for a line while it is sampled.
        while (!floor.canReadLine() && floor.waitForReadyRead(15000)) { }
        const std::optional<ProcessSample> sample = ProcessSample::of(pid_t(floor.processId()));
        if (!floor.canReadLine() || !sample) {
            std::printf("  bench_floor_tray stopped answering: %s\n", qPrintable(floor.errorString()));
            floor.kill();
            floor.waitForFinished(2000);
            return;
        }
        floor.readLine();
        std::printf("  %s: resident %s\n", title, qPrintable(residentText(*sample)));
        floor.write("\n");
    }
    floor.closeWriteChannel();
    if (!floor.waitForFinished(10000))
        floor.kill();
}

} // namespace

int main(int argc, char** argv)
{
    const int starts = Bench::argument(argc, argv, "--starts", 20);
    const int idleSeconds = Bench::argument(argc, argv, "--idle", 60);
    const int gestures = Bench::argument(argc, argv, "--gestures", 1000);
    const int snaps = Bench::argument(argc, argv, "--snaps", 200);

    QCoreApplication app(argc, argv);
    VirtualDesktop desktop;
    if (!Bench::startProgramDesktop(desktop))
        return 1;
    std::printf("parqueta: %s\n", qPrintable(ParquetaProcess::executable()));

    // --- Start-up -----------------------------------------------------------------------
    {
        xcb_connection_t* c = desktop.connection();
        const xcb_atom_t pidAtom = desktop.atom("_NET_WM_PID");
        std::vector<double> trayUs, logUs;
        double firstTrayUs = 0, firstLogUs = 0;
        int failed = 0;
        SettingsFile().remove();
        for (int i = 0; i <= starts; ++i) {
            ParquetaProcess parqueta(desktop);
            const Clock::time_point t0 = Clock::now();
            if (!parqueta.start(false)) {
                ++failed;
                continue;
            }
            std::optional<double> logged, tray;
            while ((!logged || !tray) && Clock::now() - t0 < std::chrono::seconds(10) && parqueta.isRunning()) {
                if (!tray && hasViewableWindowOf(c, desktop.panelWindow(), parqueta.pid(), pidAtom))
                    tray = Bench::microseconds(t0, Clock::now());
                if (!logged && parqueta.logCount(QStringLiteral("is running on")) > 0)
                    logged = Bench::microseconds(t0, Clock::now());
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            if (!logged || !tray) {
                ++failed;
                std::printf("  start %d: %s%s\n%s\n", i, logged ? "" : "never logged it is running; ",
                    tray ? "" : "no icon in the tray", qPrintable(parqueta.logText().right(600)));
            } else if (i == 0) {
                firstTrayUs = *tray;
                firstLogUs = *logged;
            } else {
                trayUs.push_back(*tray);
                logUs.push_back(*logged);
            }
            parqueta.terminate();
        }
        std::printf("\nStart-up: process started -> ready (tint2 system tray, openbox):\n");
        std::printf("  first run (installs the preset layouts): log line %.1f ms, tray icon %.1f ms\n",
            firstLogUs / 1000, firstTrayUs / 1000);
        Bench::print("later runs: \"... is running on\" logged", Bench::stats(logUs), true);
        Bench::print("later runs: tray icon embedded, viewable", Bench::stats(trayUs), true);
        if (failed)
            std::printf("  %d starts did not get ready within 10 s\n", failed);
    }

    // --- Idle, gestures, memory ---------------------------------------------------------
    const xcb_window_t client = desktop.startPlainWindow(QStringLiteral("bench"), QRect(300, 300, 400, 300));
    if (client == XCB_WINDOW_NONE)
        return 1;
    ParquetaProcess parqueta(desktop);
    if (!parqueta.start())
        return 1;
    // Past the start-up's one-shot work (the delayed notice of unavailable shortcuts).
    std::this_thread::sleep_for(std::chrono::seconds(3));
    measureIdle(parqueta, idleSeconds, "Idle after start-up, nothing happening");

    const std::optional<DesktopZones> zones = DesktopZones::read();
    if (!zones) {
        std::fprintf(stderr, "no zones: %s\n", qPrintable(DesktopZones::lastError()));
        return 1;
    }
    const QList<DesktopZone> left = zones->zonesOn(QStringLiteral("LEFT"));
    if (left.size() < 2) {
        std::fprintf(stderr, "the left screen has fewer than two zones\n");
        return 1;
    }
    OverlayProbe overlays(parqueta.pid());
    GestureDriver driver(desktop, overlays);
    Bench::ConfigureWatcher watcher(client);
    std::vector<double> snapUs;
    std::vector<qint64> rss;
    int wrong = 0, noOverlay = 0;
    QList<QRect> overlayFrames; // as the first gesture showed them
    std::printf("\nGestures: Shift-drag the client into zone 1 and 2 of LEFT by turns, %d times\n", gestures);
    for (int i = 0; i < gestures; ++i) {
        const DesktopZone& zone = left[i % 2];
        Clock::time_point released;
        DragOptions options;
        options.toggle = ZoneToggle::Shift;
        options.stepsPerLeg = 6;
        options.stepDelayMs = 3;
        options.raiseFirst = false;
        options.beforeRelease = [&] {
            if (overlayFrames.isEmpty())
                overlayFrames = overlays.mappedGeometries();
            watcher.clear();
            released = Clock::now();
        };
        const DragReport report = driver.drag(client, zones->dropPoint(zone.screenName, zone.zoneId), options);
        if (!report.overlayShown)
            ++noOverlay;
        if (i < snaps) {
            if (const std::optional<double> snapped = watcher.lastAfterQuiet(released, 100, 2000))
                snapUs.push_back(*snapped);
            if (driver.frameOf(client) != zone.frame)
                ++wrong;
        }
        const std::optional<ProcessSample> sampled = parqueta.sample();
        if (sampled)
            rss.push_back(sampled->rssBytes);
        if (sampled && ((i + 1) % 100 == 0 || i == 0)) {
            std::printf("  after %4d gestures: resident %s\n", i + 1, qPrintable(residentText(*sampled)));
            std::fflush(stdout);
        }
    }
    if (!rss.empty())
        std::printf("  the most at any sample (one after every gesture): %.1f MB\n",
            megabytes(*std::max_element(rss.begin(), rss.end())));
    std::printf("  %d gestures showed no overlay\n", noOverlay);
    std::printf("\nSnap seen from outside: button released -> the window's last ConfigureNotify:\n");
    Bench::print("snap latency (real binary)", Bench::stats(snapUs), true);
    std::printf("  %d of the first %d snaps ended elsewhere than the zone's frame\n", wrong, std::min(snaps, gestures));

    // The overlay windows of the last gesture stay hidden for the next one and are
    // released 10 s after it; that one-time clean-up is measured on its own, then the
    // idle that follows it.
    measureIdle(parqueta, 12, "Right after the gestures (hidden overlays released within)");
    measureIdle(parqueta, std::min(idleSeconds, 20), "Idle after the gestures");
    const std::optional<int> exitCode = parqueta.terminate();
    std::printf(
        "\nparqueta exited with %s\n", exitCode ? qPrintable(QString::number(*exitCode)) : "a signal or not at all");
    measureFloor(overlayFrames);
    VirtualDesktop::setShared(nullptr);
    return 0;
}
