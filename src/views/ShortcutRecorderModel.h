#pragma once

#include "platform/KeyCombination.h"

#include <QObject>
#include <QString>

#include <vector>

class GlobalShortcuts;
class QKeyEvent;
struct ShortcutResult;

// The logic of one shortcut recorder: click, press a combination, done.
//
// While a recorder listens, the six window shortcuts (and the one being recorded) give up
// their system-wide grabs, or pressing a combination Parqueta already holds would move a
// window instead of reaching the recorder. They get them back however listening ends.
// Only one recorder listens at a time: starting another cancels the first.
//
// A combination is taken only with Ctrl, Alt or Super in it, or on a function key:
// Shift and a letter is typing, not a shortcut. Escape alone cancels; Backspace or Delete
// alone leaves the name without a shortcut. When GlobalShortcuts refuses a combination the
// previous one stays and error() says why, for the control to show beside itself.
class ShortcutRecorderModel final : public QObject
{
    Q_OBJECT

public:
    ShortcutRecorderModel(GlobalShortcuts& shortcuts, QString name, QObject* parent = nullptr);
    ~ShortcutRecorderModel() override;

    const QString& name() const { return m_name; }
    bool isListening() const { return m_listening; }
    // What the control shows: the combination in force, the placeholder when there is
    // none, or while listening the prompt with the modifiers held so far ("Ctrl+Alt+…").
    QString text() const;
    // Why the last combination was not taken; empty after one was.
    const QString& error() const { return m_error; }
    // The combination in force is not the default one.
    bool canResetToDefault() const;

    // Whether a press of key with these modifiers can be a shortcut at all.
    static bool isAcceptable(Qt::Key key, Qt::KeyboardModifiers modifiers);

    // Keys while listening; true when the recorder took the event, so the view keeps it
    // from focus changes and window shortcuts. Outside listening nothing is taken.
    bool keyPress(Qt::Key key, Qt::KeyboardModifiers modifiers);
    bool keyRelease(Qt::Key key, Qt::KeyboardModifiers modifiers);
    bool handleKeyEvent(const QKeyEvent& event);

public Q_SLOTS:
    void startListening();
    // Ends listening with nothing changed (Escape, focus lost, a second click).
    void cancel();
    // No shortcut for this name: it stays without one until another is recorded.
    void clear();
    void resetToDefault();

Q_SIGNALS:
    // The text, the listening state, the error or the combination changed.
    void changed();

private:
    void record(KeyCombination combination);
    void stopListening();
    void suspendWindowShortcuts();
    void restoreWindowShortcuts();
    void show(const ShortcutResult& result, const QString& keys);

    GlobalShortcuts& m_shortcuts;
    QString m_name;
    bool m_listening = false;
    Qt::KeyboardModifiers m_held;
    QString m_error;
    // The names this recorder disabled, to enable again and no others.
    std::vector<QString> m_suspended;
};
