#pragma once

#include "core/ObserverList.h"
#include "models/Screen.h"

#include "managers/ApplicationEventMonitor.h"
#include <QPointF>

class ScreenManager;

// The pointer over one screen, in that screen's layout space.
struct MousePositionEvent
{
    QPointF position;
};

class MousePositionObserver
{
public:
    virtual ~MousePositionObserver() = default;
    // The screen whose layout space the observer wants positions in.
    virtual const Screen& observedScreen() const = 0;
    virtual void mousePositionChanged(const MousePositionEvent& event) = 0;
};

// Follows the pointer while it moves over Parqueta's own windows (the zone editor), and
// tells each observer where it is in its screen's layout space. Like an application-local
// monitor it sees only what is sent to this program, and it never consumes an event.
// The position is the platform's, not Qt's: with a device-pixel ratio other than 1 Qt's
// logical coordinates differ from the window manager's, which layouts are measured in.
class MousePositionMonitor final : public ApplicationEventMonitor
{
    Q_OBJECT

public:
    explicit MousePositionMonitor(ScreenManager& screens, QObject* parent = nullptr);
    ~MousePositionMonitor() override;

    void addObserver(MousePositionObserver* observer) { m_observers.add(observer); }
    void removeObserver(MousePositionObserver* observer) { m_observers.remove(observer); }

    // One pointer event: every observer on the screen under the pointer is told.
    void pointerMoved();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    ScreenManager& m_screens;
    ObserverList<MousePositionObserver> m_observers;
};
