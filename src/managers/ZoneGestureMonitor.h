#pragma once

#include "core/ObserverList.h"
#include "managers/WindowDragObserver.h"
#include "managers/ZoneGestureObserver.h"

#include <QMetaObject>
#include <QObject>

#include <optional>

class GlobalInput;
class Settings;
class WindowDragMonitor;

// Turns a window drag into a zone gesture: Shift (held at the start, pressed during the
// drag) or a right click switches zone mode on and off, Alt makes it multi-zone.
class ZoneGestureMonitor final : public QObject, public WindowDragObserver
{
    Q_OBJECT

public:
    ZoneGestureMonitor(
        WindowDragMonitor& dragMonitor, GlobalInput& input, Settings& settings, QObject* parent = nullptr);
    ~ZoneGestureMonitor() override;

    void startMonitoring();
    void stopMonitoring();

    void addObserver(ZoneGestureObserver* observer) { m_observers.add(observer); }
    void removeObserver(ZoneGestureObserver* observer) { m_observers.remove(observer); }

    bool inZoneMode() const { return m_inZoneMode; }
    bool isMultiZone() const { return m_isMultiZone; }
    ToggleDevice toggledBy() const { return m_toggledBy; }

    void windowDragDidStart(const WindowDragEvent& event) override;
    void windowDragDidEnd(const WindowDragEvent& event) override;
    void windowDragDidMove(const WindowDragEvent& event) override;

Q_SIGNALS:
    void inZoneModeChanged(bool inZoneMode);
    void isMultiZoneChanged(bool isMultiZone);

private:
    // The two input monitors that live exactly from drag start to drag end.
    void installRightMouseMonitor();
    void installKeyMonitor();
    void removeMonitors();

    void handleRightMouseDown();
    void handleFlagsChanged(Qt::KeyboardModifiers modifiers);
    void handleShiftKeyEvent(bool shiftHeld);
    void handleOptionKeyEvent(bool optionHeld);
    void toggleZoneMode(ToggleDevice device);

    void setInZoneMode(bool inZoneMode);
    void setMultiZone(bool isMultiZone);
    void notifyStart();
    void notifyMove(const WindowDragEvent& event);
    void notifyEnd(const std::optional<WindowDragEvent>& event, bool canceled);

    WindowDragMonitor& m_dragMonitor;
    GlobalInput& m_input;
    Settings& m_settings;
    ObserverList<ZoneGestureObserver> m_observers;
    bool m_inZoneMode = false;
    bool m_isMultiZone = false;
    ToggleDevice m_toggledBy = ToggleDevice::none;
    std::optional<WindowDragEvent> m_initialDragEvent;
    QMetaObject::Connection m_rightMouseEventMonitor;
    QMetaObject::Connection m_flagsChangedMonitor;
    // Whether this monitor holds a start() of the global input (between drag start and end).
    bool m_inputStarted = false;
};
