#include "platform/KeyCombination.h"

#include <QKeySequence>

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

} // namespace KeyCombinations
