#pragma once

#include "platform/HotkeyBackend.h"

#include <QList>

#include <map>

// System-wide hot keys of a simulated desktop where other programs may hold some combinations.
class FakeHotkeyBackend final : public HotkeyBackend
{
    Q_OBJECT

public:
    using HotkeyBackend::HotkeyBackend;

    // Another program holds combination: grabs of it fail as held elsewhere.
    void holdElsewhere(KeyCombination combination) { m_heldElsewhere.append(combination); }
    void releaseElsewhere(KeyCombination combination) { m_heldElsewhere.removeAll(combination); }

    // The user presses combination; returns whether anything of ours was grabbed on it.
    bool press(KeyCombination combination);
    bool isGrabbed(KeyCombination combination) const;
    QList<KeyCombination> grabbed() const;

    GrabResult grab(KeyCombination combination) override;
    void release(Token token) override { m_grabs.erase(token); }
    Qt::KeyboardModifiers primaryModifiers() const override
    {
        return Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    }

private:
    QList<KeyCombination> m_heldElsewhere;
    std::map<Token, KeyCombination> m_grabs;
    Token m_nextToken = 1;
};
