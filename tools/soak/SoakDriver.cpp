// Soak run of the real parqueta (normally the sanitizer build) on a virtual desktop with
// openbox: thousands of random gestures (Shift, right click, Alt, cancelled ones, random
// zones and release points), keyboard shortcuts, windows opened and closed at random,
// some of them mid-drag, and the right monitor unplugged and plugged back now and then,
// also mid-drag. Afterwards parqueta must still answer, leave on SIGTERM with status 0
// and no sanitizer report, and its settings file must still hold its layouts.
//
//   parqueta_soak [GESTURES] [--seconds S] [--rss-every N] [--seed X]
//
// Not a ctest: scripts/soak.sh builds the sanitizer build and runs this. Exit status 0
// when every check held; the figures (rate, resident memory) are printed.
#include "RobustnessSupport.h"

#include "DesktopZones.h"
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

namespace {

const QString kLeft = QStringLiteral("LEFT");
const QString kRight = QStringLiteral("RIGHT");
constexpr int kMaxWindows = 4;
constexpr int kMaxReportedMismatches = 10;

struct Options
{
    int gestures = 10000;
    int seconds = 0; // 0: no time limit
    int rssEvery = 250;
    unsigned seed = std::random_device {}();
};

struct Figures
{
    int gestures = 0;
    int checkedSnaps = 0;
    int mismatches = 0;
    int backWhereItStarted = 0;
    int shortcuts = 0;
    int windowsOpened = 0;
    int windowsClosed = 0;
    int closedMidDrag = 0;
    int unplugs = 0;
    int unplugsMidDrag = 0;
    QList<std::pair<int, qint64>> rss; // gestures done, bytes
};

class Soak final
{
public:
    Soak(VirtualDesktop& desktop, const Options& options)
        : m_desktop(desktop)
        , m_options(options)
        , m_random(options.seed)
        , m_parqueta(desktop)
        , m_driver(desktop, m_overlays)
    { }

    int run()
    {
        std::printf("soak: %d gestures, seed %u, resident memory every %d gestures\n", m_options.gestures,
            m_options.seed, m_options.rssEvery);
        if (!setUp())
            return 1;
        QElapsedTimer clock;
        clock.start();
        sampleMemory();
        while (m_figures.gestures < m_options.gestures) {
            if (m_options.seconds > 0 && clock.elapsed() > qint64(m_options.seconds) * 1000) {
                std::printf("soak: time limit of %d s reached\n", m_options.seconds);
                break;
            }
            step();
            if (!m_parqueta.isRunning())
                return died();
            if (m_figures.gestures % m_options.rssEvery == 0 && m_sampledAt != m_figures.gestures)
                sampleMemory(clock.elapsed());
        }
        const double seconds = double(clock.elapsed()) / 1000;
        sampleMemory(clock.elapsed());
        return finish(seconds);
    }

private:
    bool setUp()
    {
        if (!m_driver.isValid() || !m_overlays.isValid())
            return fail("no XTest extension or no X connection");
        if (!m_desktop.startWindowManager(WindowManagerKind::Openbox))
            return fail("openbox did not start: " + m_desktop.lastError());
        SettingsFile().remove();
        if (!m_parqueta.start())
            return fail("parqueta did not start: " + m_parqueta.lastError());
        m_overlays.setOwnerPid(m_parqueta.pid());
        const std::optional<DesktopZones> zones = DesktopZones::read();
        if (!zones)
            return fail("cannot read the zones: " + DesktopZones::lastError());
        m_zones = *zones;
        for (const DesktopZone& zone : m_zones.zones()) {
            if (!m_screenIds.contains(zone.screenId))
                m_screenIds.append(zone.screenId);
        }
        for (int i = 0; i < 2; ++i)
            openWindow();
        return !m_windows.empty() || fail("no client window could be opened");
    }

    void step()
    {
        const int roll = percent();
        if (m_rightUnplugged && --m_plugBackIn <= 0) {
            plugBackIn();
        } else if (roll < 4) {
            openOrCloseWindow();
        } else if (roll < 5 && !m_rightUnplugged) {
            unplugRight();
        } else if (roll < 10) {
            pressShortcut();
        } else {
            drag();
        }
    }

    void drag()
    {
        if (m_windows.empty()) {
            openWindow();
            return;
        }
        const xcb_window_t window = m_windows[pick(int(m_windows.size()))];
        DragOptions options;
        options.stepsPerLeg = 6;
        options.stepDelayMs = 3;
        const int kind = percent();
        options.toggle = kind < 35 ? ZoneToggle::Shift
            : kind < 60            ? ZoneToggle::RightClick
            : kind < 70            ? ZoneToggle::ShiftReleasedEarly
            : kind < 80            ? ZoneToggle::RightClickTwice
            : kind < 90            ? ZoneToggle::None
                                   : ZoneToggle::ShiftHeldAtPress;
        options.multiZone = percent() < 20;

        // Mostly a zone's middle (with a jitter), otherwise anywhere on the root.
        std::optional<DesktopZone> target;
        QPoint drop;
        if (percent() < 70) {
            const QList<DesktopZone> candidates = m_zones.zonesOn(m_rightUnplugged || percent() < 50 ? kLeft : kRight);
            target = candidates.at(pick(int(candidates.size())));
            drop = m_zones.dropPoint(target->screenName, target->zoneId, QPoint(pick(81) - 40, pick(81) - 40));
        } else {
            drop = QPoint(pick(VirtualDesktop::kWidth), pick(VirtualDesktop::kHeight));
        }
        if (percent() < 30)
            options.via = {QPoint(pick(VirtualDesktop::kWidth), pick(VirtualDesktop::kHeight))};

        // Rare mishaps while the button is held: the window goes away, the monitor is unplugged.
        bool windowClosed = false;
        const int mishap = pick(1000);
        if (mishap < 10) {
            options.beforeRelease = [&] {
                closeWindow(window);
                windowClosed = true;
                ++m_figures.closedMidDrag;
            };
        } else if (mishap < 15 && !m_rightUnplugged) {
            options.beforeRelease = [&] {
                unplugRight();
                ++m_figures.unplugsMidDrag;
            };
        }

        const std::optional<QRect> before = m_driver.frameOf(window);
        const DragReport report = m_driver.drag(window, drop, options);
        ++m_figures.gestures;
        const bool plainSnap = options.toggle == ZoneToggle::Shift || options.toggle == ZoneToggle::RightClick;
        if (target && plainSnap && !options.multiZone && !windowClosed && report.windowMoved && report.overlayShown
            && !options.beforeRelease) {
            ++m_figures.checkedSnaps;
            if (!m_driver.waitForFrame(window, target->frame, {}, 1500)) {
                ++m_figures.mismatches;
                const bool undone = m_driver.frameOf(window) == before;
                if (undone)
                    ++m_figures.backWhereItStarted;
                if (m_figures.mismatches <= kMaxReportedMismatches) {
                    const QRect got = m_driver.frameOf(window).value_or(QRect());
                    const QString via = options.via.isEmpty()
                        ? QStringLiteral("direct")
                        : QStringLiteral("via %1,%2").arg(options.via.first().x()).arg(options.via.first().y());
                    std::printf(
                        "soak: %s gesture %d (%s, %s, %d gesture(s) after a replug): dropped at %d,%d on %s %s, "
                        "window at %d,%d %dx%d instead of %d,%d %dx%d%s\n",
                        qPrintable(QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz"))), m_figures.gestures,
                        options.toggle == ZoneToggle::Shift ? "Shift" : "right click", qPrintable(via),
                        m_figures.gestures - m_pluggedBackAt, drop.x(), drop.y(), qPrintable(target->screenName),
                        qPrintable(target->zoneId), got.x(), got.y(), got.width(), got.height(), target->frame.x(),
                        target->frame.y(), target->frame.width(), target->frame.height(),
                        undone ? " (back where the drag started)" : "");
                }
            }
        }
    }

    void pressShortcut()
    {
        if (m_windows.empty())
            return;
        const xcb_window_t window = m_windows[pick(int(m_windows.size()))];
        m_driver.activate(window);
        const WindowShortcut shortcuts[] = {WindowShortcut::CycleLeft, WindowShortcut::CycleRight,
            WindowShortcut::CycleNext, WindowShortcut::CyclePrev, WindowShortcut::SpanLeft, WindowShortcut::SpanRight};
        m_driver.press(shortcuts[pick(6)]);
        GestureDriver::pump(30);
        ++m_figures.shortcuts;
    }

    void openOrCloseWindow()
    {
        const bool open = m_windows.size() <= 1 || (m_windows.size() < kMaxWindows && percent() < 50);
        if (open)
            openWindow();
        else
            closeWindow(m_windows[pick(int(m_windows.size()))]);
    }

    void openWindow()
    {
        const QRect geometry(100 + pick(900), 80 + pick(500), 300 + pick(400), 200 + pick(300));
        const xcb_window_t window
            = m_desktop.startPlainWindow(QStringLiteral("soak-%1").arg(m_figures.windowsOpened), geometry);
        if (window == XCB_WINDOW_NONE)
            return;
        m_windows.push_back(window);
        ++m_figures.windowsOpened;
    }

    void closeWindow(xcb_window_t window)
    {
        m_desktop.stopClient(window);
        m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), window), m_windows.end());
        ++m_figures.windowsClosed;
    }

    void unplugRight()
    {
        if (m_desktop.deleteMonitor(kRight)) {
            m_rightUnplugged = true;
            m_plugBackIn = 5 + pick(20);
            ++m_figures.unplugs;
        }
    }

    void plugBackIn()
    {
        if (m_desktop.resetMonitors()) {
            m_rightUnplugged = false;
            m_pluggedBackAt = m_figures.gestures;
        }
    }

    void sampleMemory(qint64 elapsedMs = 0)
    {
        m_sampledAt = m_figures.gestures;
        const std::optional<ProcessSample> sample = m_parqueta.sample();
        if (!sample)
            return;
        m_figures.rss.append({m_figures.gestures, sample->rssBytes});
        const double rate = elapsedMs > 0 ? m_figures.gestures * 1000.0 / double(elapsedMs) : 0;
        std::printf("soak: %6d gestures  %7.1f s  %5.2f gestures/s  rss %7.1f MiB  cpu %7.1f s\n", m_figures.gestures,
            double(elapsedMs) / 1000, rate, double(sample->rssBytes) / (1024.0 * 1024.0), sample->cpuSeconds);
        std::fflush(stdout);
    }

    int finish(double seconds)
    {
        bool ok = true;
        if (m_rightUnplugged)
            plugBackIn();

        // Still answering: one more plain Shift snap onto the left screen's first zone.
        if (m_windows.empty())
            openWindow();
        if (m_windows.empty()) {
            ok = fail("no client window for the final snap");
        } else {
            const DesktopZone first = *m_zones.zone(kLeft, QStringLiteral("1"));
            DragOptions options;
            m_driver.drag(m_windows.front(), m_zones.dropPoint(kLeft, QStringLiteral("1")), options);
            if (!m_driver.waitForFrame(m_windows.front(), first.frame, {}, 3000))
                ok = fail("the final snap did not land: parqueta no longer responds");
        }

        const std::optional<int> exitCode = m_parqueta.terminate(15000);
        if (exitCode != std::optional<int>(0))
            ok = fail(QStringLiteral("parqueta did not exit cleanly on SIGTERM (wait status %1)")
                          .arg(m_parqueta.waitStatus()));
        for (const char* report :
            {"ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:", "UndefinedBehaviorSanitizer"}) {
            const int count = m_parqueta.logCount(QString::fromLatin1(report));
            if (count > 0)
                ok = fail(QStringLiteral("%1 line(s) with \"%2\" in %3").arg(count).arg(report, m_parqueta.logFile()));
        }
        const QString settings = Robustness::settingsProblem(ParquetaProcess::settingsPath(), m_screenIds);
        if (!settings.isEmpty())
            ok = fail(settings);

        const double rate = seconds > 0 ? m_figures.gestures / seconds : 0;
        std::printf("\nsoak summary\n");
        std::printf("  gestures          %d in %.1f s: %.2f gestures/s (10000 would take %.1f min)\n",
            m_figures.gestures, seconds, rate, rate > 0 ? 10000 / rate / 60 : 0.0);
        std::printf("  snaps checked     %d, landed elsewhere %d (%d of them back where the drag started)\n",
            m_figures.checkedSnaps, m_figures.mismatches, m_figures.backWhereItStarted);
        std::printf("  shortcuts         %d\n", m_figures.shortcuts);
        std::printf("  windows           %d opened, %d closed (%d while dragged)\n", m_figures.windowsOpened,
            m_figures.windowsClosed, m_figures.closedMidDrag);
        std::printf("  monitor unplugged %d times (%d mid-drag)\n", m_figures.unplugs, m_figures.unplugsMidDrag);
        QStringList samples;
        for (const auto& [gestures, bytes] : m_figures.rss)
            samples.append(QStringLiteral("%1:%2").arg(gestures).arg(double(bytes) / (1024.0 * 1024.0), 0, 'f', 1));
        std::printf("  rss MiB           %s\n", qPrintable(samples.join(QLatin1Char(' '))));
        std::printf("  parqueta log      %s\n", qPrintable(keepLog()));
        std::printf("soak: %s\n", ok ? "PASSED" : "FAILED");
        return ok ? 0 : 1;
    }

    // The desktop's scratch directory goes with it: the log is copied out first.
    QString keepLog() const
    {
        const QString kept
            = QDir::temp().filePath(QStringLiteral("parqueta-soak-%1.log")
                                        .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"))));
        return QFile::copy(m_parqueta.logFile(), kept) ? kept : m_parqueta.logFile();
    }

    int died()
    {
        std::printf("soak: parqueta died after %d gestures (wait status %d); its log (%s) ends:\n%s\n",
            m_figures.gestures, m_parqueta.waitStatus(), qPrintable(keepLog()),
            qPrintable(m_parqueta.logText().right(6000)));
        std::printf("soak: FAILED\n");
        return 1;
    }

    bool fail(const QString& message)
    {
        std::printf("soak: FAILURE: %s\n", qPrintable(message));
        return false;
    }

    int percent() { return pick(100); }
    int pick(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }

    VirtualDesktop& m_desktop;
    const Options m_options;
    std::mt19937 m_random;
    ParquetaProcess m_parqueta;
    OverlayProbe m_overlays;
    GestureDriver m_driver;
    DesktopZones m_zones;
    QStringList m_screenIds;
    std::vector<xcb_window_t> m_windows;
    bool m_rightUnplugged = false;
    int m_plugBackIn = 0;
    int m_pluggedBackAt = 0;
    int m_sampledAt = -1;
    Figures m_figures;
};

std::optional<Options> parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        const bool hasValue = i + 1 < argc;
        bool valid = true;
        if (argument == QLatin1String("--seconds") && hasValue)
            options.seconds = QString::fromLocal8Bit(argv[++i]).toInt(&valid);
        else if (argument == QLatin1String("--rss-every") && hasValue)
            options.rssEvery = QString::fromLocal8Bit(argv[++i]).toInt(&valid);
        else if (argument == QLatin1String("--seed") && hasValue)
            options.seed = QString::fromLocal8Bit(argv[++i]).toUInt(&valid);
        else
            options.gestures = argument.toInt(&valid);
        if (!valid || options.gestures <= 0 || options.rssEvery <= 0 || options.seconds < 0)
            return std::nullopt;
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    const std::optional<Options> options = parse(argc, argv);
    if (!options) {
        std::fprintf(stderr, "usage: %s [GESTURES] [--seconds S] [--rss-every N] [--seed X]\n", argv[0]);
        return 2;
    }
    VirtualDesktop desktop;
    if (!desktop.start()) {
        std::fprintf(stderr, "soak: no virtual desktop: %s\n", qPrintable(desktop.lastError()));
        return 1;
    }
    VirtualDesktop::setShared(&desktop);
    // The sanitizer options meant for parqueta (scripts/soak.sh runs this driver, itself
    // built with the sanitizers, with leak detection off).
    if (qEnvironmentVariableIsSet("PARQUETA_CHILD_ASAN_OPTIONS"))
        qputenv("ASAN_OPTIONS", qgetenv("PARQUETA_CHILD_ASAN_OPTIONS"));
    int result = 0;
    {
        // Not on the X server: the desktop is driven through XTest and watched over xcb.
        QCoreApplication app(argc, argv);
        Soak soak(desktop, *options);
        result = soak.run();
    }
    VirtualDesktop::setShared(nullptr);
    return result;
}
