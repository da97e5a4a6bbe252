#pragma once

#include <xcb/xcb.h>

#include <cstdint>

struct _XCBKeySymbols;

// The keysyms the tests press (X11/keysymdef.h values), for XTestInput::keyDown() and friends.
namespace Keysym {
constexpr uint32_t ShiftL = 0xffe1;
constexpr uint32_t ControlL = 0xffe3;
constexpr uint32_t CapsLock = 0xffe5;
constexpr uint32_t AltL = 0xffe9;
constexpr uint32_t SuperL = 0xffeb;
constexpr uint32_t NumLock = 0xff7f;
constexpr uint32_t Left = 0xff51;
constexpr uint32_t Up = 0xff52;
constexpr uint32_t Right = 0xff53;
constexpr uint32_t Down = 0xff54;
constexpr uint32_t Escape = 0xff1b;
constexpr uint32_t Return = 0xff0d;
constexpr uint32_t Digit2 = 0x32;
} // namespace Keysym

// Synthetic input through the XTest extension, on a connection of its own. Unlike a
// pointer warp (xdotool mousemove, XWarpPointer), XTest motion goes through the input
// pipeline, so XInput 2 raw listeners see RawMotion, and window managers see a real
// drag. Every call is flushed and round-tripped: when it returns, the server has
// processed the event.
class XTestInput final
{
public:
    // Connects to $DISPLAY (the virtual desktop). isValid() is false without XTest.
    XTestInput();
    ~XTestInput();
    XTestInput(const XTestInput&) = delete;
    XTestInput& operator=(const XTestInput&) = delete;

    bool isValid() const { return m_valid; }

    void moveTo(int x, int y); // absolute, root coordinates
    void moveBy(int dx, int dy); // relative
    void press(int button); // 1 left, 2 middle, 3 right
    void release(int button);
    void click(int button);
    // Keys by keysym (X11/keysymdef.h values, e.g. 0xffe1 Shift_L, 0xff51 Left).
    // Returns false when no keycode produces the keysym.
    bool keyDown(uint32_t keysym);
    bool keyUp(uint32_t keysym);
    bool tap(uint32_t keysym);
    // keysym tapped while modifier is held (Alt+D, Ctrl+1).
    bool tapWith(uint32_t modifier, uint32_t keysym);

private:
    void fake(uint8_t type, uint8_t detail, int16_t x = 0, int16_t y = 0, xcb_window_t root = XCB_WINDOW_NONE);
    uint8_t keycode(uint32_t keysym) const;

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    _XCBKeySymbols* m_symbols = nullptr;
    bool m_valid = false;
};
