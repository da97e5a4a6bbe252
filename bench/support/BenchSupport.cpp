#include "BenchSupport.h"

#include "VirtualDesktop.h"
#include "XTestInput.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <sys/resource.h>

namespace Bench {

double microseconds(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::micro>(to - from).count();
}

Stats stats(std::vector<double> samples)
{
    Stats s;
    s.n = samples.size();
    if (samples.empty())
        return s;
    std::sort(samples.begin(), samples.end());
    s.median = samples[samples.size() / 2];
    // Nearest rank: with 200 samples the 99th percentile is the second largest.
    const size_t rank = (samples.size() * 99 + 99) / 100;
    s.p99 = samples[std::min(samples.size(), std::max<size_t>(rank, 1)) - 1];
    s.max = samples.back();
    return s;
}

void print(const char* what, const Stats& s, bool inMilliseconds)
{
    if (inMilliseconds) {
        std::printf("  %-40s n=%5zu  median %8.2f ms  p99 %8.2f ms  max %8.2f ms\n", what, s.n, s.median / 1000,
            s.p99 / 1000, s.max / 1000);
    } else {
        std::printf("  %-40s n=%5zu  median %8.1f us  p99 %8.1f us  max %8.1f us\n", what, s.n, s.median, s.p99, s.max);
    }
    std::fflush(stdout);
}

bool startDesktop(VirtualDesktop& desktop)
{
    if (!desktop.start()) {
        std::fprintf(stderr, "no virtual desktop: %s\n", qPrintable(desktop.lastError()));
        return false;
    }
    qputenv("QT_LOGGING_RULES", "parqueta.*.debug=false;parqueta.*.info=false;qt.qpa.*=false");
    return true;
}

bool startProgramDesktop(VirtualDesktop& desktop)
{
    if (!desktop.start()) {
        std::fprintf(stderr, "no virtual desktop: %s\n", qPrintable(desktop.lastError()));
        return false;
    }
    VirtualDesktop::setShared(&desktop);
    QLoggingCategory::setFilterRules(QStringLiteral("parqueta.*.info=false\nparqueta.*.debug=false"));
    if (!desktop.startWindowManager(WindowManagerKind::Openbox) || !desktop.startPanel(0)) {
        std::fprintf(stderr, "openbox or its panel did not start: %s\n", qPrintable(desktop.lastError()));
        return false;
    }
    return true;
}

bool startSession(VirtualDesktop& desktop, CompositorKind compositor)
{
    return desktop.startWindowManager(WindowManagerKind::Openbox) && desktop.startCompositor(compositor);
}

bool startSession(VirtualDesktop& desktop, bool composited)
{
    return startSession(desktop, composited ? CompositorKind::Xcompmgr : CompositorKind::None);
}

std::optional<CompositorKind> compositorArgument(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--compositor") != 0)
            continue;
        const char* name = argv[i + 1];
        if (std::strcmp(name, "none") == 0 || std::strcmp(name, "0") == 0)
            return CompositorKind::None;
        if (std::strcmp(name, "xcompmgr") == 0 || std::strcmp(name, "1") == 0)
            return CompositorKind::Xcompmgr;
        if (std::strcmp(name, "picom") == 0)
            return CompositorKind::Picom;
        std::fprintf(stderr, "--compositor %s: expected none, xcompmgr or picom\n", name);
        return std::nullopt;
    }
    return CompositorKind::None;
}

const char* compositorName(CompositorKind compositor)
{
    switch (compositor) {
    case CompositorKind::None:
        return "no compositor";
    case CompositorKind::Xcompmgr:
        return "xcompmgr";
    case CompositorKind::Picom:
        return "picom";
    }
    return "?";
}

int argument(int argc, char** argv, const char* name, int fallback)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0)
            return std::atoi(argv[i + 1]);
    }
    return fallback;
}

double threadCpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

bool runUntil(const std::function<bool()>& done, int timeoutMs)
{
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    QTimer tick;
    tick.start(2);
    while (!done()) {
        if (Clock::now() >= deadline)
            return done();
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

SendTimes::SendTimes(size_t capacity)
    : m_stamps(capacity)
{ }

void SendTimes::stamp(long i)
{
    if (i >= 0 && static_cast<size_t>(i) < m_stamps.size())
        m_stamps[static_cast<size_t>(i)].store(Clock::now().time_since_epoch().count() + 1, std::memory_order_release);
}

std::optional<Clock::time_point> SendTimes::at(long i) const
{
    if (i < 0 || static_cast<size_t>(i) >= m_stamps.size())
        return std::nullopt;
    const Clock::rep ticks = m_stamps[static_cast<size_t>(i)].load(std::memory_order_acquire);
    if (ticks == 0)
        return std::nullopt;
    return Clock::time_point(Clock::duration(ticks - 1));
}

int motionOffset(long i)
{
    // Legs of 400 one-pixel steps, right then left.
    const long leg = i / 400;
    const long step = i % 400 + 1;
    return static_cast<int>(leg % 2 == 0 ? step : 400 - step);
}

namespace {

void drive(std::atomic<long>& sent, std::atomic<bool>& stop, int rate, bool buttonHeld, QPoint start, int maxMs,
    SendTimes* times)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(maxMs);
    XTestInput xtest;
    xtest.moveTo(start.x(), start.y());
    if (buttonHeld)
        xtest.press(1);
    const auto period = std::chrono::microseconds(1'000'000 / std::max(1, rate));
    auto next = Clock::now();
    long i = 0;
    while (!stop.load() && (maxMs <= 0 || Clock::now() < end)) {
        next += period;
        std::this_thread::sleep_until(next);
        if (times)
            times->stamp(i);
        xtest.moveBy((i / 400) % 2 == 0 ? 1 : -1, 0);
        ++i;
        sent.store(i);
    }
    if (buttonHeld)
        xtest.release(1);
}

} // namespace

void driveMotion(std::atomic<long>& sent, std::atomic<bool>& stop, int rate, bool buttonHeld, QPoint start, int maxMs)
{
    drive(sent, stop, rate, buttonHeld, start, maxMs, nullptr);
}

void driveTimedMotion(std::atomic<long>& sent, std::atomic<bool>& stop, int rate, bool buttonHeld, QPoint start,
    int maxMs, SendTimes& times)
{
    drive(sent, stop, rate, buttonHeld, start, maxMs, &times);
}

QMap<QString, ThreadSwitches> threadSwitches(pid_t pid)
{
    QMap<QString, ThreadSwitches> result;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString& tid : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(tasks + QLatin1Char('/') + tid + QStringLiteral("/status"));
        if (!status.open(QIODevice::ReadOnly))
            continue;
        ThreadSwitches entry;
        for (const QByteArray& line : status.readAll().split('\n')) {
            const QList<QByteArray> parts = line.simplified().split(' ');
            if (parts.size() < 2)
                continue;
            if (parts[0] == "Name:")
                entry.name = QString::fromUtf8(parts.mid(1).join(' '));
            else if (parts[0] == "voluntary_ctxt_switches:" || parts[0] == "nonvoluntary_ctxt_switches:")
                entry.switches += parts[1].toLongLong();
        }
        result.insert(tid, entry);
    }
    return result;
}

Wakeups wakeupsBetween(const QMap<QString, ThreadSwitches>& before, const QMap<QString, ThreadSwitches>& after)
{
    Wakeups result;
    for (auto it = after.cbegin(); it != after.cend(); ++it) {
        const qint64 grown = it->switches - before.value(it.key()).switches;
        result.total += grown;
        if (grown > 0)
            result.threads << QStringLiteral("%1 (%2): %3").arg(it->name, it.key()).arg(grown);
    }
    return result;
}

} // namespace Bench
