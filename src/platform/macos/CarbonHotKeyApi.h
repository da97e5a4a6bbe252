#pragma once

#include <QtGlobal>

#include <functional>

// The Carbon hot-key calls, one method per call, with nothing decided here: the
// Objective-C++ implementation forwards them (one application event handler for
// kEventHotKeyPressed, installed once), tests script them.
class CarbonHotKeyApi
{
public:
    virtual ~CarbonHotKeyApi() = default;

    // RegisterEventHotKey(keyCode, modifiers, {signature, id}, application target, 0):
    // the OSStatus (noErr 0; eventHotKeyExistsErr -9878 when another program holds it).
    virtual int registerHotKey(quint32 keyCode, quint32 modifiers, quint32 id) = 0;
    // UnregisterEventHotKey of the hot key registered under id; unknown ids are ignored.
    virtual void unregisterHotKey(quint32 id) = 0;
    // Called on the main thread with the id of every hot key pressed.
    virtual void setPressedHandler(std::function<void(quint32 id)> pressed) = 0;
};
