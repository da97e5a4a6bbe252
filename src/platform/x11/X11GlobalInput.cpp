#include "platform/x11/X11GlobalInput.h"

#include "core/Logging.h"

#include <xcb/xinput.h>

#include <cstdlib>

namespace {

constexpr uint32_t kRawMask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE
    | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE
    | XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;

} // namespace

X11GlobalInput::X11GlobalInput(X11Connection& connection, QObject* parent)
    : GlobalInput(parent)
    , m_connection(connection)
    , m_keys(connection.connection())
{ }

X11GlobalInput::~X11GlobalInput()
{
    if (m_listening)
        stopListening();
}

bool X11GlobalInput::startListening()
{
    if (!m_connection.isValid())
        return false;
    xcb_connection_t* c = m_connection.connection();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present) {
        qCCritical(lcInput) << "The X server has no XInput extension; window drags cannot be seen";
        return false;
    }
    xcb_generic_error_t* error = nullptr;
    xcb_input_xi_query_version_reply_t* version
        = xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), &error);
    const bool recent
        = version && (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 2));
    if (!recent) {
        // Older servers do not send raw pointer events while a window manager moves a window.
        qCCritical(lcInput) << "The X server's XInput is older than 2.2; window drags cannot be seen";
        std::free(version);
        std::free(error);
        return false;
    }
    std::free(version);
    m_opcode = extension->major_opcode;

    readButtonMapping();
    m_keys.refresh();
    if (!selectRawEvents(kRawMask))
        return false;
    m_connection.addEventHandler(this);
    m_listening = true;
    m_leftDown = false;
    const std::optional<PointerState> state = queryPointer();
    m_modifiers = state ? m_keys.modifiersFromMask(state->mask) : Qt::KeyboardModifiers();
    m_leftDown = state && (state->mask & XCB_BUTTON_MASK_1);
    qCDebug(lcInput) << "Listening to global input (XInput 2.2 raw events)";
    return true;
}

void X11GlobalInput::stopListening()
{
    if (!m_listening)
        return;
    m_listening = false;
    m_connection.removeEventHandler(this);
    selectRawEvents(0);
}

bool X11GlobalInput::selectRawEvents(uint32_t mask)
{
    struct
    {
        xcb_input_event_mask_t header;
        uint32_t mask;
    } selection {{XCB_INPUT_DEVICE_ALL_MASTER, 1}, mask};
    xcb_connection_t* c = m_connection.connection();
    xcb_generic_error_t* error
        = xcb_request_check(c, xcb_input_xi_select_events_checked(c, m_connection.root(), 1, &selection.header));
    if (error) {
        m_connection.checkError(error, "XISelectEvents");
        qCCritical(lcInput) << "Cannot select raw input events on the root window";
        return false;
    }
    return true;
}

std::optional<X11GlobalInput::PointerState> X11GlobalInput::queryPointer() const
{
    const std::optional<X11Connection::PointerReading> pointer = m_connection.queryPointer();
    if (!pointer)
        return std::nullopt;
    return PointerState {pointer->position, pointer->mask};
}

void X11GlobalInput::readButtonMapping()
{
    m_buttonMap.clear();
    xcb_connection_t* c = m_connection.connection();
    xcb_get_pointer_mapping_reply_t* reply = xcb_get_pointer_mapping_reply(c, xcb_get_pointer_mapping(c), nullptr);
    if (!reply)
        return;
    const uint8_t* map = xcb_get_pointer_mapping_map(reply);
    m_buttonMap.assign(map, map + xcb_get_pointer_mapping_map_length(reply));
    std::free(reply);
}

int X11GlobalInput::logicalButton(uint32_t physical) const
{
    if (physical >= 1 && physical <= m_buttonMap.size())
        return m_buttonMap[physical - 1];
    return static_cast<int>(physical);
}

Qt::KeyboardModifiers X11GlobalInput::currentModifiers() const
{
    if (m_listening)
        return m_modifiers;
    const std::optional<PointerState> state = queryPointer();
    return state ? m_keys.modifiersFromMask(state->mask) : Qt::KeyboardModifiers();
}

QPointF X11GlobalInput::pointerLocation() const
{
    const std::optional<PointerState> state = queryPointer();
    return state ? state->location : QPointF();
}

void X11GlobalInput::updateModifiers()
{
    // The server has finished with the key event by the time it answers this query,
    // so the mask already includes (or no longer includes) the key.
    const std::optional<PointerState> state = queryPointer();
    if (!state)
        return;
    const Qt::KeyboardModifiers modifiers = m_keys.modifiersFromMask(state->mask);
    if (modifiers == m_modifiers)
        return;
    m_modifiers = modifiers;
    Q_EMIT modifiersChanged(modifiers);
}

bool X11GlobalInput::isRawMotion(const xcb_generic_event_t* event) const
{
    if (!event || (event->response_type & ~0x80) != XCB_GE_GENERIC)
        return false;
    const auto* generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
    return generic->extension == m_opcode && generic->event_type == XCB_INPUT_RAW_MOTION;
}

bool X11GlobalInput::handleX11Event(xcb_generic_event_t* event)
{
    const uint8_t type = event->response_type & ~0x80;
    if (type == XCB_MAPPING_NOTIFY) {
        m_keys.refresh();
        readButtonMapping();
        return false;
    }
    if (type != XCB_GE_GENERIC)
        return false;
    auto* generic = reinterpret_cast<xcb_ge_generic_event_t*>(event);
    if (generic->extension != m_opcode)
        return false;

    switch (generic->event_type) {
    case XCB_INPUT_RAW_MOTION:
        // Observers read the pointer themselves, so motion followed by more motion tells
        // them nothing the later one will not. Handling each would cost a round trip per
        // event, and when the X server is slow to answer (a window dragged under a large
        // shaped overlay) the drag would fall ever further behind the pointer.
        if (m_leftDown && !isRawMotion(m_connection.nextEvent()))
            Q_EMIT pointerMotion();
        return true;
    case XCB_INPUT_RAW_BUTTON_PRESS: {
        const auto* raw = reinterpret_cast<xcb_input_raw_button_press_event_t*>(event);
        const int button = logicalButton(raw->detail);
        if (button == 1) {
            m_leftDown = true;
            Q_EMIT leftButtonDown();
        } else if (button == 3) {
            Q_EMIT rightButtonDown();
        }
        return true;
    }
    case XCB_INPUT_RAW_BUTTON_RELEASE: {
        const auto* raw = reinterpret_cast<xcb_input_raw_button_release_event_t*>(event);
        if (logicalButton(raw->detail) == 1 && m_leftDown) {
            m_leftDown = false;
            Q_EMIT leftButtonUp();
        }
        return true;
    }
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE: {
        const auto* raw = reinterpret_cast<xcb_input_raw_key_press_event_t*>(event);
        if (m_keys.isModifierKey(static_cast<xcb_keycode_t>(raw->detail)))
            updateModifiers();
        return true;
    }
    default:
        return false;
    }
}
