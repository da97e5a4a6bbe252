#include "views/ShortcutRecorderModel.h"

#include "managers/GlobalShortcuts.h"

#include <QKeyEvent>

#include <algorithm>

namespace {

// Listening is one at a time across the whole settings window.
ShortcutRecorderModel* listeningRecorder = nullptr;

constexpr Qt::KeyboardModifiers shortcutModifiers
    = Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier;

// AltGr picks a key's third level on this keyboard: no shortcut modifier.
Qt::KeyboardModifiers modifierOf(Qt::Key key)
{
    return key == Qt::Key_AltGr ? Qt::NoModifier : Qt::KeyboardModifiers(KeyCombinations::modifierOfKey(key));
}

bool isModifierKey(Qt::Key key)
{
    return modifierOf(key) != Qt::NoModifier || key == Qt::Key_AltGr || key == Qt::Key_CapsLock
        || key == Qt::Key_NumLock || key == Qt::Key_Hyper_L || key == Qt::Key_Hyper_R;
}

bool isFunctionKey(Qt::Key key)
{
    return key >= Qt::Key_F1 && key <= Qt::Key_F35;
}

} // namespace

ShortcutRecorderModel::ShortcutRecorderModel(GlobalShortcuts& shortcuts, QString name, QObject* parent)
    : QObject(parent)
    , m_shortcuts(shortcuts)
    , m_name(std::move(name))
{
    connect(&m_shortcuts, &GlobalShortcuts::shortcutChanged, this, [this](const QString& changedName) {
        if (changedName == m_name)
            Q_EMIT changed();
    });
}

ShortcutRecorderModel::~ShortcutRecorderModel()
{
    stopListening();
}

QString ShortcutRecorderModel::text() const
{
    if (m_listening) {
        return m_held == Qt::NoModifier ? tr("Press keys…")
                                        : KeyCombinations::modifiersDisplayText(m_held) + QStringLiteral("+…");
    }
    const std::optional<KeyCombination> combination = m_shortcuts.shortcut(m_name);
    return combination ? KeyCombinations::toDisplayText(*combination) : tr("Record Shortcut");
}

bool ShortcutRecorderModel::canResetToDefault() const
{
    return m_shortcuts.shortcut(m_name) != m_shortcuts.defaultShortcut(m_name);
}

bool ShortcutRecorderModel::isAcceptable(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    if (key == 0 || key == Qt::Key_unknown || isModifierKey(key))
        return false;
    // Shift alone only changes what a key types; a function key types nothing.
    return (modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) || isFunctionKey(key);
}

bool ShortcutRecorderModel::keyPress(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    if (!m_listening)
        return false;
    modifiers &= shortcutModifiers;
    if (isModifierKey(key)) {
        // X11 reports a modifier's own press without its flag, its release with it.
        m_held = modifiers | modifierOf(key);
        Q_EMIT changed();
        return true;
    }
    if (modifiers == Qt::NoModifier && key == Qt::Key_Escape) {
        cancel();
        return true;
    }
    if (modifiers == Qt::NoModifier && (key == Qt::Key_Backspace || key == Qt::Key_Delete)) {
        clear();
        return true;
    }
    // Shift+Tab arrives as its own key; the grab wants the Tab key with Shift.
    if (key == Qt::Key_Backtab) {
        key = Qt::Key_Tab;
        modifiers |= Qt::ShiftModifier;
    }
    if (!isAcceptable(key, modifiers)) {
        m_held = modifiers;
        m_error = tr("Hold %1, %2 or %3 with the key, or use a function key")
                      .arg(KeyCombinations::modifiersDisplayText(Qt::ControlModifier),
                          KeyCombinations::modifiersDisplayText(Qt::AltModifier),
                          KeyCombinations::modifiersDisplayText(Qt::MetaModifier));
        Q_EMIT changed();
        return true;
    }
    record(KeyCombination(modifiers, key));
    return true;
}

bool ShortcutRecorderModel::keyRelease(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    if (!m_listening)
        return false;
    if (isModifierKey(key)) {
        m_held = (modifiers & shortcutModifiers) & ~modifierOf(key);
        Q_EMIT changed();
    }
    return true;
}

bool ShortcutRecorderModel::handleKeyEvent(const QKeyEvent& event)
{
    if (event.isAutoRepeat())
        return m_listening;
    const auto key = Qt::Key(event.key());
    if (event.type() == QEvent::KeyPress)
        return keyPress(key, event.modifiers());
    if (event.type() == QEvent::KeyRelease)
        return keyRelease(key, event.modifiers());
    return false;
}

void ShortcutRecorderModel::startListening()
{
    if (m_listening)
        return;
    if (listeningRecorder)
        listeningRecorder->cancel();
    listeningRecorder = this;
    m_listening = true;
    m_held = Qt::NoModifier;
    m_error.clear();
    suspendWindowShortcuts();
    Q_EMIT changed();
}

void ShortcutRecorderModel::cancel()
{
    if (!m_listening)
        return;
    stopListening();
    Q_EMIT changed();
}

void ShortcutRecorderModel::clear()
{
    stopListening();
    show(m_shortcuts.setShortcut(m_name, std::nullopt), QString());
}

void ShortcutRecorderModel::resetToDefault()
{
    stopListening();
    const std::optional<KeyCombination> fallback = m_shortcuts.defaultShortcut(m_name);
    show(m_shortcuts.resetToDefault(m_name), fallback ? KeyCombinations::toDisplayText(*fallback) : QString());
}

void ShortcutRecorderModel::record(KeyCombination combination)
{
    // The window shortcuts hold their grabs again before the new one is asked for, so a
    // combination that one of them has is found out as a duplicate.
    stopListening();
    show(m_shortcuts.setShortcut(m_name, combination), KeyCombinations::toDisplayText(combination));
}

void ShortcutRecorderModel::stopListening()
{
    if (!m_listening)
        return;
    m_listening = false;
    m_held = Qt::NoModifier;
    if (listeningRecorder == this)
        listeningRecorder = nullptr;
    restoreWindowShortcuts();
}

void ShortcutRecorderModel::suspendWindowShortcuts()
{
    // Every shortcut of Parqueta's, the layouts' included, so that pressing one records it
    // rather than firing it. One the user had switched off stays off afterwards.
    QStringList names = m_shortcuts.names();
    if (!names.contains(m_name))
        names << m_name;
    for (const QString& name : names) {
        if (m_shortcuts.isEnabled(name)) {
            m_shortcuts.disable(name);
            m_suspended.push_back(name);
        }
    }
}

void ShortcutRecorderModel::restoreWindowShortcuts()
{
    for (const QString& name : std::exchange(m_suspended, {}))
        m_shortcuts.enable(name);
}

void ShortcutRecorderModel::show(const ShortcutResult& result, const QString& keys)
{
    switch (result.code) {
    case ShortcutResult::Code::Ok:
        m_error.clear();
        break;
    case ShortcutResult::Code::HeldByAnotherProgram:
        m_error = tr("%1 is taken by another program").arg(keys);
        break;
    case ShortcutResult::Code::UsedByAnotherShortcut:
        m_error
            = tr("%1 is already the shortcut for “%2”").arg(keys, GlobalShortcuts::displayName(result.conflictingName));
        break;
    case ShortcutResult::Code::NotGrabbable:
        m_error = tr("%1 cannot be used as a shortcut").arg(keys);
        break;
    }
    Q_EMIT changed();
}
