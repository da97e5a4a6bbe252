#include "platform/macos/SmAppServiceLoginItem.h"

#include "core/Logging.h"

#import <ServiceManagement/ServiceManagement.h>

bool SmAppServiceLoginItem::setEnabled(bool enabled, QString& error)
{
    @autoreleasepool {
        SMAppService* service = SMAppService.mainAppService;
        const SMAppServiceStatus status = service.status;
        // Registered but waiting for the user's approval is as far as Parqueta can take it.
        const bool registered = status == SMAppServiceStatusEnabled || status == SMAppServiceStatusRequiresApproval;
        if (enabled == registered || (!enabled && status == SMAppServiceStatusNotFound))
            return true;
        NSError* failure = nil;
        const BOOL done
            = enabled ? [service registerAndReturnError:&failure] : [service unregisterAndReturnError:&failure];
        if (!done) {
            error = failure ? QString::fromNSString(failure.localizedDescription)
                            : QStringLiteral("the login-item service gave no reason");
            return false;
        }
        if (enabled && service.status == SMAppServiceStatusRequiresApproval)
            qCInfo(lcApp) << "Parqueta is registered as a login item; it starts at login once allowed in System "
                             "Settings > General > Login Items";
        return true;
    }
}

bool SmAppServiceLoginItem::isEnabled() const
{
    @autoreleasepool {
        return SMAppService.mainAppService.status == SMAppServiceStatusEnabled;
    }
}
