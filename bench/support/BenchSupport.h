#pragma once

// Small pieces every benchmark program shares: figures over repetitions, command-line
// numbers, thread CPU time, a Qt event loop run until a condition holds, and a motion
// driver that moves the pointer through XTest at a fixed rate from a thread of its own.
#include <QMap>
#include <QPoint>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include <sys/types.h>

class VirtualDesktop;
enum class CompositorKind;

namespace Bench {

using Clock = std::chrono::steady_clock;

double microseconds(Clock::time_point from, Clock::time_point to);

struct Stats
{
    double median = 0, p99 = 0, max = 0;
    size_t n = 0;
};

// Median, 99th percentile (nearest rank) and maximum.
Stats stats(std::vector<double> samples);

// "  <what> n=... median ... p99 ... max ..." in microseconds, or in milliseconds when
// inMilliseconds (the samples stay in microseconds).
void print(const char* what, const Stats& s, bool inMilliseconds = false);

// Xvfb with two monitors for this process, to be called before its QApplication exists,
// with Parqueta's own log lines quietened (they would drown the figures). Says why on
// stderr when it fails.
bool startDesktop(VirtualDesktop& desktop);
// For the benchmarks that run the real program beside this process (a QCoreApplication
// must exist): Xvfb with two monitors, openbox and a tint2 panel. Only this process's log
// lines are quietened, not through the environment, which the program inherits and whose
// start-up line must be seen. Says why on stderr when it fails.
bool startProgramDesktop(VirtualDesktop& desktop);
// openbox, and the compositor given (none, xcompmgr or picom), once the QApplication exists.
bool startSession(VirtualDesktop& desktop, CompositorKind compositor);
// openbox, and xcompmgr when composited.
bool startSession(VirtualDesktop& desktop, bool composited);

// The compositor named after --compositor: none, xcompmgr or picom (0 and 1 stand for
// none and xcompmgr, as in the older command lines); none without the option, nothing
// for a name it does not know.
std::optional<CompositorKind> compositorArgument(int argc, char** argv);
// "no compositor", "xcompmgr", "picom".
const char* compositorName(CompositorKind compositor);

// The number after `name` on the command line, else fallback.
int argument(int argc, char** argv, const char* name, int fallback);

// CPU time (user + system) of the calling thread, in seconds.
double threadCpuSeconds();

// Runs the Qt event loop (blocking between events, with a 2 ms tick to look at the
// condition) until done() or timeoutMs. Called from main(), never from inside an
// event handler. Returns done()'s last value.
bool runUntil(const std::function<bool()>& done, int timeoutMs);

// When each motion event of driveMotion() was sent, written by the driver's thread and
// read by the main thread while it runs: handled events are matched to their sending.
class SendTimes final
{
public:
    explicit SendTimes(size_t capacity);
    size_t capacity() const { return m_stamps.size(); }
    // Just before event i (0-based) is requested.
    void stamp(long i);
    // Nothing while event i has not been stamped.
    std::optional<Clock::time_point> at(long i) const;

private:
    std::vector<std::atomic<Clock::rep>> m_stamps;
};

// Where driveMotion() has the pointer, relative to `start`, once event i (0-based) is sent.
int motionOffset(long i);

// Moves the pointer by one pixel at `rate` events per second, back and forth over 400 px,
// from its own XTest connection until stop or, with maxMs > 0, for at most maxMs (so a
// main thread that cannot keep up still gets to the end); `sent` counts the events.
// With buttonHeld it presses button 1 at `start` first and releases it at the end.
void driveMotion(
    std::atomic<long>& sent, std::atomic<bool>& stop, int rate, bool buttonHeld, QPoint start, int maxMs = 0);
// The same, noting in `times` when each event was sent (up to its capacity).
void driveTimedMotion(std::atomic<long>& sent, std::atomic<bool>& stop, int rate, bool buttonHeld, QPoint start,
    int maxMs, SendTimes& times);

struct ThreadSwitches
{
    QString name;
    qint64 switches = 0; // voluntary + involuntary
};

// Context switches of every thread of a process, by thread id: a sleeping thread that
// wakes up switches in once, so their growth counts wakeups.
QMap<QString, ThreadSwitches> threadSwitches(pid_t pid);

struct Wakeups
{
    qint64 total = 0;
    // "name (tid): n" for every thread that woke.
    QStringList threads;
};

// The wakeups between two readings of threadSwitches().
Wakeups wakeupsBetween(const QMap<QString, ThreadSwitches>& before, const QMap<QString, ThreadSwitches>& after);

} // namespace Bench
