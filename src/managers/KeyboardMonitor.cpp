#include "managers/KeyboardMonitor.h"

#include "platform/KeyCombination.h"

#include <QKeyEvent>
#include <QWindow>

KeyboardMonitor::KeyboardMonitor(QObject* parent)
    : ApplicationEventMonitor(parent)
{ }

KeyboardMonitor::~KeyboardMonitor() = default;

Qt::KeyboardModifiers KeyboardMonitor::modifiersAfter(int key, bool pressed, Qt::KeyboardModifiers before)
{
    const Qt::KeyboardModifier modifier = KeyCombinations::modifierOfKey(key);
    if (modifier == Qt::NoModifier)
        return before;
    return pressed ? (before | modifier) : (before & ~Qt::KeyboardModifiers(modifier));
}

bool KeyboardMonitor::eventFilter(QObject* watched, QEvent* event)
{
    const bool press = event->type() == QEvent::KeyPress;
    if ((!press && event->type() != QEvent::KeyRelease) || !qobject_cast<QWindow*>(watched))
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    // Auto-repeat of a held modifier changes nothing.
    if (key->isAutoRepeat() || KeyCombinations::modifierOfKey(key->key()) == Qt::NoModifier)
        return false;
    const KeyboardEvent flags {modifiersAfter(key->key(), press, key->modifiers())};
    m_observers.notify([&](KeyboardObserver& observer) { observer.keyboardFlagsChanged(flags); });
    return false;
}
