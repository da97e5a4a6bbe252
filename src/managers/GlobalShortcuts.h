#pragma once

#include "platform/HotkeyBackend.h"
#include "platform/KeyCombination.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <map>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

class Settings;
struct BlobMapKey;

// The names of the six window shortcuts.
namespace ShortcutNames {
inline const QString cycleWindowLeft = QStringLiteral("cycleWindowLeft");
inline const QString cycleWindowRight = QStringLiteral("cycleWindowRight");
inline const QString cycleWindowNext = QStringLiteral("cycleWindowNext");
inline const QString cycleWindowPrev = QStringLiteral("cycleWindowPrev");
inline const QString spanWindowLeft = QStringLiteral("spanWindowLeft");
inline const QString spanWindowRight = QStringLiteral("spanWindowRight");
} // namespace ShortcutNames

// What became of a request for a key combination.
struct ShortcutResult
{
    enum class Code {
        Ok,
        // Another program holds the combination.
        HeldByAnotherProgram,
        // Another of our own names has it already (conflictingName says which).
        UsedByAnotherShortcut,
        // The keyboard cannot produce it, or the window system refused for another reason.
        NotGrabbable,
    };

    Code code = Code::Ok;
    // For the log and the settings window; empty when all went well.
    QString message;
    QString conflictingName;

    bool ok() const { return code == Code::Ok; }
};

// Named system-wide shortcuts. A name has an optional default combination; the user's
// own choice, once made, is kept in the settings and wins over the default. Every name
// is enabled until disabled; an enabled name with a combination holds a system-wide
// grab, and pressing it calls the name's key-down handlers in the order they were added.
// Names need no registration: using one creates it without a default.
class GlobalShortcuts final : public QObject
{
    Q_OBJECT

public:
    // Where the user's choices live: name -> portable text ("" for no shortcut at all).
    static const BlobMapKey settingsKey;

    GlobalShortcuts(HotkeyBackend& backend, Settings& settings, QObject* parent = nullptr);
    ~GlobalShortcuts() override;

    // The six window shortcuts on the given modifiers (plus Shift for the two spans).
    static std::vector<std::pair<QString, KeyCombination>> defaultShortcuts(Qt::KeyboardModifiers primary);
    // Registers the six with the defaults that suit this platform's desktops.
    void registerDefaultShortcuts();

    // What people call a shortcut ("Cycle window left"); other names as they are.
    static QString displayName(const QString& name);
    // The sentence the application shows when a combination could not be had: which
    // shortcut, which keys, and where to choose others.
    static QString unavailableNotice(const QString& name, KeyCombination combination);

    // Declares name with its default and grabs its combination. A grab that fails is
    // logged and announced once through shortcutUnavailable.
    ShortcutResult registerShortcut(const QString& name, std::optional<KeyCombination> defaultCombination);

    void onKeyDown(const QString& name, std::function<void()> handler);
    void removeHandlers(const QString& name);

    ShortcutResult enable(const QString& name);
    // Releases the grab; handlers stay but are not called until enabled again.
    void disable(const QString& name);
    bool isEnabled(const QString& name) const;
    // Every name used so far: the six and the layouts' own.
    QStringList names() const;

    // The combination in force: the user's choice, else the default; absent when none.
    std::optional<KeyCombination> shortcut(const QString& name) const;
    std::optional<KeyCombination> defaultShortcut(const QString& name) const;
    // Whether name has a combination at all.
    bool isRecorded(const QString& name) const { return shortcut(name).has_value(); }

    // Stores the user's choice (absent: no shortcut for this name) once it is grabbed.
    // When the combination cannot be had, the previous one stays in force and in the
    // settings, and the result says why.
    ShortcutResult setShortcut(const QString& name, std::optional<KeyCombination> combination);
    // Forgets the user's choice; the default applies again.
    ShortcutResult resetToDefault(const QString& name);

    // Whether name holds its grab right now (enabled, with a combination, not refused).
    bool isActive(const QString& name) const;
    // Why the current combination of name is not held; empty when it is (or has none).
    QString unavailableReason(const QString& name) const;

Q_SIGNALS:
    // A combination could not be grabbed at registration or when enabled: once per
    // name and combination, so the application can tell the user where to change it.
    void shortcutUnavailable(const QString& name, KeyCombination combination, const QString& reason);
    // The combination in force for name changed.
    void shortcutChanged(const QString& name);

private:
    struct Entry
    {
        std::optional<KeyCombination> defaultCombination;
        bool enabled = true;
        HotkeyBackend::Token token = 0;
        std::optional<KeyCombination> grabbed;
        QString unavailableReason;
        std::vector<std::function<void()>> handlers;
    };

    Entry& entry(const QString& name);
    // The user's stored choice: absent = none stored, inner absent = "no shortcut".
    std::optional<std::optional<KeyCombination>> storedChoice(const QString& name) const;
    void storeChoice(const QString& name, const std::optional<std::optional<KeyCombination>>& choice);
    ShortcutResult grab(const QString& name, Entry& entry, std::optional<KeyCombination> combination);
    void release(Entry& entry);
    // Grabs what is in force for name; failures are announced.
    ShortcutResult activate(const QString& name);
    ShortcutResult applyChoice(const QString& name, const std::optional<std::optional<KeyCombination>>& choice);
    void handleActivated(HotkeyBackend::Token token);

    HotkeyBackend& m_backend;
    Settings& m_settings;
    std::map<QString, Entry> m_entries;
    QSet<QString> m_announced;
};
