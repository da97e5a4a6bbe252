#include "platform/KeyCombination.h"

#include <QKeySequence>
#include <QStringList>

namespace KeyCombinations {

QString toText(KeyCombination combination)
{
    return QKeySequence(combination).toString(QKeySequence::PortableText);
}

std::optional<KeyCombination> fromText(const QString& text)
{
    const QKeySequence sequence = QKeySequence::fromString(text, QKeySequence::PortableText);
    if (sequence.count() != 1)
        return std::nullopt;
    const KeyCombination combination = sequence[0];
    const Qt::Key key = combination.key();
    if (key == Qt::Key_unknown || key == 0 || key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt
        || key == Qt::Key_Meta || key == Qt::Key_AltGr)
        return std::nullopt;
    return combination;
}

QString modifiersDisplayText(Qt::KeyboardModifiers modifiers)
{
    // One fixed order, so the same keys always read the same. Meta is called Super, as
    // most Linux desktops name that key in their keyboard settings.
    QStringList names;
    if (modifiers & Qt::ControlModifier)
        names << QStringLiteral("Ctrl");
    if (modifiers & Qt::AltModifier)
        names << QStringLiteral("Alt");
    if (modifiers & Qt::ShiftModifier)
        names << QStringLiteral("Shift");
    if (modifiers & Qt::MetaModifier)
        names << QStringLiteral("Super");
    return names.join(QLatin1Char('+'));
}

QString toDisplayText(KeyCombination combination)
{
    const QString key = QKeySequence(KeyCombination(combination.key())).toString(QKeySequence::NativeText);
    const QString modifiers = modifiersDisplayText(combination.keyboardModifiers());
    return modifiers.isEmpty() ? key : modifiers + QLatin1Char('+') + key;
}

Qt::KeyboardModifier modifierOfKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
        return Qt::ShiftModifier;
    case Qt::Key_Control:
        return Qt::ControlModifier;
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
        return Qt::AltModifier;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return Qt::MetaModifier;
    default:
        return Qt::NoModifier;
    }
}

} // namespace KeyCombinations
