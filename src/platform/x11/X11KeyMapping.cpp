#include "platform/x11/X11KeyMapping.h"

#include "core/Logging.h"

#include <X11/keysym.h>

#include <algorithm>
#include <cstdlib>

X11KeyMapping::X11KeyMapping(xcb_connection_t* connection)
    : m_connection(connection)
{
    refresh();
}

X11KeyMapping::~X11KeyMapping()
{
    if (m_symbols)
        xcb_key_symbols_free(m_symbols);
}

void X11KeyMapping::refresh()
{
    if (m_symbols)
        xcb_key_symbols_free(m_symbols);
    m_symbols = xcb_key_symbols_alloc(m_connection);
    readModifierMapping();
}

void X11KeyMapping::readModifierMapping()
{
    m_altMask = m_superMask = m_numLockMask = 0;
    m_modifierKeys.clear();
    xcb_generic_error_t* error = nullptr;
    xcb_get_modifier_mapping_reply_t* reply
        = xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), &error);
    if (!reply) {
        qCWarning(lcX11) << "Cannot read the modifier mapping; Alt, Super and NumLock are unknown";
        std::free(error);
        return;
    }
    const xcb_keycode_t* keycodes = xcb_get_modifier_mapping_keycodes(reply);
    const int perModifier = reply->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t keycode = keycodes[modifier * perModifier + i];
            if (keycode == 0)
                continue;
            m_modifierKeys.push_back(keycode);
            // Shift, Lock and Control are fixed; Mod1..Mod5 are whatever the keymap says.
            if (modifier < 3 || !m_symbols)
                continue;
            const auto bit = static_cast<uint16_t>(1u << modifier);
            for (int column = 0; column < 4; ++column) {
                switch (xcb_key_symbols_get_keysym(m_symbols, keycode, column)) {
                case XK_Alt_L:
                case XK_Alt_R:
                case XK_Meta_L:
                case XK_Meta_R:
                    if (!m_altMask)
                        m_altMask = bit;
                    break;
                case XK_Super_L:
                case XK_Super_R:
                    if (!m_superMask)
                        m_superMask = bit;
                    break;
                case XK_Num_Lock:
                    m_numLockMask = bit;
                    break;
                default:
                    break;
                }
            }
        }
    }
    std::free(reply);
    // Meta may share Alt's bit; Super must not end up on Alt's.
    if (m_superMask == m_altMask)
        m_superMask = 0;
}

xcb_keysym_t X11KeyMapping::keysymFor(int qtKey)
{
    if (qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z)
        return XK_a + static_cast<xcb_keysym_t>(qtKey - Qt::Key_A);
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
        return XK_0 + static_cast<xcb_keysym_t>(qtKey - Qt::Key_0);
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F35)
        return XK_F1 + static_cast<xcb_keysym_t>(qtKey - Qt::Key_F1);
    switch (qtKey) {
    case Qt::Key_Left:
        return XK_Left;
    case Qt::Key_Right:
        return XK_Right;
    case Qt::Key_Up:
        return XK_Up;
    case Qt::Key_Down:
        return XK_Down;
    case Qt::Key_Home:
        return XK_Home;
    case Qt::Key_End:
        return XK_End;
    case Qt::Key_PageUp:
        return XK_Page_Up;
    case Qt::Key_PageDown:
        return XK_Page_Down;
    case Qt::Key_Insert:
        return XK_Insert;
    case Qt::Key_Delete:
        return XK_Delete;
    case Qt::Key_Escape:
        return XK_Escape;
    case Qt::Key_Tab:
        return XK_Tab;
    case Qt::Key_Backspace:
        return XK_BackSpace;
    case Qt::Key_Return:
        return XK_Return;
    case Qt::Key_Enter:
        return XK_KP_Enter;
    case Qt::Key_Space:
        return XK_space;
    case Qt::Key_Minus:
        return XK_minus;
    case Qt::Key_Equal:
        return XK_equal;
    case Qt::Key_Comma:
        return XK_comma;
    case Qt::Key_Period:
        return XK_period;
    case Qt::Key_Slash:
        return XK_slash;
    case Qt::Key_Backslash:
        return XK_backslash;
    case Qt::Key_Semicolon:
        return XK_semicolon;
    case Qt::Key_Apostrophe:
        return XK_apostrophe;
    case Qt::Key_BracketLeft:
        return XK_bracketleft;
    case Qt::Key_BracketRight:
        return XK_bracketright;
    case Qt::Key_QuoteLeft:
        return XK_grave;
    case Qt::Key_Print:
        return XK_Print;
    case Qt::Key_Pause:
        return XK_Pause;
    default:
        return 0;
    }
}

std::vector<xcb_keycode_t> X11KeyMapping::keycodesFor(xcb_keysym_t keysym) const
{
    std::vector<xcb_keycode_t> result;
    if (!m_symbols || keysym == 0)
        return result;
    xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(m_symbols, keysym);
    for (xcb_keycode_t* k = keycodes; k && *k != XCB_NO_SYMBOL; ++k) {
        if (std::find(result.begin(), result.end(), *k) == result.end())
            result.push_back(*k);
    }
    std::free(keycodes);
    return result;
}

std::optional<uint16_t> X11KeyMapping::maskFor(Qt::KeyboardModifiers modifiers) const
{
    uint16_t mask = 0;
    if (modifiers & Qt::ShiftModifier)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & Qt::ControlModifier)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & Qt::AltModifier) {
        if (!m_altMask)
            return std::nullopt;
        mask |= m_altMask;
    }
    if (modifiers & Qt::MetaModifier) {
        if (!m_superMask)
            return std::nullopt;
        mask |= m_superMask;
    }
    return mask;
}

Qt::KeyboardModifiers X11KeyMapping::modifiersFromMask(uint16_t mask) const
{
    Qt::KeyboardModifiers modifiers;
    if (mask & XCB_MOD_MASK_SHIFT)
        modifiers |= Qt::ShiftModifier;
    if (mask & XCB_MOD_MASK_CONTROL)
        modifiers |= Qt::ControlModifier;
    if (m_altMask && (mask & m_altMask))
        modifiers |= Qt::AltModifier;
    if (m_superMask && (mask & m_superMask))
        modifiers |= Qt::MetaModifier;
    return modifiers;
}

uint16_t X11KeyMapping::relevantMask() const
{
    return static_cast<uint16_t>(XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | m_altMask | m_superMask);
}

bool X11KeyMapping::isModifierKey(xcb_keycode_t keycode) const
{
    return std::find(m_modifierKeys.begin(), m_modifierKeys.end(), keycode) != m_modifierKeys.end();
}
