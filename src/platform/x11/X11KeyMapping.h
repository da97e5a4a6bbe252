#pragma once

#include <QtCore/qnamespace.h>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <optional>
#include <vector>

// What the keyboard's keys and modifier bits mean on this server: which ModN bit Alt,
// Super and NumLock sit on (the modifier mapping decides, not a fixed table), which
// keycodes produce a keysym, and Qt's names for both.
class X11KeyMapping final
{
public:
    explicit X11KeyMapping(xcb_connection_t* connection);
    ~X11KeyMapping();

    X11KeyMapping(const X11KeyMapping&) = delete;
    X11KeyMapping& operator=(const X11KeyMapping&) = delete;

    // Re-reads both tables; call on MappingNotify.
    void refresh();

    // The keysym of a Qt key (letters in lower case), 0 when there is none.
    static xcb_keysym_t keysymFor(int qtKey);
    std::vector<xcb_keycode_t> keycodesFor(xcb_keysym_t keysym) const;

    // The X modifier bits of Qt modifiers; absent when the keyboard has no key for
    // one of them (no Super key in the modifier map, for example).
    std::optional<uint16_t> maskFor(Qt::KeyboardModifiers modifiers) const;
    Qt::KeyboardModifiers modifiersFromMask(uint16_t mask) const;
    // The bits a lock key adds to every key event: CapsLock and NumLock.
    uint16_t lockMask() const { return static_cast<uint16_t>(XCB_MOD_MASK_LOCK | m_numLockMask); }
    uint16_t numLockMask() const { return m_numLockMask; }
    // The bits that Shift, Ctrl, Alt and Super occupy.
    uint16_t relevantMask() const;
    bool isModifierKey(xcb_keycode_t keycode) const;

private:
    void readModifierMapping();

    xcb_connection_t* m_connection;
    xcb_key_symbols_t* m_symbols = nullptr;
    uint16_t m_altMask = 0;
    uint16_t m_superMask = 0;
    uint16_t m_numLockMask = 0;
    std::vector<xcb_keycode_t> m_modifierKeys;
};
