#include "managers/ZoneGestureMonitor.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/WindowDragMonitor.h"
#include "platform/GlobalInput.h"

ZoneGestureMonitor::ZoneGestureMonitor(
    WindowDragMonitor& dragMonitor, GlobalInput& input, Settings& settings, QObject* parent)
    : QObject(parent)
    , m_dragMonitor(dragMonitor)
    , m_input(input)
    , m_settings(settings)
{ }

ZoneGestureMonitor::~ZoneGestureMonitor()
{
    m_dragMonitor.removeObserver(this);
    removeMonitors();
}

void ZoneGestureMonitor::startMonitoring()
{
    m_dragMonitor.addObserver(this);
}

void ZoneGestureMonitor::stopMonitoring()
{
    m_dragMonitor.removeObserver(this);
    // The end of a drag under way can no longer arrive: observers showing zones are told
    // the gesture was given up, and the next drag starts from scratch.
    const bool wasInZoneMode = m_inZoneMode;
    setInZoneMode(false);
    m_toggledBy = ToggleDevice::none;
    removeMonitors();
    m_initialDragEvent.reset();
    if (wasInZoneMode)
        notifyEnd(std::nullopt, true);
}

void ZoneGestureMonitor::windowDragDidStart(const WindowDragEvent& event)
{
    if (!m_inputStarted) {
        m_inputStarted = m_input.start();
        if (!m_inputStarted)
            qCCritical(lcInput) << "Global input is unavailable; Shift and right clicks cannot switch zone mode";
    }
    installRightMouseMonitor();
    installKeyMonitor();
    // Stored only now: a zone mode entered by Shift held at the start was announced above
    // with whatever the previous drag left here (nothing, since every drag end clears it).
    m_initialDragEvent = event;
}

void ZoneGestureMonitor::windowDragDidMove(const WindowDragEvent& event)
{
    if (m_inZoneMode)
        notifyMove(event);
}

void ZoneGestureMonitor::windowDragDidEnd(const WindowDragEvent& event)
{
    setInZoneMode(false);
    m_toggledBy = ToggleDevice::none;
    // Every observer hears the end, zone mode or not; one that saw no start ignores it.
    notifyEnd(event, false);
    removeMonitors();
    m_initialDragEvent.reset();
    // isMultiZone follows the Alt key, not the drag.
}

void ZoneGestureMonitor::installRightMouseMonitor()
{
    if (m_rightMouseEventMonitor)
        disconnect(m_rightMouseEventMonitor);
    m_rightMouseEventMonitor
        = connect(&m_input, &GlobalInput::rightButtonDown, this, &ZoneGestureMonitor::handleRightMouseDown);
}

void ZoneGestureMonitor::installKeyMonitor()
{
    const Qt::KeyboardModifiers modifiers = m_input.currentModifiers();
    // Shift held when the drag begins always enters zone mode, whichever Shift mode is set.
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        setInZoneMode(true);
        m_toggledBy = ToggleDevice::keyboard;
        notifyStart();
    }
    // Read afresh, not only switched on: the key monitor lives only during a drag, so Alt
    // let go after the previous drag's button went unseen, and every later gesture would
    // otherwise stay multi-zone until Alt was pressed during a drag again.
    setMultiZone(modifiers.testFlag(Qt::AltModifier));

    if (m_flagsChangedMonitor)
        disconnect(m_flagsChangedMonitor);
    m_flagsChangedMonitor
        = connect(&m_input, &GlobalInput::modifiersChanged, this, &ZoneGestureMonitor::handleFlagsChanged);
}

void ZoneGestureMonitor::removeMonitors()
{
    if (m_rightMouseEventMonitor) {
        disconnect(m_rightMouseEventMonitor);
        m_rightMouseEventMonitor = {};
    }
    if (m_flagsChangedMonitor) {
        disconnect(m_flagsChangedMonitor);
        m_flagsChangedMonitor = {};
    }
    if (m_inputStarted) {
        m_input.stop();
        m_inputStarted = false;
    }
}

void ZoneGestureMonitor::handleRightMouseDown()
{
    // Zone mode switched on by Shift belongs to the keyboard.
    if (m_toggledBy != ToggleDevice::keyboard)
        toggleZoneMode(ToggleDevice::mouse);
}

void ZoneGestureMonitor::handleFlagsChanged(Qt::KeyboardModifiers modifiers)
{
    // Zone mode switched on by a right click belongs to the mouse; Alt always counts.
    if (m_toggledBy != ToggleDevice::mouse)
        handleShiftKeyEvent(modifiers.testFlag(Qt::ShiftModifier));
    handleOptionKeyEvent(modifiers.testFlag(Qt::AltModifier));
}

void ZoneGestureMonitor::handleShiftKeyEvent(bool shiftHeld)
{
    if (m_settings.value(Keys::holdShiftToSnap)) {
        // Every change of the modifiers is reported, even one that leaves the mode as it
        // was (Alt pressed while Shift is held announces the start again).
        if (shiftHeld) {
            setInZoneMode(true);
            m_toggledBy = ToggleDevice::keyboard;
            notifyStart();
        } else {
            setInZoneMode(false);
            m_toggledBy = ToggleDevice::none;
            notifyEnd(std::nullopt, true);
        }
        return;
    }
    if (shiftHeld)
        toggleZoneMode(ToggleDevice::keyboard);
}

void ZoneGestureMonitor::handleOptionKeyEvent(bool optionHeld)
{
    // Not announced by itself: observers read it with the next notification.
    setMultiZone(optionHeld);
}

void ZoneGestureMonitor::toggleZoneMode(ToggleDevice device)
{
    if (!m_inZoneMode) {
        setInZoneMode(true);
        m_toggledBy = device;
        notifyStart();
    } else {
        setInZoneMode(false);
        m_toggledBy = ToggleDevice::none;
        notifyEnd(std::nullopt, true);
    }
}

void ZoneGestureMonitor::setInZoneMode(bool inZoneMode)
{
    if (m_inZoneMode == inZoneMode)
        return;
    m_inZoneMode = inZoneMode;
    qCDebug(lcInput) << "zone mode" << (inZoneMode ? "on" : "off");
    Q_EMIT inZoneModeChanged(inZoneMode);
}

void ZoneGestureMonitor::setMultiZone(bool isMultiZone)
{
    if (m_isMultiZone == isMultiZone)
        return;
    m_isMultiZone = isMultiZone;
    Q_EMIT isMultiZoneChanged(isMultiZone);
}

void ZoneGestureMonitor::notifyStart()
{
    const ZoneGestureEvent event {m_isMultiZone, m_initialDragEvent};
    m_observers.notify([&](ZoneGestureObserver& observer) { observer.zoneGestureDidStart(event); });
}

void ZoneGestureMonitor::notifyMove(const WindowDragEvent& dragEvent)
{
    const ZoneGestureEvent event {m_isMultiZone, dragEvent};
    m_observers.notify([&](ZoneGestureObserver& observer) { observer.zoneGestureDidMove(event); });
}

void ZoneGestureMonitor::notifyEnd(const std::optional<WindowDragEvent>& dragEvent, bool canceled)
{
    const ZoneGestureEvent event {m_isMultiZone, dragEvent};
    m_observers.notify([&](ZoneGestureObserver& observer) { observer.zoneGestureDidEnd(event, canceled); });
}
