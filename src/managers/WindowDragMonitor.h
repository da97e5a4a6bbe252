#pragma once

#include "core/ObserverList.h"
#include "managers/WindowDragObserver.h"
#include "models/Window.h"

#include <QMetaObject>
#include <QObject>
#include <QRectF>

#include <optional>

class GlobalInput;
class WindowManager;

// Recognises that the user drags another application's window with the left button
// and reports start, move and end to its observers. The window under the pointer is
// looked up on the first drag step; the drag starts on the first step that sees that
// window displaced with its size unchanged (so a resize by an edge is never reported),
// every step from then on is a move, and the left button's release ends it.
class WindowDragMonitor final : public QObject
{
    Q_OBJECT

public:
    WindowDragMonitor(GlobalInput& input, WindowManager& windows, QObject* parent = nullptr);
    ~WindowDragMonitor() override;

    // Registering again moves the observer to the end; removal is by identity.
    void addObserver(WindowDragObserver* observer) { m_observers.add(observer); }
    void removeObserver(WindowDragObserver* observer) { m_observers.remove(observer); }

    void startMonitoring();
    // A drag under way ends here, as if the button had been released.
    void stopMonitoring();
    bool isMonitoring() const { return m_monitoring; }

    // The window under the pointer when the current drag began; null between drags.
    const WindowPtr& trackedWindow() const { return m_trackedWindow; }
    // True once the tracked window has been seen to move.
    bool isMovingWindow() const { return m_movingWindow; }
    std::optional<QRectF> initialWindowFrame() const { return m_initialWindowFrame; }

Q_SIGNALS:
    void trackedWindowChanged(const WindowPtr& window);
    void movingWindowChanged(bool moving);

private:
    void handleDrag();
    void handleLeftMouseUp();
    void setTrackedWindow(WindowPtr window);
    void setMovingWindow(bool moving);
    std::optional<WindowDragEvent> currentEvent() const;

    GlobalInput& m_input;
    WindowManager& m_windows;
    ObserverList<WindowDragObserver> m_observers;
    WindowPtr m_trackedWindow;
    bool m_movingWindow = false;
    std::optional<QRectF> m_initialWindowFrame;
    bool m_monitoring = false;
    QMetaObject::Connection m_motionConnection;
    QMetaObject::Connection m_upConnection;
};
