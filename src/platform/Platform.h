#pragma once

#include "platform/WindowFacts.h"

#include <QString>

#include <functional>
#include <memory>

class QObject;
class DisplayServer;
class WindowControl;
class GlobalInput;
class WindowEvents;
class HotkeyBackend;
class DesktopEffects;
class LoginItemService;
class ApplicationShell;
class NativeUpdater;

// Everything the engine needs from the operating system, owned by one object.
// The backend is chosen at link time: exactly one of src/platform/x11 or
// src/platform/macos provides createPlatform(). Tests build their own fakes
// (tests/support) and never link a backend.
class Platform
{
public:
    virtual ~Platform() = default;

    virtual DisplayServer& displays() = 0;
    // Other applications' windows: finding, reading, moving, raising.
    virtual WindowControl& windows() = 0;
    // Buttons, pointer motion and modifiers anywhere on the desktop.
    virtual GlobalInput& input() = 0;
    // New top-level windows of other applications as they appear.
    virtual WindowEvents& windowEvents() = 0;
    // System-wide hot keys.
    virtual HotkeyBackend& hotkeys() = 0;
    // What Parqueta's own overlay windows can rely on (translucency).
    virtual DesktopEffects& desktopEffects() = 0;
    // Starting Parqueta at login.
    virtual LoginItemService& loginItems() = 0;
    // Launch, Dock presence and reopen requests.
    virtual ApplicationShell& shell() = 0;
    // The system's own update framework; null where Parqueta reads its update feed itself.
    virtual NativeUpdater* nativeUpdater() { return nullptr; }
    // Where the user finds Parqueta to open it again when its icon is hidden, to complete
    // "Open Parqueta from … to access these settings".
    virtual QString reopenPlace() const = 0;
    // Whether the operating system lets Parqueta control other applications' windows,
    // checked without prompting the user. X11 needs no grant; macOS asks for the
    // accessibility permission. Safe to call from any thread: the permission is polled
    // off the main thread while the user has not granted it.
    virtual bool hasWindowControlPermission() const = 0;
    // The window manager, compositor, tray host and the like, read now.
    virtual DesktopFacts desktopFacts() = 0;
    // Called once if the windowing system goes away (the X server exits); nothing of
    // the platform works afterwards, so the application should quit.
    virtual void setConnectionLostHandler(std::function<void()> handler) = 0;
};

// Defined by the backend linked into the executable. Returns nullptr (after logging
// why) when the windowing system cannot be reached.
std::unique_ptr<Platform> createPlatform();

// Whether the windowing system answers, asked before the GUI toolkit starts (Qt ends the
// process when it finds no display). When it does not, reason says what is missing in
// words for the user.
bool windowingSystemAvailable(QString& reason);
