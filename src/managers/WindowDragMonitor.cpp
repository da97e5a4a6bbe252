#include "managers/WindowDragMonitor.h"

#include "core/Logging.h"
#include "managers/WindowManager.h"
#include "platform/GlobalInput.h"

WindowDragMonitor::WindowDragMonitor(GlobalInput& input, WindowManager& windows, QObject* parent)
    : QObject(parent)
    , m_input(input)
    , m_windows(windows)
{ }

WindowDragMonitor::~WindowDragMonitor()
{
    if (m_monitoring) {
        disconnect(m_motionConnection);
        disconnect(m_upConnection);
        m_input.stop();
    }
}

void WindowDragMonitor::startMonitoring()
{
    if (m_monitoring)
        return;
    if (!m_input.start()) {
        qCCritical(lcInput) << "Global pointer input is unavailable; window drags cannot be seen";
        return;
    }
    m_monitoring = true;
    m_motionConnection = connect(&m_input, &GlobalInput::pointerMotion, this, &WindowDragMonitor::handleDrag);
    m_upConnection = connect(&m_input, &GlobalInput::leftButtonUp, this, &WindowDragMonitor::handleLeftMouseUp);
}

void WindowDragMonitor::stopMonitoring()
{
    if (!m_monitoring)
        return;
    disconnect(m_motionConnection);
    disconnect(m_upConnection);
    m_monitoring = false;
    m_input.stop();
    // Observers must not be left waiting for an end that can no longer come.
    setTrackedWindow(nullptr);
}

void WindowDragMonitor::handleLeftMouseUp()
{
    setTrackedWindow(nullptr);
}

void WindowDragMonitor::handleDrag()
{
    if (!m_trackedWindow) {
        WindowPtr window = m_windows.getWindowAtCursor();
        if (!window)
            qCDebug(lcInput) << "unable to get current window";
        setTrackedWindow(std::move(window));
    }

    if (!m_movingWindow && m_trackedWindow && m_initialWindowFrame) {
        const std::optional<QRectF> frame = m_windows.getFrame(*m_trackedWindow);
        // Exact comparisons: any displacement counts, any change of size disqualifies.
        const QRectF& initial = *m_initialWindowFrame;
        if (frame && frame->width() == initial.width() && frame->height() == initial.height()
            && (frame->x() != initial.x() || frame->y() != initial.y()))
            setMovingWindow(true);
    }

    if (m_movingWindow) {
        if (const std::optional<WindowDragEvent> event = currentEvent())
            m_observers.notify([&](WindowDragObserver& observer) { observer.windowDragDidMove(*event); });
    }
}

void WindowDragMonitor::setTrackedWindow(WindowPtr window)
{
    if (!window && m_movingWindow) {
        if (const std::optional<WindowDragEvent> event = currentEvent())
            m_observers.notify([&](WindowDragObserver& observer) { observer.windowDragDidEnd(*event); });
    }

    const bool changed = m_trackedWindow != window;
    m_trackedWindow = std::move(window);
    if (m_trackedWindow) {
        // A frame that cannot be read stays all zeros, which no later read matches in
        // size, so such a window never starts a drag.
        m_initialWindowFrame = m_windows.getFrame(*m_trackedWindow).value_or(QRectF());
    } else {
        m_initialWindowFrame.reset();
        setMovingWindow(false);
    }
    if (changed)
        Q_EMIT trackedWindowChanged(m_trackedWindow);
}

void WindowDragMonitor::setMovingWindow(bool moving)
{
    if (m_movingWindow == moving)
        return;
    m_movingWindow = moving;
    if (moving) {
        if (const std::optional<WindowDragEvent> event = currentEvent())
            m_observers.notify([&](WindowDragObserver& observer) { observer.windowDragDidStart(*event); });
    }
    Q_EMIT movingWindowChanged(moving);
}

std::optional<WindowDragEvent> WindowDragMonitor::currentEvent() const
{
    if (!m_trackedWindow || !m_initialWindowFrame)
        return std::nullopt;
    return WindowDragEvent {m_trackedWindow, *m_initialWindowFrame};
}
