#pragma once

#include "platform/KeyCombination.h"

#include <QtGlobal>

#include <optional>

// Qt's keys and modifiers against the numbers macOS uses for them: Carbon's virtual key
// codes and hot-key modifier masks (RegisterEventHotKey) and NSEvent's modifier flags
// (event monitors, NSEvent.modifierFlags).
//
// Modifiers follow Qt's own macOS convention, which KeyCombination already states:
// Qt::MetaModifier is Control, Qt::ControlModifier is Command, Qt::AltModifier is Option.
// A shortcut stored as Meta+Alt+Left is therefore Control+Option+Left on a Mac.
//
// Key codes name physical keys at their places on an ANSI (US) keyboard. On another
// layout the letter printed on a key may differ; finding the code for a character in the
// current layout needs the system's keyboard layout data and is left to the system layer.
namespace CarbonKeys {

// What RegisterEventHotKey takes.
struct HotKey
{
    quint32 keyCode = 0;
    quint32 modifiers = 0;

    friend bool operator==(const HotKey&, const HotKey&) = default;
};

// Absent for a key without a fixed code (Print, Insert, keypad digits, anything not on a
// Mac keyboard) and for a bare modifier key.
std::optional<quint32> keyCode(Qt::Key key);
// Absent for codes of modifier keys, media keys and codes no keyboard sends.
std::optional<Qt::Key> keyOf(quint32 keyCode);

// cmdKey, shiftKey, optionKey, controlKey; Qt's keypad and group-switch flags have no
// counterpart and are dropped.
quint32 hotKeyModifiers(Qt::KeyboardModifiers modifiers);
// Lock and device bits (alphaLock, the right-hand key bits) are ignored.
Qt::KeyboardModifiers modifiersOfHotKey(quint32 carbonModifiers);

std::optional<HotKey> toHotKey(KeyCombination combination);
std::optional<KeyCombination> fromHotKey(const HotKey& hotKey);

// NSEventModifierFlagShift 0x20000, Control 0x40000, Option 0x80000, Command 0x100000.
quint64 eventFlags(Qt::KeyboardModifiers modifiers);
// Caps Lock, numeric pad, help, function and the device-dependent low bits are ignored:
// they never take part in a shortcut or a zone gesture.
Qt::KeyboardModifiers modifiersOfEventFlags(quint64 flags);

// kVK_Escape: the key that closes the zone editor.
inline constexpr quint32 escapeKeyCode = 0x35;

} // namespace CarbonKeys
