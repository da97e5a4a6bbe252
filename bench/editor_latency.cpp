// What the zone editor and the borders flash feel like: how soon they are on screen, how
// closely the editor's preview line follows the pointer, how a border drag repaints a
// large layout, and what is left once the editor is closed. Runs Parqueta's Application
// on the X11 platform in this process, exactly as the parqueta executable wires it.
//
//   bench_editor [--reps 200] [--rate 1000] [--seconds 3] [--compositor 0|1] [--idle 20]
//
// Starts a virtual desktop (Xvfb with two monitors, openbox; xcompmgr with
// --compositor 1) and measures on the left screen:
//   editor     showEditor() -> the editor's canvas painted; closed with Escape (XTest)
//              each time, with the preset layout and with 64 zones;
//   line       the pointer moved over the canvas at --rate events/s (XTest): how late
//              each motion reaches the view model, the backlog, and motion -> repainted;
//   drag       a 64-zone layout's root border dragged through the view model, one step
//              at a time: step -> repainted;
//   flash      LayoutBordersFlasher::flash() -> its view painted (the first flash makes a window, later ones reuse it);
//   idle       resident memory before the first editor and after the last one closed,
//              then CPU and wakeups of every thread over --idle seconds.
// "Painted" is what bench_gesture means by it (Bench::PaintClock): the event whose
// handling painted is over and a round trip on Qt's connection returned, so the server
// has the pixels. The server's Expose of the window (it is mapped) is printed as a stage.
#include "BenchSupport.h"
#include "PaintClock.h"
#include "SplitTrees.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "app/Application.h"
#include "core/Settings.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "models/SplitBorder.h"
#include "models/SplitNode.h"
#include "platform/SettingsLocation.h"
#include "platform/x11/X11Platform.h"
#include "views/LayoutBordersFlasher.h"
#include "views/LayoutBordersView.h"
#include "views/LayoutBordersWindow.h"
#include "views/ZoneEditorManager.h"
#include "views/ZoneEditorView.h"
#include "views/ZoneEditorViewModel.h"
#include "views/ZoneEditorWindow.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QFile>
#include <QMouseEvent>
#include <QPointer>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using Bench::Clock;

// VmRSS from /proc/self/status and what it is made of, in MB: heap and other private memory,
// mapped files (libraries, font caches), shared memory (backing stores shared with X).
struct Resident
{
    double total = 0, anon = 0, file = 0, shmem = 0;
};

Resident resident()
{
    Resident r;
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return r;
    for (const QByteArray& line : status.readAll().split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 2)
            continue;
        const double mb = fields[1].toDouble() / 1024.0;
        if (fields[0] == "VmRSS:")
            r.total = mb;
        else if (fields[0] == "RssAnon:")
            r.anon = mb;
        else if (fields[0] == "RssFile:")
            r.file = mb;
        else if (fields[0] == "RssShmem:")
            r.shmem = mb;
    }
    return r;
}

void printResident(const char* when, const Resident& r, const Resident& before)
{
    std::printf("  %-44s %5.1f MB (%+.1f): private %.1f, files %.1f, shared memory %.1f\n", when, r.total,
        r.total - before.total, r.anon, r.file, r.shmem);
}

double processCpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Notes the desktop position of the last pointer motion Qt delivered to one of our
// windows. Installed after the editor's own pointer monitor, so it runs first and the
// view model's reaction to the same event can be matched to it.
class MotionTap final : public QObject
{
public:
    MotionTap() { QCoreApplication::instance()->installEventFilter(this); }
    ~MotionTap() override { QCoreApplication::instance()->removeEventFilter(this); }
    int lastX = -1;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::MouseMove && qobject_cast<QWindow*>(watched))
            lastX = qRound(static_cast<QMouseEvent*>(event)->globalPosition().x());
        return false;
    }
};

void printStages(const char* title, const std::vector<double>& total, const std::vector<double>& returned,
    const std::vector<double>& exposed, Bench::PaintClock& clock)
{
    std::printf("\n%s\n", title);
    Bench::print("request -> painted", Bench::stats(total), true);
    std::printf("  stages, from the request:\n");
    Bench::print("  request returned (window shown)", Bench::stats(returned), true);
    Bench::print("  window exposed by the server (mapped)", Bench::stats(exposed), true);
    clock.printPaints("  painting the view");
}

} // namespace

int main(int argc, char** argv)
{
    const bool composited = Bench::argument(argc, argv, "--compositor", 0) != 0;
    const int reps = Bench::argument(argc, argv, "--reps", 200);
    const int idleSeconds = Bench::argument(argc, argv, "--idle", 20);
    const int rate = Bench::argument(argc, argv, "--rate", 1000);
    const int seconds = Bench::argument(argc, argv, "--seconds", 3);

    VirtualDesktop desktop;
    if (!Bench::startDesktop(desktop))
        return 1;
    Bench::PaintClock qtApp(argc, argv);
    qtApp.isView = [](const QObject* o) {
        return qobject_cast<const ZoneEditorView*>(o) || qobject_cast<const LayoutBordersView*>(o);
    };
    qtApp.isWindow = [](const QWidget* w) {
        return qobject_cast<const ZoneEditorWindow*>(w) || qobject_cast<const LayoutBordersWindow*>(w);
    };
    if (!Bench::startSession(desktop, composited))
        return 1;

    std::unique_ptr<Platform> platform = createPlatform();
    if (!platform)
        return 1;
    Settings settings(createUserSettingsBackend());
    Application::Options options;
    options.launchedAsLoginItem = true; // no settings window over the desktop under test
    Application application(*platform, settings, options);
    application.start();
    ScreenManager& screens = application.screenManager();
    LayoutManager& layouts = application.layoutManager();
    ZoneEditorManager& editors = application.editorManager();
    std::optional<Screen> left;
    for (const Screen& screen : screens.screens()) {
        if (screen.name() == QLatin1String("LEFT"))
            left = screen;
    }
    const std::shared_ptr<Layout> preset = left ? layouts.activeFor(*left) : nullptr;
    if (!preset) {
        std::fprintf(stderr, "the left screen has no layout\n");
        return 1;
    }
    const QRectF visible = *screens.visibleFrameOf(*left);
    std::printf("Openbox%s, %d screens, editor on LEFT (%gx%g), preset layout with %zu zones\n",
        composited ? " + xcompmgr" : " (no compositor)", static_cast<int>(screens.screens().size()), visible.width(),
        visible.height(), preset->zones().size());

    XTestInput xtest;
    const auto pump = [](int ms) { Bench::runUntil([] { return false; }, ms); };
    pump(500);
    const Resident rssBefore = resident();

    // Opens the editor and waits for its first paint; the three times are from the request.
    struct Opened
    {
        bool painted = false;
        double us = 0, returnedUs = 0, exposedUs = 0;
    };
    const auto openEditor = [&](const std::shared_ptr<Layout>& layout) {
        Opened opened;
        Clock::time_point requested, exposedAt;
        const std::optional<double> us = qtApp.timeUntilPainted(
            [&] {
                requested = Clock::now();
                editors.showEditor(*left, layout);
                opened.returnedUs = Bench::microseconds(requested, Clock::now());
            },
            [&](QWidget* view) {
                // The editor is painted again when it takes the focus, often in the
                // same turn of the loop: the expose that counts is the one before this.
                exposedAt = qtApp.lastExposed;
                return qobject_cast<ZoneEditorView*>(view) != nullptr;
            },
            2000);
        opened.painted = us.has_value();
        opened.us = us.value_or(0);
        opened.exposedUs = Bench::microseconds(requested, exposedAt);
        return opened;
    };
    // Escape as the user closes it; close() only when Escape did not.
    int escapeMissed = 0;
    const auto closeEditor = [&] {
        xtest.tap(Keysym::Escape);
        if (!Bench::runUntil([&] { return editors.openCount() == 0; }, 2000)) {
            ++escapeMissed;
            if (ZoneEditorWindow* window = editors.editorFor(*left))
                window->close();
        }
        pump(20); // the closed editor is deleted on the next turn of the loop
    };
    const auto measureAppearance = [&](const std::shared_ptr<Layout>& layout, int count, const char* title) {
        std::vector<double> total, returned, exposed;
        int missed = 0;
        for (int i = 0; i < count; ++i) {
            const Opened opened = openEditor(layout);
            if (opened.painted) {
                total.push_back(opened.us);
                returned.push_back(opened.returnedUs);
                exposed.push_back(opened.exposedUs);
            } else
                ++missed;
            closeEditor();
        }
        printStages(title, total, returned, exposed, qtApp);
        if (missed)
            std::printf("  %d editors were not painted within 2 s\n", missed);
    };

    // --- The editor appears ---------------------------------------------------------------
    measureAppearance(preset, 1, "Editor, the first one of this process (preset layout):");
    pump(1000);
    const Resident rssAfterFirst = resident();
    measureAppearance(preset, reps, "Editor: showEditor() -> canvas painted (preset layout), then Escape:");
    if (escapeMissed)
        std::printf("  Escape closed no editor %d times (closed with close())\n", escapeMissed);

    // --- The preview line follows the pointer ------------------------------------------------
    {
        if (!openEditor(preset).painted)
            return 1;
        pump(ZoneEditorWindow::kFadeInMs + 100);
        ZoneEditorViewModel& viewModel = editors.editorFor(*left)->viewModel();
        // In the first zone, below the border's controls and clear of the hint and buttons.
        const QPoint start(qRound(visible.left()) + 100, qRound(visible.top() + visible.height() * 0.75));
        xtest.moveTo(start.x(), start.y());
        pump(50);

        Bench::SendTimes sendTimes(static_cast<size_t>(rate) * static_cast<size_t>(seconds + 1) + 1000);
        std::atomic<long> sent {0};
        std::atomic<bool> stop {false};
        MotionTap tap;
        long handledIndex = -1; // the last motion the view model has reacted to
        long handled = 0, coalesced = 0, unmatched = 0, maxBacklog = 0;
        std::vector<double> lateUs, repaintUs;
        Clock::time_point lastHandledAt;
        const QMetaObject::Connection follow
            = QObject::connect(&viewModel, &ZoneEditorViewModel::splitLineChanged, [&] {
                  const Clock::time_point now = Clock::now();
                  // Within one 400-event leg every x is new; a turn can make this match
                  // an event two early.
                  long j = handledIndex + 1;
                  while (sendTimes.at(j) && start.x() + Bench::motionOffset(j) != tap.lastX)
                      ++j;
                  const std::optional<Clock::time_point> sentAt = sendTimes.at(j);
                  if (!sentAt) {
                      ++unmatched;
                      return;
                  }
                  ++handled;
                  coalesced += j - handledIndex - 1;
                  handledIndex = j;
                  lastHandledAt = now;
                  lateUs.push_back(Bench::microseconds(*sentAt, now));
                  maxBacklog = std::max(maxBacklog, sent.load() - (j + 1));
              });
        long shownIndex = -1;
        qtApp.onPainted = [&](QWidget* view, Clock::time_point at) {
            if (!qobject_cast<ZoneEditorView*>(view) || handledIndex <= shownIndex)
                return;
            // The oldest motion this frame is the first to show.
            if (const std::optional<Clock::time_point> oldest = sendTimes.at(shownIndex + 1))
                repaintUs.push_back(Bench::microseconds(*oldest, at));
            shownIndex = handledIndex;
        };
        const double cpu0 = Bench::threadCpuSeconds();
        std::thread driver(Bench::driveTimedMotion, std::ref(sent), std::ref(stop), rate, false, start, seconds * 1000,
            std::ref(sendTimes));
        pump(seconds * 1000);
        stop.store(true);
        driver.join();
        const long last = sent.load() - 1;
        Bench::runUntil([&] { return handledIndex >= last; }, 5000);
        pump(50);
        const double cpu = Bench::threadCpuSeconds() - cpu0;
        QObject::disconnect(follow);
        qtApp.onPainted = nullptr;
        const std::optional<Clock::time_point> lastSent = sendTimes.at(last);

        std::printf("\nPreview line: pointer moved over the canvas at %d events/s for %d s:\n", rate, seconds);
        Bench::print("motion sent -> view model has it", Bench::stats(lateUs));
        Bench::print("motion sent -> canvas repainted", Bench::stats(repaintUs), true);
        qtApp.printPaints("  painting the canvas");
        std::printf("  sent %ld; the view model reacted %ld times (%ld motions coalesced by Qt, %ld not matched);\n",
            sent.load(), handled, coalesced, unmatched);
        std::printf("  the last motion %s\n",
            handledIndex >= last && lastSent
                ? qPrintable(QStringLiteral("handled %1 ms after it was sent")
                                 .arg(Bench::microseconds(*lastSent, lastHandledAt) / 1000, 0, 'f', 1))
                : "never handled");
        std::printf("  backlog: at most %ld motions sent but not yet handled (XTest in flight included)\n", maxBacklog);
        std::printf("  main-thread CPU: %.1f%% of one core, %.1f us per handled motion (repaints included)\n",
            100.0 * cpu / seconds, handled ? cpu * 1e6 / static_cast<double>(handled) : 0.0);
        closeEditor();
    }

    // --- The borders flash --------------------------------------------------------------
    // As the application does: a closed flash window serves the next flash on its screen.
    LayoutBordersFlasher flasher(screens, settings, platform->desktopEffects());
    const auto measureFlash = [&](const std::shared_ptr<Layout>& layout, int count, const char* title) {
        std::vector<double> total, returned, exposed;
        int missed = 0;
        for (int i = 0; i < count; ++i) {
            Clock::time_point requested, exposedAt;
            QPointer<LayoutBordersWindow> window;
            double returnedUs = 0;
            const std::optional<double> us = qtApp.timeUntilPainted(
                [&] {
                    requested = Clock::now();
                    window = flasher.flash(layout);
                    returnedUs = Bench::microseconds(requested, Clock::now());
                },
                [&](QWidget* view) {
                    exposedAt = qtApp.lastExposed;
                    return qobject_cast<LayoutBordersView*>(view) != nullptr;
                },
                1000);
            if (us) {
                total.push_back(*us);
                returned.push_back(returnedUs);
                exposed.push_back(Bench::microseconds(requested, exposedAt));
            } else
                ++missed;
            // The flash would close itself at 0.5 s; closing it at once keeps the run short.
            if (window)
                window->close();
            Bench::runUntil([&] { return !window || !window->isVisible(); }, 1000);
            pump(10);
        }
        printStages(title, total, returned, exposed, qtApp);
        if (missed)
            std::printf("  %d flashes were not painted within 1 s\n", missed);
    };
    measureFlash(preset, reps, "Borders flash: flash() -> painted (preset layout):");

    // --- 64 zones: the editor, a border drag, the flash ------------------------------------
    {
        auto root = SplitNode::create(0, 0, visible.width(), visible.height());
        TestTrees::splitAlternating(root, 6);
        const std::shared_ptr<Layout> large = Layout::create(root, QUuid::createUuid(), *left);
        layouts.save(LayoutList {preset, large}, *left);
        layouts.setActiveFor(*left, large);
        const int fewer = std::max(10, reps / 4);
        measureAppearance(large, fewer, "Editor with 64 zones: showEditor() -> canvas painted:");
        measureFlash(large, fewer, "Borders flash with 64 zones: flash() -> painted:");

        if (!openEditor(large).painted)
            return 1;
        pump(ZoneEditorWindow::kFadeInMs + 100);
        ZoneEditorViewModel& viewModel = editors.editorFor(*left)->viewModel();
        int rootBorder = -1;
        for (const SplitBorder& border : large->borders()) {
            if (border.parent == large->root())
                rootBorder = border.id;
        }
        std::vector<double> dragUs;
        int missed = 0;
        viewModel.beginBorderDrag(rootBorder);
        for (int i = 0; i < reps; ++i) {
            // Every step lands somewhere new, up to 40 px either side of where it began.
            const double translation = 2.0 * (i % 41) - 40.0;
            const std::optional<double> us = qtApp.timeUntilPainted([&] { viewModel.dragBorder(translation); },
                [](QWidget* view) { return qobject_cast<ZoneEditorView*>(view) != nullptr; }, 1000);
            if (us)
                dragUs.push_back(*us);
            else
                ++missed;
            pump(1);
        }
        viewModel.endBorderDrag();
        std::printf("\nBorder drag, 64 zones: the root border moved one step -> canvas repainted:\n");
        Bench::print("step -> painted", Bench::stats(dragUs), true);
        qtApp.printPaints("  painting the canvas");
        if (missed)
            std::printf("  %d steps were not repainted within 1 s\n", missed);
        closeEditor();
        layouts.save(LayoutList {preset}, *left);
        layouts.setActiveFor(*left, preset);
    }

    // --- Idle once every editor is closed --------------------------------------------------
    pump(1500);
    const Resident rssAfter = resident();
    std::printf("\nResident memory (VmRSS), against before the first editor:\n");
    printResident("before the first editor", rssBefore, rssBefore);
    printResident("1 s after the first editor closed", rssAfterFirst, rssBefore);
    printResident("after all of the above, 1.5 s idle", rssAfter, rssBefore);
    // What of the difference is free memory the C library keeps rather than memory in use.
    malloc_trim(0);
    printResident("then after malloc_trim(0)", resident(), rssBefore);

    long loopWakeups = 0;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, [&] { ++loopWakeups; });
    const QMap<QString, Bench::ThreadSwitches> before = Bench::threadSwitches(getpid());
    const double cpu0 = processCpuSeconds();
    QEventLoop idle;
    QTimer::singleShot(idleSeconds * 1000, &idle, &QEventLoop::quit);
    idle.exec();
    const double cpu = processCpuSeconds() - cpu0;
    const Bench::Wakeups woke = Bench::wakeupsBetween(before, Bench::threadSwitches(getpid()));
    std::printf("\nIdle after the editors closed, %d s (this process, every thread):\n", idleSeconds);
    std::printf("  CPU %.1f ms; %lld wakeups (%.2f per second), %ld of them the main event loop (its own timer "
                "ending the wait is one)\n",
        cpu * 1000, static_cast<long long>(woke.total), static_cast<double>(woke.total) / idleSeconds, loopWakeups);
    if (!woke.threads.isEmpty())
        std::printf("  threads that woke: %s\n", qPrintable(woke.threads.join(QStringLiteral(", "))));

    application.quit();
    return 0;
}
