// What opening the settings window costs: how soon it is painted after the request (the
// first time in the process, and again after it was closed), the resident memory it
// leaves once closed, and whether anything wakes while it is closed. Runs Parqueta's
// Application on the X11 platform in this process, as the parqueta executable wires it.
//
//   bench_settings [--reps 100] [--idle 20] [--compositor 0|1]
//
// "Painted" is what bench_gesture means by it (Bench::PaintClock): the event whose
// handling painted the window's tabs is over and a round trip to the server returned.
#include "BenchSupport.h"
#include "PaintClock.h"
#include "VirtualDesktop.h"
#include "app/Application.h"
#include "core/Settings.h"
#include "platform/SettingsLocation.h"
#include "platform/x11/X11Platform.h"
#include "views/SettingsWindow.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QFile>
#include <QTabWidget>
#include <QTimer>

#include <cstdio>
#include <vector>

#include <malloc.h>
#include <unistd.h>

namespace {

// A line of /proc/self/status ("VmRSS:", "RssAnon:"), in MB.
double statusMb(const char* field = "VmRSS:")
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.simplified().split(' ').value(1).toDouble() / 1024.0;
    }
    return 0;
}
double residentMb()
{
    return statusMb();
}

} // namespace

int main(int argc, char** argv)
{
    const bool composited = Bench::argument(argc, argv, "--compositor", 0) != 0;
    const int reps = Bench::argument(argc, argv, "--reps", 100);
    const int idleSeconds = Bench::argument(argc, argv, "--idle", 20);

    VirtualDesktop desktop;
    if (!Bench::startDesktop(desktop))
        return 1;
    Bench::PaintClock qtApp(argc, argv);
    // Any widget of the settings window: the first one painted inside it counts.
    qtApp.isView = [](const QObject* o) {
        const auto* widget = qobject_cast<const QWidget*>(o);
        return widget && qobject_cast<const QTabWidget*>(widget->parentWidget());
    };
    qtApp.isWindow = [](const QWidget* w) { return qobject_cast<const SettingsWindow*>(w) != nullptr; };
    if (!Bench::startSession(desktop, composited))
        return 1;

    std::unique_ptr<Platform> platform = createPlatform();
    if (!platform)
        return 1;
    Settings settings(createUserSettingsBackend());
    Application::Options options;
    options.launchedAsLoginItem = true; // the window opens when the benchmark asks
    Application application(*platform, settings, options);
    application.start();
    const auto pump = [](int ms) { Bench::runUntil([] { return false; }, ms); };
    pump(500);
    const double rssBefore = residentMb();
    const double privateBefore = statusMb("RssAnon:");

    const auto open = [&] {
        return qtApp.timeUntilPainted([&] { application.openSettings(); }, [](QWidget*) { return true; }, 3000);
    };
    const auto close = [&] {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (qobject_cast<SettingsWindow*>(top))
                top->close();
        }
        pump(30);
    };

    std::printf("Openbox%s, settings window opened by Application::openSettings()\n",
        composited ? " + xcompmgr" : " (no compositor)");
    const std::optional<double> first = open();
    std::printf("  first window of the process: %s\n",
        first ? qPrintable(QStringLiteral("%1 ms").arg(*first / 1000.0, 0, 'f', 1)) : "not painted within 3 s");
    close();
    pump(1000);
    const double rssAfterFirst = residentMb();
    const double privateAfterFirst = statusMb("RssAnon:");
    std::vector<double> again;
    for (int i = 0; i < reps; ++i) {
        if (const std::optional<double> us = open())
            again.push_back(*us);
        close();
    }
    Bench::print("opened again after closing (ms)", Bench::stats(again), true);
    pump(1500);
    const double rssAfter = residentMb();
    // What of it is free memory the C library keeps rather than memory in use.
    malloc_trim(0);
    const double rssTrimmed = residentMb();
    std::printf("  resident memory: %.1f MB before, %+.1f MB 1 s after the first window closed (private %+.1f), "
                "%+.1f MB after %d more (%+.1f after malloc_trim)\n",
        rssBefore, rssAfterFirst - rssBefore, privateAfterFirst - privateBefore, rssAfter - rssBefore, reps,
        rssTrimmed - rssBefore);

    long loopWakeups = 0;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, [&] { ++loopWakeups; });
    const QMap<QString, Bench::ThreadSwitches> before = Bench::threadSwitches(getpid());
    QEventLoop idle;
    QTimer::singleShot(idleSeconds * 1000, &idle, &QEventLoop::quit);
    idle.exec();
    const Bench::Wakeups woke = Bench::wakeupsBetween(before, Bench::threadSwitches(getpid()));
    std::printf("  idle %d s with the window closed: %lld wakeups (%.2f per second), %ld of the main loop (its own "
                "timer ending the wait is one)\n",
        idleSeconds, static_cast<long long>(woke.total), static_cast<double>(woke.total) / idleSeconds, loopWakeups);
    if (!woke.threads.isEmpty())
        std::printf("  threads that woke: %s\n", qPrintable(woke.threads.join(QStringLiteral(", "))));
    application.quit();
    return 0;
}
