#pragma once

#include <QtGlobal>

#include <functional>

// What an NSEvent monitor hands its handler, as far as Parqueta reads it.
struct CocoaEvent
{
    // NSEventType: leftMouseUp 2, rightMouseDown 3, leftMouseDragged 6, flagsChanged 12...
    quint32 type = 0;
    // NSEvent.modifierFlags of the event.
    quint64 modifierFlags = 0;
};

// The NSEvent monitor calls, one method per call, with nothing decided here: the
// Objective-C++ implementation forwards them, tests script them. Masks are NSEventMask
// values (1 << type).
class CocoaEventApi
{
public:
    // A monitor's handle; 0 when the system refused to install it.
    using Token = quint64;
    using Handler = std::function<void(const CocoaEvent& event)>;

    virtual ~CocoaEventApi() = default;

    // addGlobalMonitorForEventsMatchingMask:handler:: events sent to other applications.
    virtual Token addGlobalMonitor(quint64 mask, Handler handler) = 0;
    // addLocalMonitorForEventsMatchingMask:handler:: events sent to Parqueta; the
    // implementation hands every event on unchanged, so nothing is ever swallowed.
    virtual Token addLocalMonitor(quint64 mask, Handler handler) = 0;
    // removeMonitor:; an unknown or zero token is ignored.
    virtual void removeMonitor(Token token) = 0;
    // The class property NSEvent.modifierFlags: the modifiers held right now.
    virtual quint64 modifierFlags() = 0;
};
