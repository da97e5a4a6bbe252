#pragma once

#include "platform/HotkeyBackend.h"

#include <QList>

#include <map>

// System-wide hot keys of a simulated desktop where other programs may hold some
// combinations and the keyboard may lack some keys.
class FakeHotkeyBackend final : public HotkeyBackend
{
    Q_OBJECT

public:
    using HotkeyBackend::HotkeyBackend;

    // Another program holds combination: grabs of it fail as held elsewhere.
    void holdElsewhere(KeyCombination combination) { m_heldElsewhere.append(combination); }
    void releaseElsewhere(KeyCombination combination) { m_heldElsewhere.removeAll(combination); }
    // The keyboard cannot produce combination.
    void makeUngrabbable(KeyCombination combination) { m_ungrabbable.append(combination); }
    void setPrimaryModifiers(Qt::KeyboardModifiers modifiers) { m_primary = modifiers; }

    // The user presses combination; returns whether anything of ours was grabbed on it.
    bool press(KeyCombination combination);
    bool isGrabbed(KeyCombination combination) const;
    QList<KeyCombination> grabbed() const;
    int grabAttempts() const { return m_attempts; }

    GrabResult grab(KeyCombination combination) override;
    void release(Token token) override { m_grabs.erase(token); }
    Qt::KeyboardModifiers primaryModifiers() const override { return m_primary; }

private:
    QList<KeyCombination> m_heldElsewhere;
    QList<KeyCombination> m_ungrabbable;
    std::map<Token, KeyCombination> m_grabs;
    Token m_nextToken = 1;
    int m_attempts = 0;
    Qt::KeyboardModifiers m_primary = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
};
