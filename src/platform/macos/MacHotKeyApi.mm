#include "platform/macos/MacHotKeyApi.h"

#include "core/Logging.h"

#include <Carbon/Carbon.h>

namespace {

// Carbon dispatches application-target events from the main event loop, so this runs on
// the main thread.
OSStatus hotKeyPressed(EventHandlerCallRef, EventRef event, void* userData)
{
    EventHotKeyID hotKey {};
    const OSStatus status = GetEventParameter(
        event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof hotKey, nullptr, &hotKey);
    if (status != noErr || hotKey.signature != MacHotKeyApi::kSignature)
        return eventNotHandledErr;
    const auto& pressed = *static_cast<const std::function<void(quint32)>*>(userData);
    if (pressed)
        pressed(hotKey.id);
    return noErr;
}

} // namespace

MacHotKeyApi::MacHotKeyApi()
{
    const EventTypeSpec pressed {kEventClassKeyboard, kEventHotKeyPressed};
    const OSStatus status = InstallApplicationEventHandler(&hotKeyPressed, 1, &pressed, &m_pressed, &m_handler);
    if (status != noErr) {
        m_handler = nullptr;
        qCWarning(lcShortcuts) << "Cannot receive hot-key presses: InstallEventHandler failed with" << int(status);
    }
}

MacHotKeyApi::~MacHotKeyApi()
{
    for (const auto& [id, ref] : m_hotKeys)
        UnregisterEventHotKey(ref);
    if (m_handler)
        RemoveEventHandler(m_handler);
}

int MacHotKeyApi::registerHotKey(quint32 keyCode, quint32 modifiers, quint32 id)
{
    // An id registered again would otherwise leave the earlier key grabbed for good.
    unregisterHotKey(id);
    const EventHotKeyID hotKey {kSignature, id};
    EventHotKeyRef ref = nullptr;
    const OSStatus status = RegisterEventHotKey(keyCode, modifiers, hotKey, GetApplicationEventTarget(), 0, &ref);
    if (status == noErr && ref)
        m_hotKeys[id] = ref;
    return int(status);
}

void MacHotKeyApi::unregisterHotKey(quint32 id)
{
    const auto found = m_hotKeys.find(id);
    if (found == m_hotKeys.end())
        return;
    UnregisterEventHotKey(found->second);
    m_hotKeys.erase(found);
}

void MacHotKeyApi::setPressedHandler(std::function<void(quint32 id)> pressed)
{
    m_pressed = std::move(pressed);
}
