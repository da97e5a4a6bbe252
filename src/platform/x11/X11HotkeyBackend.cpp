#include "platform/x11/X11HotkeyBackend.h"

#include "core/Logging.h"

#include <cstdlib>

namespace {

constexpr uint8_t kBadAccess = 10;

} // namespace

X11HotkeyBackend::X11HotkeyBackend(X11Connection& connection, QObject* parent)
    : HotkeyBackend(parent)
    , m_connection(connection)
    , m_keys(connection.connection())
{
    m_connection.addEventHandler(this);
}

X11HotkeyBackend::~X11HotkeyBackend()
{
    m_connection.removeEventHandler(this);
    for (const auto& [token, grab] : m_grabs)
        ungrab(grab);
    m_connection.flush();
}

Qt::KeyboardModifiers X11HotkeyBackend::primaryModifiers() const
{
    return Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
}

std::vector<uint16_t> X11HotkeyBackend::lockVariants(uint16_t modifiers) const
{
    std::vector<uint16_t> variants {modifiers, static_cast<uint16_t>(modifiers | XCB_MOD_MASK_LOCK)};
    if (const uint16_t numLock = m_keys.numLockMask()) {
        variants.push_back(static_cast<uint16_t>(modifiers | numLock));
        variants.push_back(static_cast<uint16_t>(modifiers | numLock | XCB_MOD_MASK_LOCK));
    }
    return variants;
}

HotkeyBackend::GrabResult X11HotkeyBackend::grab(KeyCombination combination)
{
    GrabResult result;
    const QString text = KeyCombinations::toText(combination);
    if (!m_connection.isValid()) {
        result.error = QStringLiteral("%1 cannot be grabbed without a connection to the X server").arg(text);
        return result;
    }
    const std::vector<xcb_keycode_t> keycodes = m_keys.keycodesFor(X11KeyMapping::keysymFor(combination.key()));
    if (keycodes.empty()) {
        result.error = QStringLiteral("no key of this keyboard produces %1").arg(text);
        return result;
    }
    const std::optional<uint16_t> modifiers = m_keys.maskFor(combination.keyboardModifiers());
    if (!modifiers) {
        result.error = QStringLiteral("this keyboard has no modifier key for %1").arg(text);
        return result;
    }

    Grab grab {combination, keycodes, *modifiers};
    xcb_connection_t* c = m_connection.connection();
    std::vector<xcb_void_cookie_t> cookies;
    for (xcb_keycode_t keycode : keycodes) {
        for (uint16_t variant : lockVariants(*modifiers)) {
            cookies.push_back(xcb_grab_key_checked(
                c, 1, m_connection.root(), variant, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        }
    }
    bool failed = false;
    for (const xcb_void_cookie_t& cookie : cookies) {
        if (xcb_generic_error_t* error = xcb_request_check(c, cookie)) {
            failed = true;
            if (error->error_code == kBadAccess)
                result.heldElsewhere = true;
            std::free(error);
        }
    }
    if (failed) {
        // Our own grabs of the other variants would keep a half-working shortcut.
        ungrab(grab);
        m_connection.flush();
        result.error = result.heldElsewhere ? QStringLiteral("%1 is held by another program").arg(text)
                                            : QStringLiteral("the X server refused to grab %1").arg(text);
        return result;
    }
    result.token = m_nextToken++;
    m_grabs.emplace(result.token, std::move(grab));
    return result;
}

void X11HotkeyBackend::release(Token token)
{
    const auto it = m_grabs.find(token);
    if (it == m_grabs.end())
        return;
    ungrab(it->second);
    m_grabs.erase(it);
    m_connection.flush();
}

void X11HotkeyBackend::ungrab(const Grab& grab)
{
    if (!m_connection.isValid())
        return;
    for (xcb_keycode_t keycode : grab.keycodes) {
        for (uint16_t variant : lockVariants(grab.modifiers))
            xcb_ungrab_key(m_connection.connection(), keycode, m_connection.root(), variant);
    }
}

bool X11HotkeyBackend::handleX11Event(xcb_generic_event_t* event)
{
    const uint8_t type = event->response_type & ~0x80;
    if (type == XCB_MAPPING_NOTIFY) {
        m_keys.refresh();
        return false;
    }
    if (type != XCB_KEY_PRESS)
        return false;
    const auto* press = reinterpret_cast<xcb_key_press_event_t*>(event);
    // Lock keys and held mouse buttons add bits that are not part of the combination.
    const uint16_t modifiers = press->state & m_keys.relevantMask();
    for (const auto& [token, grab] : m_grabs) {
        if (grab.modifiers != modifiers)
            continue;
        for (xcb_keycode_t keycode : grab.keycodes) {
            if (keycode == press->detail) {
                Q_EMIT activated(token);
                return true;
            }
        }
    }
    return false;
}
