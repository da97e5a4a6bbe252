#include "platform/macos/MacPlatform.h"

#include "core/Logging.h"
#include "platform/macos/AccessibilityWindowControl.h"
#include "platform/macos/CFRef.h"
#include "platform/macos/CarbonHotkeyBackend.h"
#include "platform/macos/CocoaDisplays.h"
#include "platform/macos/CocoaEventInput.h"
#include "platform/macos/MacAccessibilityApi.h"
#include "platform/macos/MacApplicationShell.h"
#include "platform/macos/MacDesktopEffects.h"
#include "platform/macos/MacEventApi.h"
#include "platform/macos/MacHotKeyApi.h"
#include "platform/macos/MacScreenApi.h"
#include "platform/macos/SmAppServiceLoginItem.h"
#include "platform/macos/SparkleUpdater.h"
#include "platform/WindowEvents.h"

#include <ApplicationServices/ApplicationServices.h>

#include <QCoreApplication>
#include <QSysInfo>

MacPlatform::MacPlatform()
    : m_screenApi(std::make_unique<MacScreenApi>())
    , m_displays(std::make_unique<CocoaDisplays>(*m_screenApi))
    , m_accessibilityApi(std::make_unique<MacAccessibilityApi>())
    , m_windows(std::make_unique<AccessibilityWindowControl>(*m_accessibilityApi))
    , m_eventApi(std::make_unique<MacEventApi>())
    , m_input(std::make_unique<CocoaEventInput>(*m_eventApi, *m_screenApi))
    , m_windowEvents(std::make_unique<WindowEvents>())
    , m_hotKeyApi(std::make_unique<MacHotKeyApi>())
    , m_hotkeys(std::make_unique<CarbonHotkeyBackend>(*m_hotKeyApi))
    , m_desktopEffects(std::make_unique<MacDesktopEffects>())
    , m_loginItems(std::make_unique<SmAppServiceLoginItem>())
    , m_shell(std::make_unique<MacApplicationShell>())
{
    m_screenApi->setReconfiguredHandler(
        [displays = m_displays.get()](quint32 flags) { displays->reconfigured(flags); });
    if (SparkleUpdater::hasFeed())
        m_updater = std::make_unique<SparkleUpdater>();
    else
        qCInfo(lcUpdates) << "Info.plist names no update feed (SUFeedURL): Sparkle stays off";
}

MacPlatform::~MacPlatform()
{
    // The displays go before the screen calls that report to them.
    m_screenApi->setReconfiguredHandler({});
}

DisplayServer& MacPlatform::displays()
{
    return *m_displays;
}

WindowControl& MacPlatform::windows()
{
    return *m_windows;
}

GlobalInput& MacPlatform::input()
{
    return *m_input;
}

WindowEvents& MacPlatform::windowEvents()
{
    return *m_windowEvents;
}

HotkeyBackend& MacPlatform::hotkeys()
{
    return *m_hotkeys;
}

DesktopEffects& MacPlatform::desktopEffects()
{
    return *m_desktopEffects;
}

LoginItemService& MacPlatform::loginItems()
{
    return *m_loginItems;
}

ApplicationShell& MacPlatform::shell()
{
    return *m_shell;
}

NativeUpdater* MacPlatform::nativeUpdater()
{
    return m_updater.get();
}

QString MacPlatform::reopenPlace() const
{
    return QCoreApplication::translate("MacPlatform", "Applications");
}

bool MacPlatform::hasWindowControlPermission() const
{
    // CoreFoundation and HIServices only, nothing of AppKit: this runs off the main thread.
    const void* keys[] = {kAXTrustedCheckOptionPrompt};
    const void* values[] = {kCFBooleanFalse};
    const auto options = CFRef<CFDictionaryRef>::adopt(CFDictionaryCreate(
        kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    return AXIsProcessTrustedWithOptions(options.get());
}

DesktopFacts MacPlatform::desktopFacts()
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("MacPlatform", text); };
    DesktopFacts facts;
    facts.append({tr("macOS"), QStringLiteral("%1 (Darwin %2)").arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion())});
    facts.append({tr("Accessibility"),
        hasWindowControlPermission() ? tr("granted: other applications' windows can be moved")
                                     : tr("not granted: other applications' windows cannot be moved")});
    facts.append({tr("Displays"), QString::number(m_displays->displays().size())});
    // The Dock's own preference, absent until the user first changes it (shown, then).
    const auto autohide
        = CFRef<CFPropertyListRef>::adopt(CFPreferencesCopyAppValue(CFSTR("autohide"), CFSTR("com.apple.dock")));
    if (!autohide || CFGetTypeID(autohide.get()) == CFBooleanGetTypeID())
        facts.append({tr("Dock"),
            autohide && CFBooleanGetValue(static_cast<CFBooleanRef>(autohide.get())) ? tr("hides automatically")
                                                                                     : tr("always shown")});
    return facts;
}

void MacPlatform::setConnectionLostHandler(std::function<void()> handler)
{
    m_connectionLost = std::move(handler);
}

std::unique_ptr<Platform> createPlatform()
{
    return std::make_unique<MacPlatform>();
}

bool windowingSystemAvailable(QString& reason)
{
    // Null outside a graphical login session, for instance over ssh.
    const auto session = CFRef<CFDictionaryRef>::adopt(CGSessionCopyCurrentDictionary());
    if (session)
        return true;
    reason = QStringLiteral("No graphical login session: Parqueta runs in the desktop session of a logged-in user, "
                            "not over ssh or from a background service.");
    return false;
}
