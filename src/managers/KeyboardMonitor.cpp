#include "managers/KeyboardMonitor.h"

#include <QKeyEvent>
#include <QWindow>

namespace {

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

} // namespace

KeyboardMonitor::KeyboardMonitor(QObject* parent)
    : ApplicationEventMonitor(parent)
{
}

KeyboardMonitor::~KeyboardMonitor() = default;

Qt::KeyboardModifiers KeyboardMonitor::modifiersAfter(int key, bool pressed, Qt::KeyboardModifiers before)
{
    const Qt::KeyboardModifier modifier = modifierOfKey(key);
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
    if (key->isAutoRepeat() || modifierOfKey(key->key()) == Qt::NoModifier)
        return false;
    const KeyboardEvent flags {modifiersAfter(key->key(), press, key->modifiers())};
    m_observers.notify([&](KeyboardObserver& observer) { observer.keyboardFlagsChanged(flags); });
    return false;
}
