#include "FakeHotkeyBackend.h"

bool FakeHotkeyBackend::press(KeyCombination combination)
{
    // Like an X server, the last grab of a combination by the same client wins.
    for (auto it = m_grabs.rbegin(); it != m_grabs.rend(); ++it) {
        if (it->second == combination) {
            Q_EMIT activated(it->first);
            return true;
        }
    }
    return false;
}

bool FakeHotkeyBackend::isGrabbed(KeyCombination combination) const
{
    return grabbed().contains(combination);
}

QList<KeyCombination> FakeHotkeyBackend::grabbed() const
{
    QList<KeyCombination> result;
    for (const auto& [token, combination] : m_grabs)
        result.append(combination);
    return result;
}

HotkeyBackend::GrabResult FakeHotkeyBackend::grab(KeyCombination combination)
{
    GrabResult result;
    if (m_heldElsewhere.contains(combination)) {
        result.heldElsewhere = true;
        result.error = QStringLiteral("%1 is held by another program").arg(KeyCombinations::toText(combination));
        return result;
    }
    result.token = m_nextToken++;
    m_grabs.emplace(result.token, combination);
    return result;
}
