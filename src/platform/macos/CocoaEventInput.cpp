#include "platform/macos/CocoaEventInput.h"

#include "core/Logging.h"
#include "platform/macos/CarbonKeys.h"
#include "platform/macos/CocoaDisplays.h"

namespace {

// NSEventType values of the events the monitors ask for.
constexpr quint32 kLeftMouseUp = 2;
constexpr quint32 kRightMouseDown = 3;
constexpr quint32 kLeftMouseDragged = 6;
constexpr quint32 kFlagsChanged = 12;

} // namespace

CocoaEventInput::CocoaEventInput(CocoaEventApi& events, CocoaScreenApi& screens, QObject* parent)
    : GlobalInput(parent)
    , m_events(events)
    , m_screens(screens)
{ }

CocoaEventInput::~CocoaEventInput()
{
    // The monitors' handlers point at this object.
    if (!m_monitors.empty())
        stopListening();
}

// No left-mouse-down monitor: a drag starts with its first dragged event, and nothing in
// the engine listens to leftButtonDown, so it is never emitted here.
bool CocoaEventInput::startListening()
{
    const auto handler = [this](const CocoaEvent& event) { handle(event); };
    // A window being moved is another program's: only the global left-mouse monitor sees
    // its drag, so without it the zone gesture cannot work at all. The other monitors
    // only add to it (Parqueta's own windows, the right-click and modifier gestures).
    const CocoaEventApi::Token leftGlobal = m_events.addGlobalMonitor(kLeftMouseMask, handler);
    if (leftGlobal == 0) {
        qCCritical(lcInput) << "macOS refused the global left-mouse monitor; window drags cannot be seen";
        return false;
    }
    m_monitors.push_back(leftGlobal);

    const auto keep = [this](CocoaEventApi::Token token, const char* what) {
        if (token == 0) {
            qCWarning(lcInput) << "macOS refused the" << what << "monitor; carrying on without it";
            return;
        }
        m_monitors.push_back(token);
    };
    keep(m_events.addLocalMonitor(kLeftMouseMask, handler), "local left-mouse");
    keep(m_events.addGlobalMonitor(kRightMouseDownMask, handler), "global right-mouse");
    keep(m_events.addGlobalMonitor(kFlagsChangedMask, handler), "global modifier-key");

    m_modifiers = currentModifiers();
    qCDebug(lcInput) << "Listening to global input with" << m_monitors.size() << "NSEvent monitors";
    return true;
}

void CocoaEventInput::stopListening()
{
    for (const CocoaEventApi::Token token : m_monitors)
        m_events.removeMonitor(token);
    m_monitors.clear();
}

void CocoaEventInput::handle(const CocoaEvent& event)
{
    switch (event.type) {
    case kLeftMouseUp:
        Q_EMIT leftButtonUp();
        return;
    case kLeftMouseDragged:
        Q_EMIT pointerMotion();
        return;
    case kRightMouseDown:
        Q_EMIT rightButtonDown();
        return;
    case kFlagsChanged: {
        // One flagsChanged per key, Caps Lock and Fn included: those leave the four
        // modifiers as they were and are not news.
        const Qt::KeyboardModifiers modifiers = CarbonKeys::modifiersOfEventFlags(event.modifierFlags);
        if (modifiers == m_modifiers)
            return;
        m_modifiers = modifiers;
        Q_EMIT modifiersChanged(modifiers);
        return;
    }
    default:
        qCWarning(lcInput) << "unexpected event type" << event.type;
        return;
    }
}

Qt::KeyboardModifiers CocoaEventInput::currentModifiers() const
{
    return CarbonKeys::modifiersOfEventFlags(m_events.modifierFlags());
}

QPointF CocoaEventInput::pointerLocation() const
{
    const std::vector<CocoaScreenFacts> screens = m_screens.screens();
    // Cocoa's y runs up from the primary's bottom edge; without a primary there is
    // nothing to flip about.
    if (screens.empty()) {
        qCDebug(lcInput) << "No display connected: the pointer has no place in desktop space";
        return {};
    }
    return CocoaDisplays::toDesktop(m_screens.mouseLocation(), screens.front().frame);
}
