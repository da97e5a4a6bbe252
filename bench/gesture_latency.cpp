// What a zone gesture feels like: the latencies between the user's input and what the
// screen shows, measured in a process that runs Parqueta's Application on the X11
// platform, exactly as the parqueta executable wires it.
//
//   bench_gesture [--reps 200] [--rate 1000] [--seconds 3] [--compositor none|xcompmgr|picom]
//                 [--depth 0] [--sections ohsf (of onhsfbpx)] [--picture overlay.png]
//                 [--shift-after 150]
//
// --depth D replaces every screen's layout by 2^D zones (splits in half, vertical and
// horizontal by turns); 0 keeps the preset layouts of a first run. --sections picks the
// parts to run: o overlay, n overlay after a pause (new windows each time, Shift pressed
// --shift-after ms after each drag began, then with the drag's first steps), h highlight
// and event handling, s snap, f the floor, b the X server's own floor under the overlays'
// shapes (bare windows shaped alike, no Parqueta), p a plain drag with the overlays
// parked and without them: the compositor's and the server's CPU,
// x a bare xcb client in the overlays' place, shown and repainted as they are.
// --picture saves the whole screen once, the overlays (kept from an earlier gesture)
// faded in and the second zone highlighted, first of all: the same command before and
// after a change shows whether the overlay still looks the same, pixel for pixel. Before
// that it saves the drag alone, before zone mode, as FILE-drag.png: no overlay in it.
// --compositor 0 and 1 still mean none and xcompmgr.
//
// Starts a virtual desktop (Xvfb with two monitors, openbox, a plain client; the
// compositor named: picom with its software (xrender) backend and without vsync, the way
// it runs on Xvfb), then drags the client by its title bar with XTest and measures:
//   overlay    Shift pressed during the drag -> the overlays of both screens painted;
//   highlight  pointer moved into another zone -> the overlay repainted with the new
//              highlight;
//   events     motion at --rate events/s in zone mode: handling time per event, CPU per
//              event and the backlog;
//   snap       button released -> the dragged window's last ConfigureNotify, seen on a
//              connection of the benchmark's own.
// "Painted" is the end of the event whose handling painted the overlay's view (the
// backing store is flushed to the X server in the same event) followed by a round trip
// on Qt's connection, so the server has drawn the pixels when the clock stops. Qt paints
// a window only once the server has exposed it, so painted implies mapped.
#include "BareOverlayClient.h"
#include "BenchSupport.h"
#include "ConfigureWatcher.h"
#include "PaintClock.h"
#include "RootScreenshot.h"
#include "ServerFloor.h"
#include "SplitTrees.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "app/Application.h"
#include "core/Settings.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/ZoneManager.h"
#include "models/Layout.h"
#include "models/SplitNode.h"
#include "models/Zone.h"
#include "platform/GlobalInput.h"
#include "platform/SettingsLocation.h"
#include "platform/x11/X11Platform.h"
#include "views/ZonesView.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QSet>
#include <QWindow>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

#include <xcb/xcb.h>

namespace {

using Bench::Clock;

constexpr uint32_t kShift = 0xffe1;

QString screenOf(const QWidget* view)
{
    const auto* window = qobject_cast<const ZonesWindow*>(view->window());
    return window ? window->screen().name() : QString();
}

QList<ZonesWindow*> visibleOverlays()
{
    QList<ZonesWindow*> result;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = qobject_cast<ZonesWindow*>(widget); window && window->isShowing())
            result.append(window);
    }
    return result;
}

// The same appearance without Parqueta: a plain QWidget per screen with the overlay's
// window flags and a full-size fill, shown -> painted; and a bare xcb client on its own
// connection: create + map an override-redirect window of the same size, wait for
// Expose, fill it, round trip. What these take is the floor Qt, Xvfb and the server set.
class PlainOverlay final : public QWidget
{
public:
    PlainOverlay(const QRect& frame, bool translucent)
        : QWidget(nullptr,
            Qt::FramelessWindowHint | Qt::WindowTransparentForInput | Qt::WindowStaysOnTopHint
                | Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint | Qt::Tool)
    {
        setAttribute(Qt::WA_TranslucentBackground, translucent);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setGeometry(frame);
    }
    bool painted = false;
    QRect lit; // a part filled in another colour, in the window's coordinates

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(rect(), QColor(40, 80, 200, 128));
        if (!lit.isEmpty())
            painter.fillRect(lit, QColor(40, 200, 80, 160));
        painted = true;
    }
};

double bareXcbWindowUs(const QRect& frame)
{
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const auto t0 = Clock::now();
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {screen->black_pixel, 1, XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, int16_t(frame.x()), int16_t(frame.y()),
        uint16_t(frame.width()), uint16_t(frame.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
        XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(c, window);
    xcb_flush(c);
    while (xcb_generic_event_t* event = xcb_wait_for_event(c)) {
        const bool exposed = (event->response_type & 0x7f) == XCB_EXPOSE;
        std::free(event);
        if (exposed)
            break;
    }
    const xcb_gcontext_t gc = xcb_generate_id(c);
    const uint32_t foreground = screen->white_pixel;
    xcb_create_gc(c, gc, window, XCB_GC_FOREGROUND, &foreground);
    const xcb_rectangle_t all {0, 0, uint16_t(frame.width()), uint16_t(frame.height())};
    xcb_poly_fill_rectangle(c, window, gc, 1, &all);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    const double us = Bench::microseconds(t0, Clock::now());
    xcb_disconnect(c);
    return us;
}

struct ZoneTarget
{
    QPointF center; // desktop space
    QRect frame; // where a window snapped into it goes, desktop space
    QRectF rect; // the zone itself, desktop space
};

} // namespace

int main(int argc, char** argv)
{
    const int reps = Bench::argument(argc, argv, "--reps", 200);
    const int rate = Bench::argument(argc, argv, "--rate", 1000);
    const int seconds = Bench::argument(argc, argv, "--seconds", 3);
    const std::optional<CompositorKind> compositor = Bench::compositorArgument(argc, argv);
    if (!compositor)
        return 2;
    const int depth = Bench::argument(argc, argv, "--depth", 0);
    const int shiftAfterMs = Bench::argument(argc, argv, "--shift-after", 150);
    QByteArray sections = "ohsf";
    QString picture;
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--sections") == 0)
            sections = argv[i + 1];
        if (qstrcmp(argv[i], "--picture") == 0)
            picture = QString::fromLocal8Bit(argv[i + 1]);
    }

    VirtualDesktop desktop;
    if (!Bench::startDesktop(desktop))
        return 1;
    Bench::PaintClock qtApp(argc, argv);
    qtApp.isView = [](const QObject* o) { return qobject_cast<const ZonesView*>(o) != nullptr; };
    qtApp.isWindow = [](const QWidget* w) { return qobject_cast<const ZonesWindow*>(w) != nullptr; };
    if (!Bench::startSession(desktop, *compositor))
        return 1;
    const xcb_window_t client = desktop.startPlainWindow(QStringLiteral("bench"), QRect(300, 300, 400, 300));
    if (client == XCB_WINDOW_NONE)
        return 1;
    VirtualDesktop::waitUntil([&] { return desktop.frameExtents(client).has_value(); });
    const QMargins extents = *desktop.frameExtents(client);

    std::unique_ptr<Platform> platform = createPlatform();
    if (!platform)
        return 1;
    Settings settings(createUserSettingsBackend());
    Application::Options options;
    // No settings window and no first run's guide over the desktop under test: the
    // dragged window would expose them, and Qt repaint them, on every step.
    options.launchedAsLoginItem = true;
    options.showOnboarding = false;
    Application application(*platform, settings, options);
    GlobalInput& input = platform->input();

    // Around the application's own handling of every motion event: the first probe is
    // connected before start() connects the monitors, the second after.
    Clock::time_point motionArrived;
    std::vector<double> motionUs;
    bool recordMotion = false;
    QObject::connect(&input, &GlobalInput::pointerMotion, [&] { motionArrived = Clock::now(); });
    application.start();
    QObject::connect(&input, &GlobalInput::pointerMotion, [&] {
        if (recordMotion)
            motionUs.push_back(Bench::microseconds(motionArrived, Clock::now()));
    });

    ScreenManager& screens = application.screenManager();
    if (depth > 0) {
        for (const Screen& screen : screens.screens()) {
            const QRectF frame = *screens.visibleFrameOf(screen);
            auto root = SplitNode::create(0, 0, frame.width(), frame.height());
            TestTrees::splitAlternating(root, depth);
            auto layout = Layout::create(root, QUuid::createUuid(), screen);
            application.layoutManager().save(LayoutList {layout}, screen);
            application.layoutManager().setActiveFor(screen, layout);
        }
    }
    std::optional<Screen> left;
    for (const Screen& screen : screens.screens()) {
        if (screen.name() == QLatin1String("LEFT"))
            left = screen;
    }
    const std::shared_ptr<Layout> layout = left ? application.layoutManager().activeFor(*left) : nullptr;
    if (!layout || layout->zones().size() < 2) {
        std::fprintf(stderr, "the left screen has no layout with two zones\n");
        return 1;
    }
    std::vector<ZoneTarget> targets;
    for (const std::shared_ptr<Zone>& zone : layout->zones()) {
        const QRectF rect = *screens.layoutToDesktop(*left, zone->rect());
        const QRectF frame = *screens.layoutToDesktop(*left, zone->visibleFrame(settings.effectiveGap(), screens));
        targets.push_back({rect.center(), frame.toRect(), rect});
    }
    // The drag at a fixed rate: legs of 400 one-pixel steps over the border of the first
    // two zones, kept on the layout (with 64 zones the first zone is narrower than that).
    double layoutLeft = targets[0].rect.left();
    for (const ZoneTarget& target : targets)
        layoutLeft = std::min(layoutLeft, target.rect.left());
    const double border = (targets[0].frame.right() + targets[1].frame.left()) / 2.0;
    const QPoint start(std::max(qRound(border) - 200, qRound(layoutLeft) + 1), qRound(targets[0].center.y()));
    // The zone under the path at this x, -1 in a gap.
    const auto zoneOnPath = [&](int x) {
        for (size_t i = 0; i < targets.size(); ++i) {
            if (targets[i].rect.contains(QPointF(x + 0.5, start.y() + 0.5)))
                return int(i);
        }
        return -1;
    };
    const int screenCount = static_cast<int>(screens.screens().size());
    std::printf("Openbox%s%s%s, %d screens, left layout with %zu zones, %d repetitions\n",
        *compositor == CompositorKind::None ? " (" : " + ", Bench::compositorName(*compositor),
        *compositor == CompositorKind::None ? ")" : "", screenCount, targets.size(), reps);

    XTestInput xtest;
    const auto pump = [](int ms) { Bench::runUntil([] { return false; }, ms); };
    ZoneManager& zones = application.zoneManager();

    // Presses the title bar of the client and moves it a little: the drag is on. back:
    // the other way, so that drag after drag the client stays where it is.
    const auto beginDrag = [&](bool back = false) {
        const QRect c = *desktop.clientGeometry(client);
        const QPoint grip(c.center().x(), c.top() - extents.top() / 2);
        xtest.moveTo(grip.x(), grip.y());
        pump(20);
        xtest.press(1);
        pump(20);
        for (int i = 1; i <= 6; ++i) {
            xtest.moveBy(back ? -8 : 8, back ? -4 : 4);
            pump(8);
        }
    };

    // With Shift held since zone mode came on: released, pressed again to switch zone mode
    // off, released. False when the overlays did not go.
    const auto zoneModeOff = [&] {
        xtest.keyUp(kShift);
        pump(20);
        xtest.keyDown(kShift);
        const bool off = Bench::runUntil([&] { return !zones.hasOverlays(); }, 2000);
        xtest.keyUp(kShift);
        return off;
    };

    // --- Picture ------------------------------------------------------------------------
    if (!picture.isEmpty()) {
        beginDrag();
        // The drag alone, zone mode not yet on: its overlays are being made ready, out of
        // sight. This picture must show the desktop and the dragged window only.
        pump(300);
        const QString dragPicture = QString(picture).replace(QLatin1String(".png"), QLatin1String("-drag.png"));
        std::printf("Picture of the drag before zone mode %s %s\n",
            RootScreenshot::save(dragPicture) ? "saved to" : "could not be saved to", qPrintable(dragPicture));
        // Zone mode on and off once first: the picture shows the windows kept from an
        // earlier gesture, as every gesture but the first one sees them.
        xtest.keyDown(kShift);
        Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= screenCount; }, 2000);
        pump(50);
        zoneModeOff();
        pump(100);
        xtest.keyDown(kShift);
        Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= screenCount; }, 2000);
        xtest.moveTo(qRound(targets[1].center.x()), qRound(targets[1].center.y()));
        pump(ZonesWindow::kFadeInMs + 300);
        const bool saved = RootScreenshot::save(picture);
        std::printf(
            "Picture of the overlays %s %s\n", saved ? "saved to" : "could not be saved to", qPrintable(picture));
        zoneModeOff();
        xtest.release(1);
        pump(300);
    }

    // --- Overlay ------------------------------------------------------------------------
    Clock::time_point shiftSeen;
    QObject::connect(&input, &GlobalInput::modifiersChanged, [&] { shiftSeen = Clock::now(); });
    // fresh: every repetition is a drag of its own, Shift pressed shiftAfter ms after it
    // began; released: the windows kept from the repetition before are deleted first, as
    // the factory does 10 s after a gesture: the overlay a gesture after a pause gets.
    const auto measureOverlays = [&](bool fresh, int shiftAfter, bool released) {
        std::vector<double> overlayUs, shiftSeenUs, shownUs, exposedUs;
        if (!fresh)
            beginDrag();
        int missed = 0;
        for (int i = 0; i < reps; ++i) {
            if (fresh) {
                for (QWidget* widget : QApplication::topLevelWidgets()) {
                    auto* window = qobject_cast<ZonesWindow*>(widget);
                    if (released && window && !window->isShowing())
                        delete window;
                }
                pump(20);
                beginDrag(i % 2 == 1);
                pump(shiftAfter);
            }
            QSet<QString> painted;
            Clock::time_point last;
            qtApp.onPainted = [&](QWidget* view, Clock::time_point at) {
                painted.insert(screenOf(view));
                last = at;
            };
            // A window parked with its pixels kept aside sends them without a paint.
            QList<QMetaObject::Connection> returns;
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* window = qobject_cast<ZonesWindow*>(widget))
                    returns << QObject::connect(window, &ZonesWindow::cameBackWithKeptPixels, window,
                        [&qtApp, window] { qtApp.countAsPainted(window); });
            }
            const Clock::time_point t0 = Clock::now();
            xtest.keyDown(kShift);
            if (Bench::runUntil([&] { return painted.size() >= screenCount; }, 2000)) {
                overlayUs.push_back(Bench::microseconds(t0, last));
                shiftSeenUs.push_back(Bench::microseconds(t0, shiftSeen));
                // A parked window comes back without being mapped or exposed.
                if (qtApp.lastShown > t0)
                    shownUs.push_back(Bench::microseconds(t0, qtApp.lastShown));
                if (qtApp.lastExposed > t0)
                    exposedUs.push_back(Bench::microseconds(t0, qtApp.lastExposed));
            } else
                ++missed;
            qtApp.onPainted = nullptr;
            for (const QMetaObject::Connection& connection : returns)
                QObject::disconnect(connection);
            xtest.keyUp(kShift);
            pump(5);
            // A second press switches zone mode off again.
            xtest.keyDown(kShift);
            Bench::runUntil([&] { return !zones.hasOverlays(); }, 2000);
            xtest.keyUp(kShift);
            pump(10);
            if (fresh) {
                xtest.release(1);
                pump(30);
            }
        }
        if (!fresh) {
            xtest.release(1);
            pump(200);
        }
        if (fresh)
            std::printf("\nOverlay %s, Shift pressed %d ms after a title-bar drag began -> overlays of all %d "
                        "screens painted:\n",
                released ? "after a pause (the kept windows released first)" : "of a new drag, windows kept",
                shiftAfter, screenCount);
        else
            std::printf("\nOverlay: Shift pressed during a title-bar drag -> overlays of all %d screens painted:\n",
                screenCount);
        Bench::print("overlay latency", Bench::stats(overlayUs), true);
        std::printf("  stages, from the key press:\n");
        Bench::print("  Shift seen by the application", Bench::stats(shiftSeenUs), true);
        // Windows parked between gestures (with a compositor) are neither shown nor exposed.
        if (!shownUs.empty())
            Bench::print("  last overlay window shown", Bench::stats(shownUs), true);
        if (!exposedUs.empty())
            Bench::print("  last overlay window exposed", Bench::stats(exposedUs), true);
        qtApp.printPaints("  painting one view");
        if (missed)
            std::printf("  %d repetitions showed no overlay within 2 s\n", missed);
    };
    if (sections.contains('o'))
        measureOverlays(false, 0, false);
    // A person takes a good tenth of a second from starting a drag to pressing Shift; 0
    // is Shift pressed right after the drag's first steps. The windows kept, in the same
    // rhythm, are the reference: each repetition starts from a few idle milliseconds,
    // which alone makes everything slower than back-to-back gestures in one drag.
    if (sections.contains('n')) {
        measureOverlays(true, shiftAfterMs, true);
        if (shiftAfterMs > 0)
            measureOverlays(true, 0, true);
        measureOverlays(true, shiftAfterMs, false);
    }

    // --- A plain drag over parked windows ----------------------------------------------
    // A drag that never becomes a gesture still has the overlays made ready, and they
    // stay mapped, parked, until released: what they cost the
    // compositor and the X server while windows are dragged, against the same drag with
    // them deleted.
    if (sections.contains('p')) {
        const auto cpuMsOf = [](const char* command) {
            double ms = 0;
            for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
                QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
                if (!comm.open(QIODevice::ReadOnly) || comm.readAll().trimmed() != command)
                    continue;
                QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
                if (!stat.open(QIODevice::ReadOnly))
                    continue;
                const QList<QByteArray> fields = stat.readAll().split(')').value(1).split(' ');
                // After the command: state is field 3, utime 14 and stime 15.
                ms += (fields.value(12).toDouble() + fields.value(13).toDouble()) * 1000.0 / double(sysconf(_SC_CLK_TCK));
            }
            return ms;
        };
        const char* compositorCommand = *compositor == CompositorKind::Picom ? "picom" : "xcompmgr";
        std::printf("\nA plain drag (no zone mode), %d motion events/s for %d s:\n", rate, seconds);
        for (const bool parked : {true, false}) {
            beginDrag();
            pump(300);
            int deleted = 0;
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                auto* window = qobject_cast<ZonesWindow*>(widget);
                if (!parked && window && !window->isShowing()) {
                    delete window;
                    ++deleted;
                }
            }
            pump(100);
            std::atomic<long> sent {0};
            std::atomic<bool> stop {false};
            const double compositor0 = cpuMsOf(compositorCommand), server0 = cpuMsOf("Xvfb");
            Bench::RoundTripProbe serverProbe;
            std::thread driver(Bench::driveMotion, std::ref(sent), std::ref(stop), rate, false, start, seconds * 1000);
            pump(seconds * 1000);
            stop.store(true);
            driver.join();
            const QByteArray compositorCpu = *compositor == CompositorKind::None
                ? QByteArray("no compositor")
                : QByteArray(compositorCommand) + " " + QByteArray::number(cpuMsOf(compositorCommand) - compositor0, 'f', 0)
                    + " ms of CPU";
            std::printf("  %s: %s, Xvfb %.0f ms\n", parked ? "the overlays made ready and parked" : "no overlay windows",
                compositorCpu.constData(), cpuMsOf("Xvfb") - server0);
            Bench::print("  a bare client's round trip meanwhile", Bench::stats(serverProbe.stop()));
            xtest.release(1);
            pump(300);
        }
    }

    // --- Highlight and event cost -------------------------------------------------------
    if (sections.contains('h')) {
        beginDrag();
        xtest.keyDown(kShift);
        Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= screenCount; }, 2000);
        // While the overlays fade in, a compositor repaints them whole at every step; moves
        // made then are counted apart, since the steps alone keep the server busy.
        const Clock::time_point fadedIn = Clock::now() + std::chrono::milliseconds(ZonesWindow::kFadeInMs);
        pump(50);
        long highlightChanges = 0;
        Clock::time_point flippedAt;
        for (ZonesWindow* window : visibleOverlays())
            QObject::connect(&window->viewModel(), &ZonesViewModel::zoneHighlightChanged, window,
                [&highlightChanges, &flippedAt] {
                    if (++highlightChanges % 2 == 1)
                        flippedAt = Clock::now();
                });

        // Start in the second zone, so every move below changes the highlight.
        xtest.moveTo(qRound(targets[1].center.x()), qRound(targets[1].center.y()));
        pump(50);
        std::vector<double> highlightUs, seenUs, flippedUs, fadingUs;
        int missed = 0;
        for (int i = 0; int(highlightUs.size()) < reps && i < 2 * reps; ++i) {
            const ZoneTarget& target = targets[static_cast<size_t>(i % 2)];
            const long changesBefore = highlightChanges;
            Clock::time_point t0;
            const std::optional<double> us = qtApp.timeUntilPainted(
                [&] {
                    t0 = Clock::now();
                    xtest.moveTo(qRound(target.center.x()), qRound(target.center.y()));
                },
                [&](QWidget* view) { return highlightChanges != changesBefore && screenOf(view) == left->name(); },
                1000);
            if (us && t0 < fadedIn) {
                fadingUs.push_back(*us);
            } else if (us) {
                highlightUs.push_back(*us);
                seenUs.push_back(Bench::microseconds(t0, motionArrived));
                flippedUs.push_back(Bench::microseconds(t0, flippedAt));
            } else {
                ++missed;
            }
            pump(5);
        }
        std::printf("\nHighlight: pointer moved into another zone -> overlay repainted:\n");
        Bench::print("highlight latency", Bench::stats(highlightUs), true);
        Bench::print("  ... while the overlays fade in", Bench::stats(fadingUs), true);
        std::printf("  stages, from the move:\n");
        Bench::print("  raw motion seen by the application", Bench::stats(seenUs), true);
        Bench::print("  highlight flipped (pointer read)", Bench::stats(flippedUs), true);
        qtApp.printPaints("  painting the view");
        if (missed)
            std::printf("  %d moves changed no highlight within 1 s\n", missed);

        // Motion at a fixed rate across the border of the first two zones.
        std::atomic<long> sent {0};
        std::atomic<bool> stop {false};
        motionUs.clear();
        recordMotion = true;
        // Motion that piles up is handled as one step at the latest pointer, so handled
        // steps are not counted against events sent: each step is placed by the pointer
        // position it acted on (Parqueta's own reading, kept for the event, no round trip
        // of the probe's), as the latest driver event that leaves the pointer there.
        std::vector<long> lag;
        long reflected = 0;
        const QMetaObject::Connection lagProbe = QObject::connect(&input, &GlobalInput::pointerMotion, [&] {
            const long now = sent.load();
            const int x = qRound(input.pointerLocation().x());
            // The server may have moved the pointer for an event whose XTest request has
            // not come back to the driver yet: one ahead of the count.
            long k = now + 1;
            while (k > 0 && k > now - 800 && start.x() + Bench::motionOffset(k - 1) != x)
                --k;
            reflected = std::max(reflected, k);
            lag.push_back(std::max(0L, now - k));
        });
        const long changes0 = highlightChanges;
        const double cpu0 = Bench::threadCpuSeconds();
        Bench::RoundTripProbe serverProbe;
        const Clock::time_point driverStarted = Clock::now();
        std::thread driver(Bench::driveMotion, std::ref(sent), std::ref(stop), rate, false, start, seconds * 1000);
        pump(seconds * 1000);
        stop.store(true);
        driver.join();
        Bench::runUntil([&] { return reflected >= sent.load(); }, 30000);
        const double cpu = Bench::threadCpuSeconds() - cpu0;
        // The driver's last event went out `seconds` after it started.
        const double drainMs = Bench::microseconds(driverStarted + std::chrono::seconds(seconds), Clock::now()) / 1000;
        recordMotion = false;
        QObject::disconnect(lagProbe);
        std::printf("\nEvent handling in zone mode (overlays shown), %d motion events/s for %d s, crossing a zone "
                    "border every 400 events:\n",
            rate, seconds);
        Bench::print("raw motion -> every observer done", Bench::stats(motionUs));
        Bench::print("the server meanwhile: a bare client's round trip", Bench::stats(serverProbe.stop()));
        const long maxLag = lag.empty() ? 0 : *std::max_element(lag.begin(), lag.end());
        std::printf("  sent %ld, %zu drag steps handled (motion that piled up is one step), the last event %.1f ms "
                    "after it was sent; %ld highlight changes\n",
            sent.load(), motionUs.size(), drainMs, highlightChanges - changes0);
        std::printf("  backlog: at most %ld events sent but not yet in the pointer a handled step acted on (XTest in "
                    "flight included)\n",
            maxLag);
        std::printf("  main-thread CPU: %.1f%% of one core, %.1f us per handled motion event (repaints included)\n",
            100.0 * cpu / seconds, motionUs.empty() ? 0.0 : cpu * 1e6 / static_cast<double>(motionUs.size()));

        xtest.release(1);
        xtest.keyUp(kShift);
        pump(300);
    }

    // --- The server's own floor under the overlays' shapes ---------------------------------
    if (sections.contains('b')) {
        // The shapes zone mode gives the overlays with each zone lit that the drag's path
        // crosses and with the first two (the highlight step's), taken off the real
        // overlays; then the overlays go and bare windows take their place.
        beginDrag();
        xtest.keyDown(kShift);
        Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= screenCount; }, 2000);
        std::map<int, QPoint> litAt {{1, targets[1].center.toPoint()}, {0, targets[0].center.toPoint()}};
        for (int x = start.x() + 1; x <= start.x() + 400; ++x) {
            const int zone = zoneOnPath(x);
            if (zone >= 0 && !litAt.count(zone))
                litAt[zone] = QPoint(x + 20, start.y());
        }
        std::vector<Bench::ShapedFrame> frames;
        std::map<int, std::vector<QRegion>> lit;
        int rectangles = 0;
        for (const auto& [zone, at] : litAt) {
            xtest.moveTo(at.x(), at.y());
            pump(100);
            for (ZonesWindow* window : visibleOverlays()) {
                // Qt's mask is in its own pixels; these are the server's.
                if (window->devicePixelRatio() != 1 || window->shape().isEmpty())
                    continue;
                lit[zone].push_back(window->shape());
            }
        }
        // The bare windows start as the overlays are where the drag starts.
        const int firstZone = std::max(0, zoneOnPath(start.x()));
        size_t shapeIndex = 0;
        for (ZonesWindow* window : visibleOverlays()) {
            if (window->devicePixelRatio() != 1 || window->shape().isEmpty() || shapeIndex >= lit[firstZone].size())
                continue;
            frames.push_back({window->desktopFrame(), lit[firstZone][shapeIndex]});
            rectangles += lit[firstZone][shapeIndex++].rectCount();
        }
        if (!zoneModeOff())
            std::printf("  zone mode did not end: what follows is not without Parqueta\n");
        pump(100);
        // The window manager moves its frame, the client only with it.
        xcb_connection_t* qtConnection = qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        xcb_query_tree_reply_t* tree
            = xcb_query_tree_reply(qtConnection, xcb_query_tree(qtConnection, client), nullptr);
        const xcb_window_t frame = tree ? tree->parent : client;
        std::free(tree);
        std::printf(
            "\nThe X server without Parqueta, in the same drag: nothing over the desktop, then bare windows with "
            "the overlays' frames and shapes%s\n",
            frames.empty() ? " (none here: the overlays are not shaped with a compositor or at another ratio)" : "");
        for (const bool shaped : {false, true}) {
            if (shaped && frames.empty())
                continue;
            std::optional<Bench::BareShapedWindows> windows;
            if (shaped) {
                const Clock::time_point t0 = Clock::now();
                windows.emplace(frames);
                std::printf("  bare windows, %d rectangles in their shapes, created, shaped and mapped in %.2f ms:\n",
                    rectangles, Bench::microseconds(t0, Clock::now()) / 1000);
            } else
                std::printf("  nothing over the desktop:\n");
            pump(50);
            Bench::ConfigureWatcher moves(frame);
            std::atomic<long> sent {0};
            std::atomic<bool> stop {false};
            Bench::RoundTripProbe probe;
            std::thread driver(Bench::driveMotion, std::ref(sent), std::ref(stop), rate, false, start, seconds * 1000);
            // The lit zone follows the pointer along the path, as in zone mode (the
            // pointer's place is known from the events sent: no round trip for it).
            int litZone = firstZone;
            int flips = 0;
            const Clock::time_point driveEnd = Clock::now() + std::chrono::milliseconds(seconds * 1000);
            while (Clock::now() < driveEnd) {
                const long n = sent.load();
                const int zone = zoneOnPath(n > 0 ? start.x() + Bench::motionOffset(n - 1) : start.x());
                if (windows && zone >= 0 && zone != litZone && lit.count(zone)) {
                    windows->reshape(lit[zone]);
                    litZone = zone;
                    ++flips;
                }
                pump(1);
            }
            stop.store(true);
            driver.join();
            Bench::print("    motion at the rate: a bare client's round trip", Bench::stats(probe.stop()));
            std::printf("    motion events XTest got through: %ld of %d; the window manager moved the window %zu "
                        "times; %d highlight steps\n",
                sent.load(), rate * seconds, moves.times().size(), flips);
            // The highlight's step: the pointer into the other zone (the window manager
            // moves the window there), then the shapes as Parqueta would set them.
            std::vector<double> stepUs;
            for (int i = 0; i < reps; ++i) {
                const size_t zone = size_t(i % 2);
                const size_t movesBefore = moves.times().size();
                const Clock::time_point t0 = Clock::now();
                xtest.moveTo(qRound(targets[zone].center.x()), qRound(targets[zone].center.y()));
                if (windows)
                    windows->reshape(lit[int(zone)]);
                // The window manager's move of the dragged window under the new shapes
                // belongs to the step: the server does it before answering anyone else.
                const Clock::time_point giveUp = Clock::now() + std::chrono::milliseconds(200);
                while (moves.times().size() == movesBefore && Clock::now() < giveUp)
                    std::this_thread::yield();
                Bench::PaintClock::syncWithServer();
                stepUs.push_back(Bench::microseconds(t0, Clock::now()));
                pump(5);
            }
            Bench::print(shaped ? "    pointer into the other zone -> window moved, new shapes set"
                                : "    pointer into the other zone -> window moved",
                Bench::stats(stepUs), true);
            windows.reset();
            pump(100);
        }
        xtest.release(1);
        pump(300);
    }

    // --- A bare client in the overlays' place ----------------------------------------------
    // The floor of the overlay and highlight figures: windows of the overlays' frames,
    // visual and shapes (taken off the real ones), shown and repainted by a bare xcb client
    // that reacts to the same raw input, in the same rhythms, with its pixels ready.
    if (sections.contains('x')) {
        // Neither Parqueta nor openbox's move does anything with a plain 'z'.
        constexpr uint32_t kTrigger = 0x7a;
        const bool translucent = *compositor != CompositorKind::None;
        beginDrag();
        xtest.keyDown(kShift);
        Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= screenCount; }, 2000);
        std::vector<Bench::BareOverlayClient::Window> windows;
        QRegion leftShapes[2];
        size_t leftIndex = 0;
        QPoint leftOrigin;
        bool logicalPixels = false;
        for (const int zone : {1, 0}) {
            xtest.moveTo(qRound(targets[size_t(zone)].center.x()), qRound(targets[size_t(zone)].center.y()));
            pump(100);
            windows.clear();
            for (ZonesWindow* window : visibleOverlays()) {
                // Qt's mask is in its own pixels; the server's are wanted.
                logicalPixels = logicalPixels || window->devicePixelRatio() != 1;
                if (window->screen().name() == left->name()) {
                    leftIndex = windows.size();
                    leftShapes[zone] = window->shape();
                    leftOrigin = window->desktopFrame().topLeft();
                }
                windows.push_back({window->desktopFrame(), window->shape()});
            }
        }
        zoneModeOff();
        xtest.release(1);
        pump(300);
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
            const auto shown = [&](bool inNewDrags) {
                std::vector<double> us;
                if (!inNewDrags)
                    beginDrag();
                for (int i = 0; i < reps; ++i) {
                    if (inNewDrags) {
                        pump(20);
                        beginDrag(i % 2 == 1);
                        pump(shiftAfterMs);
                    }
                    bare.showOnNextKeyPress();
                    const Clock::time_point t0 = Clock::now();
                    xtest.keyDown(kTrigger);
                    waitDone(us, t0);
                    xtest.keyUp(kTrigger);
                    pump(5);
                    bare.hide();
                    pump(10);
                    if (inNewDrags) {
                        xtest.release(1);
                        pump(30);
                    }
                }
                xtest.release(1);
                pump(200);
                return us;
            };
            const std::vector<double> backToBack = shown(false);
            const std::vector<double> inNewDrags = shown(true);
            // The highlight's step: the pointer into the other zone, the zone left and the
            // zone entered drawn anew, and without a compositor the shape of the new highlight.
            std::vector<double> stepUs, ignored;
            bare.showOnNextKeyPress();
            xtest.keyDown(kTrigger);
            waitDone(ignored, Clock::now());
            xtest.keyUp(kTrigger);
            bare.fadeIn();
            beginDrag();
            xtest.moveTo(qRound(targets[1].center.x()), qRound(targets[1].center.y()));
            pump(50);
            for (int i = 0; i < reps; ++i) {
                const size_t zone = size_t(i % 2);
                const std::vector<QRect> rects {targets[zone].rect.toRect().translated(-leftOrigin),
                    targets[1 - zone].rect.toRect().translated(-leftOrigin)};
                bare.repaintOnNextMotion(leftIndex, rects, translucent ? QRegion() : leftShapes[zone]);
                const Clock::time_point t0 = Clock::now();
                xtest.moveTo(qRound(targets[zone].center.x()), qRound(targets[zone].center.y()));
                waitDone(stepUs, t0);
                pump(5);
            }
            xtest.release(1);
            bare.hide();
            pump(300);
            std::printf("\nA bare xcb client in the overlays' place (%s windows, %d rectangles in the left one's "
                        "shape, pixels ready in shared memory), reacting to raw input:\n",
                translucent ? "32-bit, parked" : "opaque, unmapped", leftShapes[0].rectCount());
            Bench::print("a key pressed during a drag -> every window drawn", Bench::stats(backToBack), true);
            const QByteArray rhythm
                = "  ... pressed " + QByteArray::number(shiftAfterMs) + " ms into a new drag";
            Bench::print(rhythm.constData(), Bench::stats(inNewDrags), true);
            Bench::print(translucent ? "pointer into the other zone -> pointer read, both zones drawn"
                                     : "pointer into the other zone -> pointer read, both zones drawn, shape set",
                Bench::stats(stepUs), true);
        }
    }

    // --- Snap ---------------------------------------------------------------------------
    if (sections.contains('s')) {
        Bench::ConfigureWatcher watcher(client);
        std::vector<double> snapUs;
        int wrong = 0, missed = 0;
        for (int i = 0; i < reps; ++i) {
            const ZoneTarget& target = targets[static_cast<size_t>(i % 2)];
            beginDrag();
            xtest.keyDown(kShift);
            if (!Bench::runUntil([&] { return zones.hasOverlays(); }, 2000)) {
                ++missed;
                xtest.release(1);
                xtest.keyUp(kShift);
                pump(200);
                continue;
            }
            xtest.moveTo(qRound(target.center.x()), qRound(target.center.y()));
            pump(30);
            watcher.clear();
            const Clock::time_point t0 = Clock::now();
            xtest.release(1);
            // Final: the last ConfigureNotify before 150 ms without any.
            const std::optional<double> snapped = watcher.lastAfterQuiet(t0, 150, 2000);
            xtest.keyUp(kShift);
            if (!snapped) {
                ++missed;
                continue;
            }
            snapUs.push_back(*snapped);
            const std::optional<QRect> c = desktop.clientGeometry(client);
            if (!c || c->marginsAdded(extents) != target.frame)
                ++wrong;
            pump(20);
        }
        std::printf("\nSnap: button released -> the window's last ConfigureNotify (own connection):\n");
        Bench::print("snap latency", Bench::stats(snapUs), true);
        std::printf("  %d snaps ended elsewhere than the zone's frame, %d gestures without a snap\n", wrong, missed);
    }

    // --- The floor: the same windows without Parqueta -------------------------------------
    if (sections.contains('f')) {
        std::vector<double> xcbUs;
        // Waits for every window's first paint, then makes a round trip as for the
        // overlays, so both clocks stop at the same point.
        const auto allPainted = [&](const std::vector<std::unique_ptr<PlainOverlay>>& windows) {
            const bool done = Bench::runUntil(
                [&] { return std::all_of(windows.begin(), windows.end(), [](const auto& w) { return w->painted; }); },
                2000);
            Bench::PaintClock::syncWithServer();
            return done;
        };
        const auto newWindows = [&](bool translucent) {
            std::vector<double> us;
            for (int i = 0; i < reps; ++i) {
                const Clock::time_point t0 = Clock::now();
                std::vector<std::unique_ptr<PlainOverlay>> windows;
                for (const Screen& screen : screens.screens()) {
                    windows.push_back(
                        std::make_unique<PlainOverlay>(screens.visibleFrameOf(screen)->toRect(), translucent));
                    windows.back()->show();
                }
                if (allPainted(windows))
                    us.push_back(Bench::microseconds(t0, Clock::now()));
                windows.clear();
                pump(10);
            }
            return us;
        };
        const std::vector<double> qtUs = newWindows(true);
        const std::vector<double> qtOpaqueUs = newWindows(false);
        // As the overlay after a pause gets them: during a title-bar drag (the window
        // manager holds the pointer and the keyboard).
        beginDrag();
        pump(20);
        const std::vector<double> qtDragUs = newWindows(*compositor != CompositorKind::None);
        xtest.release(1);
        pump(100);
        // The same windows hidden and shown again, back to back, or in the rhythm of the
        // overlay after a pause: each time a new drag, the windows shown shiftAfterMs after
        // it began (with a compositor a trivial client's hidden window is unmapped, not
        // parked).
        const auto shownAgain = [&](bool translucent, bool inNewDrags) {
            std::vector<double> us;
            std::vector<std::unique_ptr<PlainOverlay>> windows;
            for (const Screen& screen : screens.screens())
                windows.push_back(
                    std::make_unique<PlainOverlay>(screens.visibleFrameOf(screen)->toRect(), translucent));
            for (int i = 0; i < reps; ++i) {
                if (inNewDrags) {
                    beginDrag(i % 2 == 1);
                    pump(shiftAfterMs);
                }
                const Clock::time_point t0 = Clock::now();
                for (auto& w : windows) {
                    w->painted = false;
                    w->show();
                }
                if (allPainted(windows))
                    us.push_back(Bench::microseconds(t0, Clock::now()));
                for (auto& w : windows)
                    w->hide();
                pump(10);
                if (inNewDrags) {
                    xtest.release(1);
                    pump(30);
                }
            }
            return us;
        };
        const std::vector<double> reusedUs = shownAgain(true, false);
        const std::vector<double> reusedDragUs = shownAgain(*compositor != CompositorKind::None, true);
        for (int i = 0; i < reps; ++i) {
            xcbUs.push_back(bareXcbWindowUs(QRect(0, 0, 1280, 1080)));
            pump(5);
        }
        // The highlight's step for the trivial client: during a drag the pointer jumps
        // into the other zone (the window manager moves the window), the client reads the
        // pointer, and the window of that screen repaints the zone it left and the zone it
        // entered.
        std::vector<double> stepUs;
        const auto readPointer = [] {
            xcb_connection_t* c = qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
            std::free(xcb_query_pointer_reply(c, xcb_query_pointer(c, xcb_setup_roots_iterator(xcb_get_setup(c)).data->root), nullptr));
        };
        {
            std::vector<std::unique_ptr<PlainOverlay>> windows;
            PlainOverlay* leftWindow = nullptr;
            for (const Screen& screen : screens.screens()) {
                const QRect frame = screens.visibleFrameOf(screen)->toRect();
                windows.push_back(
                    std::make_unique<PlainOverlay>(frame, *compositor != CompositorKind::None));
                if (screen.name() == QLatin1String("LEFT"))
                    leftWindow = windows.back().get();
                windows.back()->show();
            }
            allPainted(windows);
            beginDrag();
            xtest.moveTo(qRound(targets[1].center.x()), qRound(targets[1].center.y()));
            pump(50);
            for (int i = 0; leftWindow && i < reps; ++i) {
                const ZoneTarget& target = targets[size_t(i % 2)];
                const ZoneTarget& other = targets[size_t((i + 1) % 2)];
                const QPoint origin = leftWindow->geometry().topLeft();
                const Clock::time_point t0 = Clock::now();
                xtest.moveTo(qRound(target.center.x()), qRound(target.center.y()));
                // Raw input carries no position: a client following the pointer through
                // another's grab asks the server where it is, as Parqueta does.
                readPointer();
                leftWindow->lit = target.rect.toRect().translated(-origin);
                leftWindow->painted = false;
                leftWindow->update(QRegion(leftWindow->lit) + other.rect.toRect().translated(-origin));
                if (Bench::runUntil([&] { return leftWindow->painted; }, 1000)) {
                    Bench::PaintClock::syncWithServer();
                    stepUs.push_back(Bench::microseconds(t0, Clock::now()));
                }
                pump(5);
            }
            xtest.release(1);
            pump(100);
        }
        std::printf("\nThe floor without Parqueta: the same appearance for a trivial client:\n");
        Bench::print("QWidget per screen, show -> painted", Bench::stats(qtUs), true);
        Bench::print("  ... without an alpha channel", Bench::stats(qtOpaqueUs), true);
        Bench::print("  ... as the overlay's (alpha only with a compositor), during a drag",
            Bench::stats(qtDragUs), true);
        Bench::print("the same QWidgets hidden and shown again", Bench::stats(reusedUs), true);
        const QByteArray inDrags = QByteArray("  ... shown ") + QByteArray::number(shiftAfterMs) + " ms into a new drag";
        Bench::print(inDrags.constData(), Bench::stats(reusedDragUs), true);
        Bench::print("bare xcb window, create -> filled", Bench::stats(xcbUs), true);
        Bench::print("pointer into the other zone during a drag -> pointer read, both zones repainted",
            Bench::stats(stepUs), true);
    }

    application.quit();
    return 0;
}
