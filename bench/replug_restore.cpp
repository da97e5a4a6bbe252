// How long the real parqueta process takes to put 50 windows back into their zones when
// the monitor they stood on is plugged back, seen from outside: the X server's frames of
// the windows and /proc, nothing from inside the program.
//
//   bench_replug [--windows 50] [--reps 5] [--poll-us 5000]
//
// Starts a virtual desktop (Xvfb with two monitors, openbox, a tint2 panel on LEFT) and
// `--windows` plain clients, each with a class and title of its own. The program's first
// run says what RIGHT is called and installs the presets; with RIGHT's layout made two
// columns and two rows, the state file is written (through the program's own store, so in
// its format) with every window in one of the four zones, round robin, and the program is
// started again: the start-up restore is timed once. Then, `--reps` times: RIGHT is
// unplugged (xrandr --delmonitor), the windows are moved to LEFT (one in five maximized
// instead), RIGHT is plugged back with a single xrandr --setmonitor, and the frames are
// polled (all windows, one batch of requests) until every frame equals its zone's.
//
// Writing the state file rather than snapping each window through `--snap-focused`
// keeps the set-up independent of focus and of 50 launches of the program, and gives
// the start-up restore as a figure of its own.
#include "BenchSupport.h"
#include "DesktopZones.h"
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"
#include "managers/SnappedWindowsStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <xcb/xcb.h>

extern char** environ;

namespace {

using Bench::Clock;

const QString kRight = QStringLiteral("RIGHT");
constexpr double kBudgetMs = 1000;

// "aa", "ab", ...: window titles and classes that differ in letters, since a title's
// digits do not tell windows apart (they change while a window lives).
QString letters(int index)
{
    return QString(QChar(u'a' + index / 26 % 26)) + QChar(u'a' + index % 26);
}

struct Client
{
    xcb_window_t window = XCB_WINDOW_NONE;
    QRect zoneFrame;
    QMargins extents;
};

// The visible frames of all clients (client area plus _NET_FRAME_EXTENTS, as the tests
// measure them), with one batch of requests on the connection.
std::vector<QRect> framesOf(xcb_connection_t* c, xcb_window_t root, const std::vector<Client>& clients)
{
    std::vector<xcb_get_geometry_cookie_t> geometries;
    std::vector<xcb_translate_coordinates_cookie_t> origins;
    for (const Client& client : clients) {
        geometries.push_back(xcb_get_geometry(c, client.window));
        origins.push_back(xcb_translate_coordinates(c, client.window, root, 0, 0));
    }
    std::vector<QRect> frames;
    for (size_t i = 0; i < clients.size(); ++i) {
        xcb_get_geometry_reply_t* geometry = xcb_get_geometry_reply(c, geometries[i], nullptr);
        xcb_translate_coordinates_reply_t* origin = xcb_translate_coordinates_reply(c, origins[i], nullptr);
        frames.push_back(geometry && origin ? QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height)
                                                  .marginsAdded(clients[i].extents)
                                            : QRect());
        std::free(geometry);
        std::free(origin);
    }
    return frames;
}

int inPlace(const std::vector<Client>& clients, const std::vector<QRect>& frames)
{
    int count = 0;
    for (size_t i = 0; i < clients.size(); ++i)
        count += frames[i] == clients[i].zoneFrame ? 1 : 0;
    return count;
}

struct Timing
{
    std::optional<double> firstUs, allUs;
};

// Polls the frames every pollUs from t0 until all are in place or timeoutMs; onRound
// (if set) runs on every round, for a process started at t0 to be reaped.
Timing pollUntilInPlace(xcb_connection_t* c, xcb_window_t root, const std::vector<Client>& clients,
    Clock::time_point t0, int pollUs, int timeoutMs, const std::function<void()>& onRound = {})
{
    Timing timing;
    while (Clock::now() - t0 < std::chrono::milliseconds(timeoutMs)) {
        const int placed = inPlace(clients, framesOf(c, root, clients));
        const Clock::time_point now = Clock::now();
        if (placed > 0 && !timing.firstUs)
            timing.firstUs = Bench::microseconds(t0, now);
        if (placed == int(clients.size())) {
            timing.allUs = Bench::microseconds(t0, now);
            break;
        }
        if (onRound)
            onRound();
        std::this_thread::sleep_for(std::chrono::microseconds(pollUs));
    }
    return timing;
}

// xrandr started without waiting for it: the frames are polled while it runs.
pid_t spawn(const QStringList& arguments)
{
    std::vector<QByteArray> bytes;
    for (const QString& argument : arguments)
        bytes.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& b : bytes)
        argv.push_back(b.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    return posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) == 0 ? pid : -1;
}

QString monitorGeometry(const QRect& r)
{
    // As VirtualDesktop::setMonitors() gives it: 96 dpi in millimetres.
    return QStringLiteral("%1/%2x%3/%4+%5+%6")
        .arg(r.width())
        .arg(r.width() * 254 / 960)
        .arg(r.height())
        .arg(r.height() * 254 / 960)
        .arg(r.x())
        .arg(r.y());
}

void printMs(const char* what, const std::vector<double>& samples)
{
    if (samples.empty()) {
        std::printf("  %s: no sample\n", what);
        return;
    }
    const Bench::Stats s = Bench::stats(samples);
    std::printf("  %-44s n=%zu median %7.1f ms  max %7.1f ms   budget %.0f ms: %s\n", what, s.n, s.median / 1000,
        s.max / 1000, kBudgetMs, s.max / 1000 <= kBudgetMs ? "met" : "MISSED");
}

} // namespace

int main(int argc, char** argv)
{
    const int count = Bench::argument(argc, argv, "--windows", 50);
    const int reps = Bench::argument(argc, argv, "--reps", 5);
    const int pollUs = Bench::argument(argc, argv, "--poll-us", 5000);

    QCoreApplication app(argc, argv);
    VirtualDesktop desktop;
    if (!Bench::startProgramDesktop(desktop))
        return 1;
    std::printf("parqueta: %s\n", qPrintable(ParquetaProcess::executable()));
    xcb_connection_t* c = desktop.connection();

    // Clients on LEFT, away from where RIGHT's zones will put them.
    std::vector<Client> clients;
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("Replug") + letters(i);
        const xcb_window_t window = desktop.startPlainWindow(
            QStringLiteral("replug window ") + letters(i), QRect(40 + 8 * i, 60 + 6 * i, 320, 240), name);
        if (window == XCB_WINDOW_NONE)
            return 1;
        clients.push_back(Client {window, QRect(), QMargins()});
    }
    for (Client& client : clients)
        client.extents = desktop.frameExtents(client.window).value_or(QMargins());

    // A first run for the presets and RIGHT's screen id; then RIGHT in four zones.
    SettingsFile settings;
    settings.remove();
    QString rightId;
    {
        ParquetaProcess first(desktop);
        if (!first.start())
            return 1;
        const std::optional<DesktopZones> zones = DesktopZones::read();
        if (!zones || zones->zonesOn(kRight).isEmpty()) {
            std::fprintf(stderr, "no zones on RIGHT: %s\n", qPrintable(DesktopZones::lastError()));
            return 1;
        }
        rightId = zones->zonesOn(kRight).first().screenId;
        first.terminate();
    }
    if (!settings.activateLayout(2)) {
        std::fprintf(stderr, "could not make the two-by-two layout active\n");
        return 1;
    }
    std::vector<SnappedWindowRecord> records;
    const int zoneCount = 4;
    for (int i = 0; i < count; ++i) {
        SnappedWindowRecord record;
        record.identity.instance = QStringLiteral("Replug") + letters(i);
        record.identity.className = record.identity.instance;
        record.identity.title = QStringLiteral("replug window ") + letters(i);
        record.screenId = rightId;
        record.zoneIds = {QString::number(1 + i % zoneCount)};
        record.lastSeen = QDateTime::currentDateTimeUtc();
        records.push_back(record);
    }
    const QString statePath = QFileInfo(settings.path()).absoluteDir().filePath(QStringLiteral("snapped-windows.json"));
    if (!SnappedWindowsStore(statePath).save(records)) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(statePath));
        return 1;
    }

    // --- Start-up with 50 windows remembered --------------------------------------------
    ParquetaProcess parqueta(desktop);
    const Clock::time_point started = Clock::now();
    if (!parqueta.start(false))
        return 1;
    // The settings of the first run, with RIGHT's layout changed: the frames are known
    // while the program starts.
    const std::optional<DesktopZones> zones = DesktopZones::read();
    if (!zones || zones->zonesOn(kRight).size() != zoneCount) {
        std::fprintf(stderr, "RIGHT does not have four zones: %s\n", qPrintable(DesktopZones::lastError()));
        return 1;
    }
    for (int i = 0; i < count; ++i)
        clients[size_t(i)].zoneFrame = zones->zone(kRight, QString::number(1 + i % zoneCount))->frame;
    const Timing startup = pollUntilInPlace(c, desktop.root(), clients, started, 1000, 10000);
    std::printf("\nStart-up with %d windows remembered on RIGHT (process started -> frames in their zones):\n", count);
    if (startup.allUs)
        std::printf("  first in place %.1f ms, all %d in place %.1f ms (start-up included)\n", *startup.firstUs / 1000,
            count, *startup.allUs / 1000);
    else
        std::printf("  only %d of %d windows in place after 10 s\n%s\n",
            inPlace(clients, framesOf(c, desktop.root(), clients)), count, qPrintable(parqueta.logText().right(1500)));
    if (!parqueta.waitUntilReady())
        return 1;
    // Past the placement checks that follow the snaps.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));

    // --- Replugs ------------------------------------------------------------------------
    const QRect rightGeometry = VirtualDesktop::defaultMonitors().last().geometry;
    std::vector<double> firstUs, allUs, xrandrUs, cpuMs;
    int failed = 0;
    // Windows found in place and out of it again 400 ms later (a later move of its own).
    int movedAgain = 0;
    std::printf("\nReplug of RIGHT with %d windows remembered on it, %d times (poll every %.1f ms):\n", count, reps,
        pollUs / 1000.0);
    for (int rep = 0; rep < reps; ++rep) {
        if (!desktop.deleteMonitor(kRight))
            return 1;
        // No line tells that the program saw the monitor go; it handles the change at once.
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        for (int i = 0; i < count; ++i) {
            const xcb_window_t window = clients[size_t(i)].window;
            if (i % 5 == 0) {
                desktop.setMaximized(window, true);
            } else {
                const uint32_t values[] = {uint32_t(30 + 12 * i), uint32_t(40 + 9 * i), 300, 200};
                xcb_configure_window(c, window,
                    XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                    values);
            }
        }
        xcb_flush(c);
        const bool moved = VirtualDesktop::waitUntil(
            [&] { return inPlace(clients, framesOf(c, desktop.root(), clients)) == 0; }, 5000);
        if (!moved) {
            std::printf("  rep %d: %d windows stayed in their zones while RIGHT was gone\n", rep,
                inPlace(clients, framesOf(c, desktop.root(), clients)));
            ++failed;
            desktop.resetMonitors();
            continue;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(300));

        const int cameBackBefore = parqueta.logCount(QStringLiteral("A screen came back"));
        const std::optional<ProcessSample> before = parqueta.sample();
        const Clock::time_point t0 = Clock::now();
        pid_t xrandr = spawn({QStringLiteral("xrandr"), QStringLiteral("--setmonitor"), kRight,
            monitorGeometry(rightGeometry), QStringLiteral("none")});
        if (xrandr < 0) {
            std::fprintf(stderr, "cannot start xrandr\n");
            return 1;
        }
        std::optional<double> xrandrDone;
        const auto reap = [&] {
            int status = 0;
            if (xrandr > 0 && waitpid(xrandr, &status, WNOHANG) == xrandr) {
                xrandrDone = Bench::microseconds(t0, Clock::now());
                xrandr = 0;
            }
        };
        const Timing timing = pollUntilInPlace(c, desktop.root(), clients, t0, pollUs, 5000, reap);
        if (xrandr > 0)
            waitpid(xrandr, nullptr, 0);
        // CPU of the whole restore, the placement checks 150 ms after the snaps included.
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        const std::optional<ProcessSample> after = parqueta.sample();
        const int stayed = inPlace(clients, framesOf(c, desktop.root(), clients));
        const bool cameBack = parqueta.logCount(QStringLiteral("A screen came back")) > cameBackBefore;
        if (!timing.allUs) {
            ++failed;
            std::printf("  rep %d: only %d of %d windows in place after 5 s%s\n", rep,
                inPlace(clients, framesOf(c, desktop.root(), clients)), count,
                cameBack ? "" : " (the program logged no screen coming back)");
        } else {
            firstUs.push_back(*timing.firstUs);
            allUs.push_back(*timing.allUs);
            if (xrandrDone)
                xrandrUs.push_back(*xrandrDone);
            if (before && after)
                cpuMs.push_back((after->cpuSeconds - before->cpuSeconds) * 1000);
            std::printf("  rep %d: first %.1f ms, all %.1f ms, xrandr returned after %.1f ms, CPU %.0f ms%s\n", rep,
                *timing.firstUs / 1000, *timing.allUs / 1000, xrandrDone.value_or(0) / 1000,
                cpuMs.empty() ? 0.0 : cpuMs.back(), stayed == count ? "" : "; some moved out again");
            if (stayed != count)
                ++movedAgain;
        }
        std::fflush(stdout);
        if (desktop.monitorNames().size() != 2 && !desktop.resetMonitors())
            return 1;
    }

    std::printf("\nReplug -> windows back in their zones (from the xrandr command, frames seen from outside):\n");
    printMs("first window in its zone", firstUs);
    printMs("all windows in their zones", allUs);
    if (!xrandrUs.empty()) {
        const Bench::Stats s = Bench::stats(xrandrUs);
        std::printf("  %-44s n=%zu median %7.1f ms  max %7.1f ms\n", "xrandr --setmonitor returned", s.n,
            s.median / 1000, s.max / 1000);
    }
    if (!cpuMs.empty()) {
        std::vector<double> cpuUs;
        for (double ms : cpuMs)
            cpuUs.push_back(ms * 1000);
        const Bench::Stats s = Bench::stats(cpuUs);
        std::printf("  %-44s n=%zu median %7.1f ms  max %7.1f ms (/proc, 10 ms ticks)\n",
            "parqueta CPU, replug to 400 ms after", s.n, s.median / 1000, s.max / 1000);
    }
    if (movedAgain)
        std::printf("  after %d replugs some windows had left their zones again 400 ms later\n", movedAgain);
    if (failed)
        std::printf("  %d of %d replugs did not bring every window back within 5 s\n", failed, reps);
    const std::optional<int> exitCode = parqueta.terminate();
    VirtualDesktop::setShared(nullptr);
    std::printf(
        "\nparqueta exited with %s\n", exitCode ? qPrintable(QString::number(*exitCode)) : "a signal or not at all");
    return failed ? 2 : 0;
}
