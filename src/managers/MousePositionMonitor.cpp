#include "managers/MousePositionMonitor.h"

#include "core/Logging.h"
#include "managers/ScreenManager.h"

#include <QEvent>
#include <QWindow>

MousePositionMonitor::MousePositionMonitor(ScreenManager& screens, QObject* parent)
    : ApplicationEventMonitor(parent)
    , m_screens(screens)
{
}

MousePositionMonitor::~MousePositionMonitor() = default;

bool MousePositionMonitor::eventFilter(QObject* watched, QEvent* event)
{
    // A mouse event reaches the native window first and then every widget it propagates
    // through; only the window's copy counts, so each motion is reported once.
    if (event->type() == QEvent::MouseMove && qobject_cast<QWindow*>(watched))
        pointerMoved();
    return false;
}

void MousePositionMonitor::pointerMoved()
{
    const QPointF pointer = m_screens.pointerLocation();
    const std::optional<QString> screenId = m_screens.screenIdWithPoint(pointer);
    if (!screenId) {
        qCWarning(lcInput) << "Failed to get mouse location";
        return;
    }
    m_observers.notify([&](MousePositionObserver& observer) {
        const Screen& screen = observer.observedScreen();
        if (screen.id() != *screenId)
            return;
        if (const std::optional<QPointF> position = m_screens.positionInVisibleFrame(screen, pointer))
            observer.mousePositionChanged(MousePositionEvent {*position});
    });
}
