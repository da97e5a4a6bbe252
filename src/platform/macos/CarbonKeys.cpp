#include "platform/macos/CarbonKeys.h"

#include <algorithm>
#include <array>
#include <utility>

namespace CarbonKeys {

namespace {

struct KeyEntry
{
    Qt::Key key;
    quint32 code;
};

// The kVK_* constants of Carbon's Events.h for every key the shortcut recorder can
// produce on a Mac keyboard. Letters and digits are not in code order there, so no
// arithmetic shortcut exists. Three to a line, in code order.
// clang-format off
constexpr std::array keys {
    KeyEntry {Qt::Key_A, 0x00}, KeyEntry {Qt::Key_S, 0x01}, KeyEntry {Qt::Key_D, 0x02},
    KeyEntry {Qt::Key_F, 0x03}, KeyEntry {Qt::Key_H, 0x04}, KeyEntry {Qt::Key_G, 0x05},
    KeyEntry {Qt::Key_Z, 0x06}, KeyEntry {Qt::Key_X, 0x07}, KeyEntry {Qt::Key_C, 0x08},
    KeyEntry {Qt::Key_V, 0x09}, KeyEntry {Qt::Key_B, 0x0B}, KeyEntry {Qt::Key_Q, 0x0C},
    KeyEntry {Qt::Key_W, 0x0D}, KeyEntry {Qt::Key_E, 0x0E}, KeyEntry {Qt::Key_R, 0x0F},
    KeyEntry {Qt::Key_Y, 0x10}, KeyEntry {Qt::Key_T, 0x11}, KeyEntry {Qt::Key_1, 0x12},
    KeyEntry {Qt::Key_2, 0x13}, KeyEntry {Qt::Key_3, 0x14}, KeyEntry {Qt::Key_4, 0x15},
    KeyEntry {Qt::Key_6, 0x16}, KeyEntry {Qt::Key_5, 0x17}, KeyEntry {Qt::Key_Equal, 0x18},
    KeyEntry {Qt::Key_9, 0x19}, KeyEntry {Qt::Key_7, 0x1A}, KeyEntry {Qt::Key_Minus, 0x1B},
    KeyEntry {Qt::Key_8, 0x1C}, KeyEntry {Qt::Key_0, 0x1D}, KeyEntry {Qt::Key_BracketRight, 0x1E},
    KeyEntry {Qt::Key_O, 0x1F}, KeyEntry {Qt::Key_U, 0x20}, KeyEntry {Qt::Key_BracketLeft, 0x21},
    KeyEntry {Qt::Key_I, 0x22}, KeyEntry {Qt::Key_P, 0x23}, KeyEntry {Qt::Key_Return, 0x24},
    KeyEntry {Qt::Key_L, 0x25}, KeyEntry {Qt::Key_J, 0x26}, KeyEntry {Qt::Key_Apostrophe, 0x27},
    KeyEntry {Qt::Key_K, 0x28}, KeyEntry {Qt::Key_Semicolon, 0x29}, KeyEntry {Qt::Key_Backslash, 0x2A},
    KeyEntry {Qt::Key_Comma, 0x2B}, KeyEntry {Qt::Key_Slash, 0x2C}, KeyEntry {Qt::Key_N, 0x2D},
    KeyEntry {Qt::Key_M, 0x2E}, KeyEntry {Qt::Key_Period, 0x2F}, KeyEntry {Qt::Key_Tab, 0x30},
    KeyEntry {Qt::Key_Space, 0x31}, KeyEntry {Qt::Key_QuoteLeft, 0x32}, KeyEntry {Qt::Key_Backspace, 0x33},
    KeyEntry {Qt::Key_Escape, escapeKeyCode}, KeyEntry {Qt::Key_F17, 0x40}, KeyEntry {Qt::Key_Enter, 0x4C},
    KeyEntry {Qt::Key_F18, 0x4F}, KeyEntry {Qt::Key_F19, 0x50}, KeyEntry {Qt::Key_F20, 0x5A},
    KeyEntry {Qt::Key_F5, 0x60}, KeyEntry {Qt::Key_F6, 0x61}, KeyEntry {Qt::Key_F7, 0x62},
    KeyEntry {Qt::Key_F3, 0x63}, KeyEntry {Qt::Key_F8, 0x64}, KeyEntry {Qt::Key_F9, 0x65},
    KeyEntry {Qt::Key_F11, 0x67}, KeyEntry {Qt::Key_F13, 0x69}, KeyEntry {Qt::Key_F16, 0x6A},
    KeyEntry {Qt::Key_F14, 0x6B}, KeyEntry {Qt::Key_F10, 0x6D}, KeyEntry {Qt::Key_F12, 0x6F},
    KeyEntry {Qt::Key_F15, 0x71}, KeyEntry {Qt::Key_Help, 0x72}, KeyEntry {Qt::Key_Home, 0x73},
    KeyEntry {Qt::Key_PageUp, 0x74}, KeyEntry {Qt::Key_Delete, 0x75}, KeyEntry {Qt::Key_F4, 0x76},
    KeyEntry {Qt::Key_End, 0x77}, KeyEntry {Qt::Key_F2, 0x78}, KeyEntry {Qt::Key_PageDown, 0x79},
    KeyEntry {Qt::Key_F1, 0x7A}, KeyEntry {Qt::Key_Left, 0x7B}, KeyEntry {Qt::Key_Right, 0x7C},
    KeyEntry {Qt::Key_Down, 0x7D}, KeyEntry {Qt::Key_Up, 0x7E},
};
// clang-format on

// Carbon's hot-key masks and NSEvent's flags for the same four modifiers.
struct ModifierEntry
{
    Qt::KeyboardModifier qt;
    quint32 carbon;
    quint64 event;
};

constexpr std::array modifiers {
    ModifierEntry {Qt::ControlModifier, 0x0100, 0x100000}, // Command: cmdKey
    ModifierEntry {Qt::ShiftModifier, 0x0200, 0x20000}, // shiftKey
    ModifierEntry {Qt::AltModifier, 0x0800, 0x80000}, // Option: optionKey
    ModifierEntry {Qt::MetaModifier, 0x1000, 0x40000}, // Control: controlKey
};

// The same table read in either direction, for Carbon's masks and NSEvent's flags alike.
template <typename Mask> Mask maskOf(Qt::KeyboardModifiers qtModifiers, Mask ModifierEntry::*field)
{
    Mask mask = 0;
    for (const ModifierEntry& modifier : modifiers) {
        if (qtModifiers & modifier.qt)
            mask |= modifier.*field;
    }
    return mask;
}

template <typename Mask> Qt::KeyboardModifiers modifiersIn(Mask mask, Mask ModifierEntry::*field)
{
    Qt::KeyboardModifiers result;
    for (const ModifierEntry& modifier : modifiers) {
        if (mask & modifier.*field)
            result |= modifier.qt;
    }
    return result;
}

} // namespace

std::optional<quint32> keyCode(Qt::Key key)
{
    const auto* found = std::find_if(keys.begin(), keys.end(), [key](const KeyEntry& e) { return e.key == key; });
    if (found == keys.end())
        return std::nullopt;
    return found->code;
}

std::optional<Qt::Key> keyOf(quint32 keyCode)
{
    const auto* found
        = std::find_if(keys.begin(), keys.end(), [keyCode](const KeyEntry& e) { return e.code == keyCode; });
    if (found == keys.end())
        return std::nullopt;
    return found->key;
}

quint32 hotKeyModifiers(Qt::KeyboardModifiers qtModifiers)
{
    return maskOf(qtModifiers, &ModifierEntry::carbon);
}

Qt::KeyboardModifiers modifiersOfHotKey(quint32 carbonModifiers)
{
    return modifiersIn(carbonModifiers, &ModifierEntry::carbon);
}

std::optional<HotKey> toHotKey(KeyCombination combination)
{
    const std::optional<quint32> code = keyCode(combination.key());
    if (!code)
        return std::nullopt;
    return HotKey {*code, hotKeyModifiers(combination.keyboardModifiers())};
}

std::optional<KeyCombination> fromHotKey(const HotKey& hotKey)
{
    const std::optional<Qt::Key> key = keyOf(hotKey.keyCode);
    if (!key)
        return std::nullopt;
    return KeyCombination(modifiersOfHotKey(hotKey.modifiers), *key);
}

quint64 eventFlags(Qt::KeyboardModifiers qtModifiers)
{
    return maskOf(qtModifiers, &ModifierEntry::event);
}

Qt::KeyboardModifiers modifiersOfEventFlags(quint64 flags)
{
    return modifiersIn(flags, &ModifierEntry::event);
}

} // namespace CarbonKeys
