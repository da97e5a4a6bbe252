#pragma once

#include <QKeyCombination>
#include <QString>

#include <optional>

// A key with its modifiers in Qt's terms: Qt::MetaModifier is the Super/Windows key on
// Linux and Control on macOS, Qt::ControlModifier is Ctrl on Linux and Command on macOS.
using KeyCombination = QKeyCombination;

namespace KeyCombinations {

// "Ctrl+Alt+Meta+Left": Qt's portable text, stable across locales and platforms.
QString toText(KeyCombination combination);
// Absent for an empty text, unknown key names, several keys, or a bare modifier.
std::optional<KeyCombination> fromText(const QString& text);

// The keys as this desktop's own settings name them, for people rather than files:
// "Ctrl+Alt+Super+Left". On Linux the Meta modifier is the Super key; macOS will show
// its ⌃⌥⇧⌘ symbols here once that backend exists.
QString toDisplayText(KeyCombination combination);
// The modifiers alone, in the same order and names ("Ctrl+Alt"); empty for none.
QString modifiersDisplayText(Qt::KeyboardModifiers modifiers);
// The modifier a modifier key stands for (AltGr counts as Alt); none for other keys.
Qt::KeyboardModifier modifierOfKey(int key);

} // namespace KeyCombinations
