#include "platform/macos/MacDesktopEffects.h"

#include "core/Logging.h"

#import <AppKit/AppKit.h>

#include <QWindow>

namespace {

// Transient: the overlay floats over whichever Space is showing rather than belonging to
// one. FullScreenNone: it never becomes a full-screen window of its own.
constexpr NSWindowCollectionBehavior kOverlayBehavior
    = NSWindowCollectionBehaviorTransient | NSWindowCollectionBehaviorFullScreenNone;
static_assert(kOverlayBehavior == 520);

} // namespace

void MacDesktopEffects::placeExactly(QWindow& window, const QRect&) const
{
    @autoreleasepool {
        // On macOS a QWindow's winId() is its NSView, created on the first call if need be.
        NSView* view = (__bridge NSView*)reinterpret_cast<void*>(window.winId());
        NSWindow* native = view.window;
        if (!native) {
            qCWarning(lcOverlay) << "The overlay" << window.objectName() << "has no native window to lift";
            return;
        }
        native.level = CGShieldingWindowLevel();
        native.collectionBehavior = kOverlayBehavior;
    }
}
