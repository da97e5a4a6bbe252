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
#include "BenchSupport.h"
#include "GestureRun.h"
#include "PaintClock.h"
#include "Sections.h"
#include "SplitTrees.h"
#include "VirtualDesktop.h"
#include "app/Application.h"
#include "core/Settings.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "models/SplitNode.h"
#include "models/Zone.h"
#include "platform/GlobalInput.h"
#include "platform/SettingsLocation.h"
#include "platform/x11/X11Platform.h"
#include "views/ZonesView.h"
#include "views/ZonesWindow.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

using Bench::Clock;

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
    GestureRun run({reps, rate, seconds, *compositor, depth, shiftAfterMs, sections, picture}, desktop, qtApp, client,
        extents, application, settings, input);

    // Around the application's own handling of every motion event: the first probe is
    // connected before start() connects the monitors, the second after.
    QObject::connect(&input, &GlobalInput::pointerMotion, [&run] { run.motionArrived = Clock::now(); });
    application.start();
    QObject::connect(&input, &GlobalInput::pointerMotion, [&run] {
        if (run.recordMotion)
            run.motionUs.push_back(Bench::microseconds(run.motionArrived, Clock::now()));
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
    for (const Screen& screen : screens.screens()) {
        if (screen.name() == QLatin1String("LEFT"))
            run.left = screen;
    }
    const std::shared_ptr<Layout> layout = run.left ? application.layoutManager().activeFor(*run.left) : nullptr;
    if (!layout || layout->zones().size() < 2) {
        std::fprintf(stderr, "the left screen has no layout with two zones\n");
        return 1;
    }
    std::vector<ZoneTarget>& targets = run.targets;
    for (const std::shared_ptr<Zone>& zone : layout->zones()) {
        const QRectF rect = *screens.layoutToDesktop(*run.left, zone->rect());
        const QRectF frame = *screens.layoutToDesktop(*run.left, zone->visibleFrame(settings.effectiveGap(), screens));
        targets.push_back({rect.center(), frame.toRect(), rect});
    }
    // The drag at a fixed rate: legs of 400 one-pixel steps over the border of the first
    // two zones, kept on the layout (with 64 zones the first zone is narrower than that).
    double layoutLeft = targets[0].rect.left();
    for (const ZoneTarget& target : targets)
        layoutLeft = std::min(layoutLeft, target.rect.left());
    const double border = (targets[0].frame.right() + targets[1].frame.left()) / 2.0;
    run.start = QPoint(std::max(qRound(border) - 200, qRound(layoutLeft) + 1), qRound(targets[0].center.y()));
    run.screenCount = static_cast<int>(screens.screens().size());
    std::printf("Openbox%s%s%s, %d screens, left layout with %zu zones, %d repetitions\n",
        *compositor == CompositorKind::None ? " (" : " + ", Bench::compositorName(*compositor),
        *compositor == CompositorKind::None ? ")" : "", run.screenCount, targets.size(), reps);

    if (!picture.isEmpty())
        savePictures(run);
    // When the application hears of Shift: the first stage of the overlay figures.
    QObject::connect(&input, &GlobalInput::modifiersChanged, [&run] { run.shiftSeen = Clock::now(); });
    if (sections.contains('o'))
        measureOverlay(run);
    if (sections.contains('n'))
        measureOverlayAfterPause(run);
    if (sections.contains('p'))
        measurePlainDrag(run);
    if (sections.contains('h'))
        measureHighlight(run);
    if (sections.contains('b'))
        measureServerFloor(run);
    if (sections.contains('x'))
        measureBareClient(run);
    if (sections.contains('s'))
        measureSnap(run);
    if (sections.contains('f'))
        measureFloor(run);

    application.quit();
    return 0;
}
