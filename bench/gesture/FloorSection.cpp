#include "GestureRun.h"
#include "PaintClock.h"
#include "Sections.h"
#include "VirtualDesktop.h"
#include "managers/ScreenManager.h"

#include <QApplication>
#include <QPainter>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <xcb/xcb.h>

namespace {

using Bench::Clock;

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

} // namespace

// --- The floor: the same windows without Parqueta -------------------------------------
void measureFloor(GestureRun& run)
{
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
        for (int i = 0; i < run.reps; ++i) {
            const Clock::time_point t0 = Clock::now();
            std::vector<std::unique_ptr<PlainOverlay>> windows;
            for (const Screen& screen : run.screens.screens()) {
                windows.push_back(
                    std::make_unique<PlainOverlay>(run.screens.visibleFrameOf(screen)->toRect(), translucent));
                windows.back()->show();
            }
            if (allPainted(windows))
                us.push_back(Bench::microseconds(t0, Clock::now()));
            windows.clear();
            run.pump(10);
        }
        return us;
    };
    const std::vector<double> qtUs = newWindows(true);
    const std::vector<double> qtOpaqueUs = newWindows(false);
    // As the overlay after a pause gets them: during a title-bar drag (the window
    // manager holds the pointer and the keyboard).
    run.beginDrag();
    run.pump(20);
    const std::vector<double> qtDragUs = newWindows(run.compositor != CompositorKind::None);
    run.xtest.release(1);
    run.pump(100);
    // The same windows hidden and shown again, back to back, or in the rhythm of the
    // overlay after a pause: each time a new drag, the windows shown shiftAfterMs after
    // it began (with a compositor a trivial client's hidden window is unmapped, not
    // parked).
    const auto shownAgain = [&](bool translucent, bool inNewDrags) {
        std::vector<double> us;
        std::vector<std::unique_ptr<PlainOverlay>> windows;
        for (const Screen& screen : run.screens.screens())
            windows.push_back(
                std::make_unique<PlainOverlay>(run.screens.visibleFrameOf(screen)->toRect(), translucent));
        for (int i = 0; i < run.reps; ++i) {
            if (inNewDrags) {
                run.beginDrag(i % 2 == 1);
                run.pump(run.shiftAfterMs);
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
            run.pump(10);
            if (inNewDrags) {
                run.xtest.release(1);
                run.pump(30);
            }
        }
        return us;
    };
    const std::vector<double> reusedUs = shownAgain(true, false);
    const std::vector<double> reusedDragUs = shownAgain(run.compositor != CompositorKind::None, true);
    for (int i = 0; i < run.reps; ++i) {
        xcbUs.push_back(bareXcbWindowUs(QRect(0, 0, 1280, 1080)));
        run.pump(5);
    }
    // The highlight's step for the trivial client: during a drag the pointer jumps
    // into the other zone (the window manager moves the window), the client reads the
    // pointer, and the window of that screen repaints the zone it left and the zone it
    // entered.
    std::vector<double> stepUs;
    const auto readPointer = [] {
        xcb_connection_t* c = qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        std::free(xcb_query_pointer_reply(
            c, xcb_query_pointer(c, xcb_setup_roots_iterator(xcb_get_setup(c)).data->root), nullptr));
    };
    {
        std::vector<std::unique_ptr<PlainOverlay>> windows;
        PlainOverlay* leftWindow = nullptr;
        for (const Screen& screen : run.screens.screens()) {
            const QRect frame = run.screens.visibleFrameOf(screen)->toRect();
            windows.push_back(std::make_unique<PlainOverlay>(frame, run.compositor != CompositorKind::None));
            if (screen.name() == QLatin1String("LEFT"))
                leftWindow = windows.back().get();
            windows.back()->show();
        }
        allPainted(windows);
        run.beginDrag();
        run.xtest.moveTo(qRound(run.targets[1].center.x()), qRound(run.targets[1].center.y()));
        run.pump(50);
        for (int i = 0; leftWindow && i < run.reps; ++i) {
            const ZoneTarget& target = run.targets[size_t(i % 2)];
            const ZoneTarget& other = run.targets[size_t((i + 1) % 2)];
            const QPoint origin = leftWindow->geometry().topLeft();
            const Clock::time_point t0 = Clock::now();
            run.xtest.moveTo(qRound(target.center.x()), qRound(target.center.y()));
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
            run.pump(5);
        }
        run.xtest.release(1);
        run.pump(100);
    }
    std::printf("\nThe floor without Parqueta: the same appearance for a trivial client:\n");
    Bench::print("QWidget per screen, show -> painted", Bench::stats(qtUs), true);
    Bench::print("  ... without an alpha channel", Bench::stats(qtOpaqueUs), true);
    Bench::print("  ... as the overlay's (alpha only with a compositor), during a drag", Bench::stats(qtDragUs), true);
    Bench::print("the same QWidgets hidden and shown again", Bench::stats(reusedUs), true);
    const QByteArray inDrags
        = QByteArray("  ... shown ") + QByteArray::number(run.shiftAfterMs) + " ms into a new drag";
    Bench::print(inDrags.constData(), Bench::stats(reusedDragUs), true);
    Bench::print("bare xcb window, create -> filled", Bench::stats(xcbUs), true);
    Bench::print(
        "pointer into the other zone during a drag -> pointer read, both zones repainted", Bench::stats(stepUs), true);
}
