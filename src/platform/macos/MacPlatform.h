#pragma once

#include "platform/Platform.h"

#include <memory>

class MacScreenApi;
class CocoaDisplays;
class MacAccessibilityApi;
class AccessibilityWindowControl;
class MacEventApi;
class CocoaEventInput;
class MacHotKeyApi;
class CarbonHotkeyBackend;
class MacDesktopEffects;
class SmAppServiceLoginItem;
class MacApplicationShell;
class SparkleUpdater;
class WindowEvents;

// The macOS backend: the portable services over the system calls they need. Each service
// is created after its calls and destroyed before them (members go in reverse order), so
// a service may undo its grabs and monitors through them when it goes.
class MacPlatform final : public Platform
{
public:
    MacPlatform();
    ~MacPlatform() override;

    DisplayServer& displays() override;
    WindowControl& windows() override;
    GlobalInput& input() override;
    // Never reports for now: watching windows appear needs an AXObserver per running
    // application (and following applications as they launch), left for later. Windows
    // are still restored at launch and when a display comes back.
    WindowEvents& windowEvents() override;
    HotkeyBackend& hotkeys() override;
    DesktopEffects& desktopEffects() override;
    LoginItemService& loginItems() override;
    ApplicationShell& shell() override;
    // Sparkle, when Info.plist names a feed; otherwise null and no update checks.
    NativeUpdater* nativeUpdater() override;
    QString reopenPlace() const override;
    // The accessibility grant, asked without the system's prompt.
    bool hasWindowControlPermission() const override;
    DesktopFacts desktopFacts() override;
    // Kept, never called: the window server does not go away under a running application.
    void setConnectionLostHandler(std::function<void()> handler) override;

private:
    std::unique_ptr<MacScreenApi> m_screenApi;
    std::unique_ptr<CocoaDisplays> m_displays;
    std::unique_ptr<MacAccessibilityApi> m_accessibilityApi;
    std::unique_ptr<AccessibilityWindowControl> m_windows;
    std::unique_ptr<MacEventApi> m_eventApi;
    std::unique_ptr<CocoaEventInput> m_input;
    std::unique_ptr<WindowEvents> m_windowEvents;
    std::unique_ptr<MacHotKeyApi> m_hotKeyApi;
    std::unique_ptr<CarbonHotkeyBackend> m_hotkeys;
    std::unique_ptr<MacDesktopEffects> m_desktopEffects;
    std::unique_ptr<SmAppServiceLoginItem> m_loginItems;
    std::unique_ptr<MacApplicationShell> m_shell;
    std::unique_ptr<SparkleUpdater> m_updater;
    std::function<void()> m_connectionLost;
};
