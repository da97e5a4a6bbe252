// Shortcuts against Carbon's key codes and hot-key masks, and modifiers against NSEvent's
// flags: the values are Events.h's and AppKit's constants, written out independently.
#include "platform/macos/CarbonKeys.h"

#include <gtest/gtest.h>

namespace {

using CarbonKeys::HotKey;
constexpr Qt::KeyboardModifiers controlOption = Qt::MetaModifier | Qt::AltModifier;

TEST(CarbonKeys, CombinationsAndHotKeysTranslateBothWays)
{
    const std::pair<KeyCombination, HotKey> rows[] = {
        {KeyCombination(controlOption, Qt::Key_Left), {0x7B, 0x1800}},
        {KeyCombination(controlOption, Qt::Key_Right), {0x7C, 0x1800}},
        {KeyCombination(controlOption, Qt::Key_Up), {0x7E, 0x1800}},
        {KeyCombination(controlOption | Qt::ShiftModifier, Qt::Key_Left), {0x7B, 0x1A00}},
        {KeyCombination(Qt::ControlModifier, Qt::Key_A), {0x00, 0x0100}},
        {KeyCombination(Qt::MetaModifier, Qt::Key_Z), {0x06, 0x1000}},
        {KeyCombination(Qt::AltModifier | Qt::ShiftModifier, Qt::Key_5), {0x17, 0x0A00}},
        {KeyCombination(Qt::MetaModifier, Qt::Key_Escape), {53, 0x1000}},
        {KeyCombination(Qt::ControlModifier | Qt::AltModifier, Qt::Key_F1), {0x7A, 0x0900}},
        {KeyCombination(Qt::NoModifier, Qt::Key_F20), {0x5A, 0}},
        {KeyCombination(Qt::MetaModifier, Qt::Key_Backspace), {0x33, 0x1000}},
        {KeyCombination(Qt::MetaModifier, Qt::Key_Delete), {0x75, 0x1000}},
        {KeyCombination(Qt::AltModifier, Qt::Key_QuoteLeft), {0x32, 0x0800}},
    };
    for (const auto& [combination, hotKey] : rows) {
        SCOPED_TRACE(KeyCombinations::toText(combination).toStdString());
        EXPECT_EQ(CarbonKeys::toHotKey(combination), hotKey);
        EXPECT_EQ(CarbonKeys::fromHotKey(hotKey), combination);
    }
    // Lock bits and Qt's keypad flag take no part in a hot key.
    EXPECT_EQ(CarbonKeys::fromHotKey({0x7B, 0x1800 | 0x0400}), KeyCombination(controlOption, Qt::Key_Left));
    EXPECT_EQ(CarbonKeys::toHotKey(KeyCombination(Qt::KeypadModifier | Qt::MetaModifier, Qt::Key_Enter)),
        (HotKey {0x4C, 0x1000}));
}

TEST(CarbonKeys, KeysWithoutAFixedCodeAndUnknownCodesGiveNothing)
{
    for (const Qt::Key key : {Qt::Key_Print, Qt::Key_Insert, Qt::Key_Shift, Qt::Key_Meta, Qt::Key_Backtab,
             Qt::Key_unknown, Qt::Key(0), Qt::Key_F21})
        EXPECT_FALSE(CarbonKeys::toHotKey(KeyCombination(controlOption, key))) << key;
    // Command, Shift, Caps Lock, Option, Control, Fn, the ISO section key, volume, beyond.
    for (const quint32 code : {0x37u, 0x38u, 0x39u, 0x3Au, 0x3Bu, 0x3Fu, 0x0Au, 0x48u, 0x7Fu, 0xFFFFFFFFu})
        EXPECT_FALSE(CarbonKeys::fromHotKey({code, 0x1800})) << code;
}

TEST(CarbonKeys, EveryLetterDigitAndFunctionKeyHasItsOwnCode)
{
    for (const auto& [first, last] :
        {std::pair(Qt::Key_A, Qt::Key_Z), {Qt::Key_0, Qt::Key_9}, {Qt::Key_F1, Qt::Key_F20}}) {
        for (int key = first; key <= last; ++key) {
            const std::optional<quint32> code = CarbonKeys::keyCode(Qt::Key(key));
            ASSERT_TRUE(code) << key;
            EXPECT_EQ(CarbonKeys::keyOf(*code), Qt::Key(key));
        }
    }
    // No code is claimed by two keys.
    for (quint32 code = 0; code < 0x80; ++code) {
        if (const std::optional<Qt::Key> key = CarbonKeys::keyOf(code)) {
            EXPECT_EQ(CarbonKeys::keyCode(*key), code);
        }
    }
}

TEST(CarbonKeys, EventFlagsCarryTheFourModifiers)
{
    const std::pair<Qt::KeyboardModifiers, quint64> rows[] = {
        {controlOption, 0xC0000},
        {controlOption | Qt::ShiftModifier, 0xE0000},
        {Qt::ControlModifier, 0x100000},
    };
    for (const auto& [modifiers, flags] : rows) {
        EXPECT_EQ(CarbonKeys::eventFlags(modifiers), flags);
        // Caps Lock, Fn and the left-hand device bits ride along in real events.
        EXPECT_EQ(CarbonKeys::modifiersOfEventFlags(flags | 0x10000 | 0x800000 | 0x0102), modifiers) << flags;
    }
}

} // namespace
