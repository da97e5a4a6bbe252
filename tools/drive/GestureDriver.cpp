#include "GestureDriver.h"

#include "OverlayProbe.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"

#include <QElapsedTimer>
#include <QMargins>

namespace {

constexpr uint32_t kShift = Keysym::ShiftL;
constexpr uint32_t kControl = Keysym::ControlL;
constexpr uint32_t kAlt = Keysym::AltL;
constexpr uint32_t kSuper = Keysym::SuperL;

// How long the program may take to react to a toggle or a release.
constexpr int kReactionMs = 3000;

} // namespace

GestureDriver::GestureDriver(VirtualDesktop& desktop, OverlayProbe& overlays)
    : m_desktop(desktop)
    , m_overlays(overlays)
    , m_input(std::make_unique<XTestInput>())
{ }

GestureDriver::~GestureDriver() = default;

bool GestureDriver::isValid() const
{
    return m_input->isValid() && m_overlays.isValid();
}

void GestureDriver::pump(int milliseconds)
{
    VirtualDesktop::pump(milliseconds);
}

std::optional<QRect> GestureDriver::frameOf(xcb_window_t window)
{
    return m_desktop.visibleFrame(window);
}

std::optional<QPoint> GestureDriver::titleBarPoint(xcb_window_t window)
{
    const std::optional<QRect> frame = frameOf(window);
    if (!frame)
        return std::nullopt;
    const QMargins extents = m_desktop.frameExtents(window).value_or(QMargins());
    return QPoint(frame->center().x(), frame->top() + std::max(1, extents.top() / 2));
}

void GestureDriver::moveAlong(QPoint from, QPoint to, int steps, int delayMs)
{
    steps = std::max(1, steps);
    for (int i = 1; i <= steps; ++i) {
        m_pointer = from + (to - from) * i / steps;
        m_input->moveTo(m_pointer.x(), m_pointer.y());
        pump(delayMs);
    }
}

bool GestureDriver::waitForOverlayWhileMoving(QPoint towards)
{
    // A hand is never quite still: the program (and the window manager) work on motion
    // events, so a drag whose start they missed would wait forever without one.
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < kReactionMs) {
        if (m_overlays.mappedCount() > 0)
            return true;
        const QPoint delta = towards - m_pointer;
        if (delta.manhattanLength() > 4) {
            m_pointer
                += QPoint(delta.x() > 0 ? 2 : (delta.x() < 0 ? -2 : 0), delta.y() > 0 ? 2 : (delta.y() < 0 ? -2 : 0));
            m_input->moveTo(m_pointer.x(), m_pointer.y());
        }
        pump(40);
    }
    return m_overlays.mappedCount() > 0;
}

void GestureDriver::releaseEverything()
{
    m_input->release(1);
    for (uint32_t key : {kShift, kAlt, kControl, kSuper})
        m_input->keyUp(key);
}

DragReport GestureDriver::drag(xcb_window_t window, QPoint dropPoint, const DragOptions& options)
{
    DragReport report;
    const auto pause = [&](int milliseconds) { pump(int(milliseconds * std::max(0.0, options.pauseScale))); };
    if (options.raiseFirst && activeWindow() != window)
        activate(window);
    const std::optional<QPoint> grip = titleBarPoint(window);
    const std::optional<QRect> before = frameOf(window);
    if (!grip || !before)
        return report;
    const bool shift = options.toggle == ZoneToggle::Shift || options.toggle == ZoneToggle::ShiftReleasedEarly
        || options.toggle == ZoneToggle::ShiftHeldAtPress;

    m_pointer = *grip;
    m_input->moveTo(grip->x(), grip->y());
    pause(60);
    if (options.toggle == ZoneToggle::ShiftHeldAtPress)
        m_input->keyDown(kShift);
    m_input->press(1);
    pause(40);

    // The first leg: far enough for the window manager to start moving the window, then
    // one more step so the program sees the displaced window, then the toggle.
    QList<QPoint> path = options.via;
    path << dropPoint;
    const QPoint first = path.first();
    const int steps = std::max(6, options.stepsPerLeg);
    const int lead = steps / 3;
    moveAlong(*grip, *grip + (first - *grip) * lead / steps, lead, options.stepDelayMs);
    report.windowMoved = VirtualDesktop::waitUntil(
        [&] {
            const std::optional<QRect> now = frameOf(window);
            return now && now->topLeft() != before->topLeft();
        },
        1000);
    const QPoint nudge = *grip + (first - *grip) * (lead + 1) / steps;
    moveAlong(m_pointer, nudge, 1, options.stepDelayMs + int(20 * std::max(0.0, options.pauseScale)));

    // Alt goes down before the toggle: every modifier change is also read as a Shift
    // event, so Alt pressed while Shift is held would toggle zone mode off again.
    if (options.multiZone)
        m_input->keyDown(kAlt);
    switch (options.toggle) {
    case ZoneToggle::None:
    case ZoneToggle::ShiftHeldAtPress:
        break;
    case ZoneToggle::Shift:
    case ZoneToggle::ShiftReleasedEarly:
        m_input->keyDown(kShift);
        break;
    case ZoneToggle::RightClick:
    case ZoneToggle::RightClickTwice:
        m_input->click(3);
        break;
    }
    if (options.toggle != ZoneToggle::None)
        report.overlayShown = waitForOverlayWhileMoving(first);
    const std::optional<QRect> atToggle = frameOf(window);

    QPoint from = m_pointer;
    for (qsizetype leg = 0; leg < path.size(); ++leg) {
        const int legSteps = leg == 0 ? steps - lead - 1 : steps;
        // The second right click goes halfway along the first leg.
        if (leg == 0 && options.toggle == ZoneToggle::RightClickTwice) {
            const QPoint middle = from + (path[0] - from) / 2;
            moveAlong(from, middle, legSteps / 2, options.stepDelayMs);
            m_input->click(3);
            m_overlays.waitForHidden(kReactionMs);
            from = middle;
            moveAlong(from, path[0], legSteps - legSteps / 2, options.stepDelayMs);
        } else {
            moveAlong(from, path[leg], legSteps, options.stepDelayMs);
        }
        from = path[leg];
    }
    // Let the program catch up with the last motion before looking.
    pause(120);
    const std::optional<QRect> atDrop = frameOf(window);
    report.windowMovedAfterToggle = atToggle && atDrop && atToggle->topLeft() != atDrop->topLeft();
    if (options.toggle == ZoneToggle::None)
        report.overlayShown = m_overlays.mappedCount() > 0;
    report.overlaysAtDrop = m_overlays.mappedCount();
    if (options.beforeRelease)
        options.beforeRelease();

    if (options.toggle == ZoneToggle::ShiftReleasedEarly) {
        m_input->keyUp(kShift);
        pause(120);
    }
    m_input->release(1);
    pause(60);
    if (shift)
        m_input->keyUp(kShift);
    if (options.multiZone)
        m_input->keyUp(kAlt);
    report.overlayHiddenAfter = m_overlays.waitForHidden(kReactionMs);
    releaseEverything();
    pause(50);
    return report;
}

bool GestureDriver::press(WindowShortcut shortcut)
{
    uint32_t key = Keysym::Left;
    bool span = false;
    switch (shortcut) {
    case WindowShortcut::CycleLeft:
        key = Keysym::Left;
        break;
    case WindowShortcut::CycleRight:
        key = Keysym::Right;
        break;
    case WindowShortcut::CycleNext:
        key = Keysym::Up;
        break;
    case WindowShortcut::CyclePrev:
        key = Keysym::Down;
        break;
    case WindowShortcut::SpanLeft:
        key = Keysym::Left;
        span = true;
        break;
    case WindowShortcut::SpanRight:
        key = Keysym::Right;
        span = true;
        break;
    }
    bool ok = m_input->keyDown(kControl) && m_input->keyDown(kAlt) && m_input->keyDown(kSuper);
    if (ok && span)
        ok = m_input->keyDown(kShift);
    if (ok)
        ok = m_input->tap(key);
    for (uint32_t modifier : {kShift, kSuper, kAlt, kControl})
        m_input->keyUp(modifier);
    pump(80);
    return ok;
}

xcb_window_t GestureDriver::activeWindow()
{
    const QList<quint32> active = m_desktop.property32(m_desktop.root(), "_NET_ACTIVE_WINDOW");
    return active.isEmpty() ? xcb_window_t(XCB_WINDOW_NONE) : active.first();
}

bool GestureDriver::activate(xcb_window_t window)
{
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_desktop.atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2; // from a pager: honoured at once
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(m_desktop.connection(), 0, m_desktop.root(),
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&message));
    xcb_flush(m_desktop.connection());
    return VirtualDesktop::waitUntil([&] { return activeWindow() == window; }, kReactionMs);
}

bool GestureDriver::fits(const QRect& actual, const QRect& expected, QSize tolerance)
{
    if (tolerance.isEmpty())
        return actual == expected;
    return actual.topLeft() == expected.topLeft() && actual.width() <= expected.width()
        && actual.width() > expected.width() - tolerance.width() && actual.height() <= expected.height()
        && actual.height() > expected.height() - tolerance.height();
}

bool GestureDriver::waitForFrame(xcb_window_t window, const QRect& expected, QSize tolerance, int timeoutMs)
{
    return VirtualDesktop::waitUntil(
        [&] {
            const std::optional<QRect> frame = frameOf(window);
            return frame && fits(*frame, expected, tolerance);
        },
        timeoutMs);
}
