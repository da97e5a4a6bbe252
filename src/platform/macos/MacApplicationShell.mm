#include "platform/macos/MacApplicationShell.h"

#include "core/Logging.h"
#include "platform/macos/AppleEvents.h"

#import <AppKit/AppKit.h>

#include <optional>
#include <utility>
#include <vector>

// NSAppleEventManager calls a selector on an object; this one hands the call to a block.
@interface ParquetaReopenHandler : NSObject
@property (nonatomic, copy) void (^reopened)(void);
- (void)handleReopen:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation ParquetaReopenHandler
- (void)handleReopen:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply
{
    (void)event;
    (void)reply;
    if (self.reopened)
        self.reopened();
}
@end

struct MacApplicationShell::Native
{
    ParquetaReopenHandler* reopenHandler = nil;
    bool reopenHandlerInstalled = false;
    // Kept after its one call until the destructor, so that it does not go away while its
    // own block runs.
    id launchObserver = nil;
    // What the launch said, once it completed while this object watched.
    std::optional<bool> launchedAsLoginItem;
    std::vector<std::function<void(bool)>> waiting;

    void installReopenHandler()
    {
        if (reopenHandlerInstalled)
            return;
        [[NSAppleEventManager sharedAppleEventManager] setEventHandler:reopenHandler
                                                           andSelector:@selector(handleReopen:withReplyEvent:)
                                                         forEventClass:AppleEvents::kCoreEventClass
                                                            andEventID:AppleEvents::kReopenApplication];
        reopenHandlerInstalled = true;
    }
};

namespace {

bool finishedLaunching()
{
    return NSRunningApplication.currentApplication.finishedLaunching;
}

// The verdict on the Apple event being handled. While AppKit posts
// NSApplicationDidFinishLaunchingNotification that is the open-application event that
// launched Parqueta.
bool currentEventIsLoginItemLaunch()
{
    NSAppleEventDescriptor* event = [[NSAppleEventManager sharedAppleEventManager] currentAppleEvent];
    NSAppleEventDescriptor* propertyData = [event paramDescriptorForKeyword:AppleEvents::kPropertyData];
    return AppleEvents::isLoginItemLaunch(event ? quint32(event.eventID) : 0,
        propertyData ? std::optional<quint32>(propertyData.enumCodeValue) : std::nullopt);
}

} // namespace

MacApplicationShell::MacApplicationShell(QObject* parent)
    : ApplicationShell(parent)
    , m_native(std::make_unique<Native>())
{
    @autoreleasepool {
        m_native->reopenHandler = [[ParquetaReopenHandler alloc] init];
        m_native->reopenHandler.reopened = ^{ Q_EMIT reopenRequested(); };
        if (finishedLaunching()) {
            m_native->installReopenHandler();
            return;
        }
        Native* native = m_native.get();
        // AppKit installs its own handlers for the core Apple events before it finishes
        // launching, so ours, installed after, replaces its reopen handler rather than
        // being replaced by it; no reopen event comes before the launch is complete.
        native->launchObserver = [NSNotificationCenter.defaultCenter
            addObserverForName:NSApplicationDidFinishLaunchingNotification
                        object:nil
                         queue:nil
                    usingBlock:^(NSNotification* notification) {
                        (void)notification;
                        [NSNotificationCenter.defaultCenter removeObserver:native->launchObserver];
                        native->installReopenHandler();
                        const bool atLogin = currentEventIsLoginItemLaunch();
                        native->launchedAsLoginItem = atLogin;
                        for (const auto& then : std::exchange(native->waiting, {}))
                            then(atLogin);
                    }];
    }
}

MacApplicationShell::~MacApplicationShell()
{
    @autoreleasepool {
        if (m_native->launchObserver)
            [NSNotificationCenter.defaultCenter removeObserver:m_native->launchObserver];
        if (m_native->reopenHandlerInstalled)
            [[NSAppleEventManager sharedAppleEventManager]
                removeEventHandlerForEventClass:AppleEvents::kCoreEventClass
                                     andEventID:AppleEvents::kReopenApplication];
        m_native->reopenHandler.reopened = nil;
    }
}

void MacApplicationShell::whenLaunched(std::function<void(bool launchedAsLoginItem)> then)
{
    if (m_native->launchedAsLoginItem) {
        then(*m_native->launchedAsLoginItem);
        return;
    }
    @autoreleasepool {
        if (finishedLaunching()) {
            then(currentEventIsLoginItemLaunch());
            return;
        }
    }
    m_native->waiting.push_back(std::move(then));
}

void MacApplicationShell::setRegularApplication(bool regular)
{
    const NSApplicationActivationPolicy policy
        = regular ? NSApplicationActivationPolicyRegular : NSApplicationActivationPolicyAccessory;
    if (NSApp.activationPolicy == policy)
        return;
    if (![NSApp setActivationPolicy:policy])
        qCWarning(lcApp) << "AppKit refused to" << (regular ? "show Parqueta in the Dock" : "hide its Dock icon");
}

QUrl MacApplicationShell::windowControlPermissionPage() const
{
    return QUrl(QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
}
