#pragma once

#include "platform/HotkeyBackend.h"
#include "platform/macos/CarbonHotKeyApi.h"

#include <map>

// System-wide hot keys on macOS through Carbon's RegisterEventHotKey, which needs no
// accessibility grant. Combinations are translated by CarbonKeys; the default shortcuts
// are built on Control + Option.
class CarbonHotkeyBackend final : public HotkeyBackend
{
    Q_OBJECT

public:
    explicit CarbonHotkeyBackend(CarbonHotKeyApi& api, QObject* parent = nullptr);
    ~CarbonHotkeyBackend() override;

    GrabResult grab(KeyCombination combination) override;
    void release(Token token) override;
    Qt::KeyboardModifiers primaryModifiers() const override;

private:
    CarbonHotKeyApi& m_api;
    // Token -> Carbon hot-key id (the same number, kept for the release).
    std::map<Token, quint32> m_registered;
    quint32 m_nextId = 1;
};
