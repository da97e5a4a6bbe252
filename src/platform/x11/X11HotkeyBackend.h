#pragma once

#include "platform/HotkeyBackend.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11KeyMapping.h"

#include <map>
#include <vector>

// Hot keys as passive key grabs on the root window. Every combination is grabbed four
// times, with and without CapsLock and NumLock, or users with either lock on would
// never get it; a press is matched after masking the lock bits off again.
class X11HotkeyBackend final : public HotkeyBackend, private X11EventHandler
{
    Q_OBJECT

public:
    explicit X11HotkeyBackend(X11Connection& connection, QObject* parent = nullptr);
    ~X11HotkeyBackend() override;

    GrabResult grab(KeyCombination combination) override;
    void release(Token token) override;
    // Ctrl+Alt+Super: Ctrl+Alt+arrows and Ctrl+Super+arrows belong to the stock
    // workspace bindings of the window managers and desktops.
    Qt::KeyboardModifiers primaryModifiers() const override;

private:
    struct Grab
    {
        KeyCombination combination;
        std::vector<xcb_keycode_t> keycodes;
        uint16_t modifiers = 0;
    };

    bool handleX11Event(xcb_generic_event_t* event) override;
    std::vector<uint16_t> lockVariants(uint16_t modifiers) const;
    void ungrab(const Grab& grab);

    X11Connection& m_connection;
    X11KeyMapping m_keys;
    std::map<Token, Grab> m_grabs;
    Token m_nextToken = 1;
};
