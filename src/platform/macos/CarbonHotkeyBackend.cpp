#include "platform/macos/CarbonHotkeyBackend.h"

#include "platform/macos/CarbonKeys.h"

#include <algorithm>

namespace {

constexpr int kNoErr = 0;
constexpr int kEventHotKeyExistsErr = -9878;

} // namespace

CarbonHotkeyBackend::CarbonHotkeyBackend(CarbonHotKeyApi& api, QObject* parent)
    : HotkeyBackend(parent)
    , m_api(api)
{
    m_api.setPressedHandler([this](quint32 id) {
        // An id not (or no longer) ours: a press that was queued before its release.
        const auto it = std::find_if(
            m_registered.begin(), m_registered.end(), [id](const auto& entry) { return entry.second == id; });
        if (it != m_registered.end())
            Q_EMIT activated(it->first);
    });
}

CarbonHotkeyBackend::~CarbonHotkeyBackend()
{
    m_api.setPressedHandler({});
    for (const auto& [token, id] : m_registered)
        m_api.unregisterHotKey(id);
}

HotkeyBackend::GrabResult CarbonHotkeyBackend::grab(KeyCombination combination)
{
    GrabResult result;
    const QString text = KeyCombinations::toDisplayText(combination);
    const std::optional<CarbonKeys::HotKey> hotKey = CarbonKeys::toHotKey(combination);
    if (!hotKey) {
        result.error = QStringLiteral("no key of a Mac keyboard produces %1").arg(text);
        return result;
    }
    // Ids are never handed out twice, so a press of a released hot key that is still on
    // its way cannot be taken for a later one.
    const quint32 id = m_nextId++;
    const int status = m_api.registerHotKey(hotKey->keyCode, hotKey->modifiers, id);
    if (status == kNoErr) {
        result.token = id;
        m_registered.emplace(result.token, id);
        return result;
    }
    result.heldElsewhere = status == kEventHotKeyExistsErr;
    result.error = result.heldElsewhere ? QStringLiteral("%1 is held by another program").arg(text)
                                        : QStringLiteral("%1 could not be registered (error %2)").arg(text).arg(status);
    return result;
}

void CarbonHotkeyBackend::release(Token token)
{
    const auto it = m_registered.find(token);
    if (it == m_registered.end())
        return;
    m_api.unregisterHotKey(it->second);
    m_registered.erase(it);
}

// Qt's Meta and Alt: Control and Option on a Mac (see CarbonKeys), which the system's own
// shortcuts mostly leave alone, where Command belongs to the applications.
Qt::KeyboardModifiers CarbonHotkeyBackend::primaryModifiers() const
{
    return Qt::MetaModifier | Qt::AltModifier;
}
