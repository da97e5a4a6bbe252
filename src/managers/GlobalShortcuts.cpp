#include "managers/GlobalShortcuts.h"

#include "core/Logging.h"
#include "core/Settings.h"

#include <QHash>
#include <QUuid>
#include <QKeySequence>

const BlobMapKey GlobalShortcuts::settingsKey {"shortcuts", "shortcuts-v0"};

namespace {

QString describe(const std::optional<KeyCombination>& combination)
{
    return combination ? KeyCombinations::toText(*combination) : QStringLiteral("none");
}

} // namespace

GlobalShortcuts::GlobalShortcuts(HotkeyBackend& backend, Settings& settings, QObject* parent)
    : QObject(parent)
    , m_backend(backend)
    , m_settings(settings)
{
    connect(&m_backend, &HotkeyBackend::activated, this, &GlobalShortcuts::handleActivated);
}

GlobalShortcuts::~GlobalShortcuts()
{
    for (auto& [name, entry] : m_entries)
        release(entry);
}

std::vector<std::pair<QString, KeyCombination>> GlobalShortcuts::defaultShortcuts(Qt::KeyboardModifiers primary)
{
    const Qt::KeyboardModifiers span = primary | Qt::ShiftModifier;
    return {
        {ShortcutNames::cycleWindowLeft, KeyCombination(primary, Qt::Key_Left)},
        {ShortcutNames::cycleWindowRight, KeyCombination(primary, Qt::Key_Right)},
        {ShortcutNames::cycleWindowNext, KeyCombination(primary, Qt::Key_Up)},
        {ShortcutNames::cycleWindowPrev, KeyCombination(primary, Qt::Key_Down)},
        {ShortcutNames::spanWindowLeft, KeyCombination(span, Qt::Key_Left)},
        {ShortcutNames::spanWindowRight, KeyCombination(span, Qt::Key_Right)},
    };
}

void GlobalShortcuts::registerDefaultShortcuts()
{
    for (const auto& [name, combination] : defaultShortcuts(m_backend.primaryModifiers()))
        registerShortcut(name, combination);
}

QString GlobalShortcuts::displayName(const QString& name)
{
    static const QHash<QString, QString> names {
        {ShortcutNames::cycleWindowLeft, QStringLiteral("Cycle window left")},
        {ShortcutNames::cycleWindowRight, QStringLiteral("Cycle window right")},
        {ShortcutNames::cycleWindowNext, QStringLiteral("Cycle next window")},
        {ShortcutNames::cycleWindowPrev, QStringLiteral("Cycle previous window")},
        {ShortcutNames::spanWindowLeft, QStringLiteral("Span window left")},
        {ShortcutNames::spanWindowRight, QStringLiteral("Span window right")},
    };
    // Layouts' shortcuts are named after the layout's UUID, which says nothing to a user.
    if (!names.contains(name) && !QUuid::fromString(name).isNull())
        return QStringLiteral("a layout's shortcut");
    return names.value(name, name);
}

QString GlobalShortcuts::unavailableNotice(const QString& name, KeyCombination combination)
{
    return QStringLiteral("The shortcut %1 for \u201c%2\u201d is taken by another program. "
                          "Click here, or choose other keys in Parqueta's Settings, under Shortcuts.")
        .arg(KeyCombinations::toDisplayText(combination), displayName(name));
}

ShortcutResult GlobalShortcuts::registerShortcut(const QString& name, std::optional<KeyCombination> defaultCombination)
{
    entry(name).defaultCombination = defaultCombination;
    return activate(name);
}

void GlobalShortcuts::onKeyDown(const QString& name, std::function<void()> handler)
{
    if (handler)
        entry(name).handlers.push_back(std::move(handler));
}

void GlobalShortcuts::removeHandlers(const QString& name)
{
    if (auto it = m_entries.find(name); it != m_entries.end())
        it->second.handlers.clear();
}

ShortcutResult GlobalShortcuts::enable(const QString& name)
{
    entry(name).enabled = true;
    return activate(name);
}

void GlobalShortcuts::disable(const QString& name)
{
    Entry& e = entry(name);
    e.enabled = false;
    release(e);
    e.unavailableReason.clear();
}

QStringList GlobalShortcuts::names() const
{
    QStringList result;
    for (const auto& [name, entry] : m_entries)
        result << name;
    return result;
}

bool GlobalShortcuts::isEnabled(const QString& name) const
{
    const auto it = m_entries.find(name);
    return it == m_entries.end() || it->second.enabled;
}

std::optional<KeyCombination> GlobalShortcuts::shortcut(const QString& name) const
{
    if (const auto choice = storedChoice(name))
        return *choice;
    return defaultShortcut(name);
}

std::optional<KeyCombination> GlobalShortcuts::defaultShortcut(const QString& name) const
{
    const auto it = m_entries.find(name);
    return it == m_entries.end() ? std::nullopt : it->second.defaultCombination;
}

ShortcutResult GlobalShortcuts::setShortcut(const QString& name, std::optional<KeyCombination> combination)
{
    return applyChoice(name, std::optional<std::optional<KeyCombination>>(combination));
}

ShortcutResult GlobalShortcuts::resetToDefault(const QString& name)
{
    return applyChoice(name, std::nullopt);
}

bool GlobalShortcuts::isActive(const QString& name) const
{
    const auto it = m_entries.find(name);
    return it != m_entries.end() && it->second.token != 0;
}

QString GlobalShortcuts::unavailableReason(const QString& name) const
{
    const auto it = m_entries.find(name);
    return it == m_entries.end() ? QString() : it->second.unavailableReason;
}

GlobalShortcuts::Entry& GlobalShortcuts::entry(const QString& name)
{
    return m_entries[name];
}

std::optional<std::optional<KeyCombination>> GlobalShortcuts::storedChoice(const QString& name) const
{
    const QMap<QString, QString> stored = m_settings.strings(settingsKey);
    const auto it = stored.constFind(name);
    if (it == stored.constEnd())
        return std::nullopt;
    if (it->isEmpty())
        return std::optional<KeyCombination>();
    if (const std::optional<KeyCombination> combination = KeyCombinations::fromText(*it))
        return std::optional<KeyCombination>(combination);
    qCWarning(lcShortcuts) << "Ignoring the unreadable stored shortcut" << *it << "of" << name
                           << "; its default applies";
    return std::nullopt;
}

void GlobalShortcuts::storeChoice(const QString& name, const std::optional<std::optional<KeyCombination>>& choice)
{
    QMap<QString, QString> stored = m_settings.strings(settingsKey);
    if (!choice)
        stored.remove(name);
    else
        stored.insert(name, *choice ? KeyCombinations::toText(**choice) : QString());
    m_settings.setStrings(settingsKey, stored);
}

ShortcutResult GlobalShortcuts::activate(const QString& name)
{
    Entry& e = entry(name);
    const std::optional<KeyCombination> wanted = shortcut(name);
    if (!e.enabled || (e.token != 0 && e.grabbed == wanted))
        return {};
    release(e);
    ShortcutResult result = grab(name, e, wanted);
    if (!result.ok() && wanted) {
        const QString key = name + QLatin1Char('\n') + KeyCombinations::toText(*wanted);
        if (!m_announced.contains(key)) {
            m_announced.insert(key);
            Q_EMIT shortcutUnavailable(name, *wanted, result.message);
        }
    }
    return result;
}

ShortcutResult GlobalShortcuts::applyChoice(
    const QString& name, const std::optional<std::optional<KeyCombination>>& choice)
{
    Entry& e = entry(name);
    const std::optional<KeyCombination> before = shortcut(name);
    const std::optional<KeyCombination> wanted = choice ? *choice : e.defaultCombination;

    if (e.enabled && !(e.token != 0 && e.grabbed == wanted)) {
        const HotkeyBackend::Token oldToken = e.token;
        // The new grab is tried while the old one is still held, so a refusal leaves
        // the user's working shortcut untouched.
        if (wanted) {
            Entry probe;
            ShortcutResult result = grab(name, probe, wanted);
            if (!result.ok()) {
                qCWarning(lcShortcuts).noquote()
                    << "Keeping" << describe(before) << "for" << name << "-" << result.message;
                return result;
            }
            e.token = probe.token;
            e.grabbed = probe.grabbed;
        } else {
            e.token = 0;
            e.grabbed.reset();
        }
        if (oldToken != 0 && oldToken != e.token)
            m_backend.release(oldToken);
        e.unavailableReason.clear();
    }

    storeChoice(name, choice);
    if (before != shortcut(name))
        Q_EMIT shortcutChanged(name);
    return {};
}

ShortcutResult GlobalShortcuts::grab(const QString& name, Entry& e, std::optional<KeyCombination> combination)
{
    e.unavailableReason.clear();
    if (!combination)
        return {};

    for (const auto& [otherName, other] : m_entries) {
        if (otherName != name && other.token != 0 && other.grabbed == combination) {
            ShortcutResult result;
            result.code = ShortcutResult::Code::UsedByAnotherShortcut;
            result.conflictingName = otherName;
            result.message = QStringLiteral("%1 is already the shortcut for %2")
                                 .arg(KeyCombinations::toText(*combination), otherName);
            e.unavailableReason = result.message;
            qCWarning(lcShortcuts).noquote()
                << "Cannot use" << KeyCombinations::toText(*combination) << "for" << name << "-" << result.message;
            return result;
        }
    }

    const HotkeyBackend::GrabResult grabbed = m_backend.grab(*combination);
    if (!grabbed.ok()) {
        ShortcutResult result;
        result.code
            = grabbed.heldElsewhere ? ShortcutResult::Code::HeldByAnotherProgram : ShortcutResult::Code::NotGrabbable;
        result.message = grabbed.error.isEmpty()
            ? QStringLiteral("%1 cannot be used as a shortcut").arg(KeyCombinations::toText(*combination))
            : grabbed.error;
        e.unavailableReason = result.message;
        qCWarning(lcShortcuts).noquote() << "Cannot use" << KeyCombinations::toText(*combination) << "for" << name
                                         << "-" << result.message;
        return result;
    }
    e.token = grabbed.token;
    e.grabbed = combination;
    qCDebug(lcShortcuts).noquote() << "Shortcut" << name << "is" << KeyCombinations::toText(*combination);
    return {};
}

void GlobalShortcuts::release(Entry& e)
{
    if (e.token != 0)
        m_backend.release(e.token);
    e.token = 0;
    e.grabbed.reset();
}

void GlobalShortcuts::handleActivated(HotkeyBackend::Token token)
{
    for (const auto& [name, e] : m_entries) {
        if (e.token != token || !e.enabled)
            continue;
        qCDebug(lcShortcuts) << "Shortcut pressed:" << name;
        // A handler may add or remove handlers; it sees the list as it was.
        const std::vector<std::function<void()>> handlers = e.handlers;
        for (const auto& handler : handlers)
            handler();
        return;
    }
}
