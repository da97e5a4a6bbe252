#include "XTestInput.h"

#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <cstdlib>

XTestInput::XTestInput()
{
    m_connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(m_connection))
        return;
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    xcb_test_get_version_reply_t* version
        = xcb_test_get_version_reply(m_connection, xcb_test_get_version(m_connection, 2, 2), nullptr);
    m_valid = version != nullptr;
    std::free(version);
    m_symbols = xcb_key_symbols_alloc(m_connection);
}

XTestInput::~XTestInput()
{
    if (m_symbols)
        xcb_key_symbols_free(m_symbols);
    xcb_disconnect(m_connection);
}

void XTestInput::fake(uint8_t type, uint8_t detail, int16_t x, int16_t y, xcb_window_t root)
{
    if (!m_valid)
        return;
    xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, root, x, y, 0);
    // A round trip, so the event has been processed when the caller goes on.
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

void XTestInput::moveTo(int x, int y)
{
    fake(XCB_MOTION_NOTIFY, 0, static_cast<int16_t>(x), static_cast<int16_t>(y), m_root);
}

void XTestInput::moveBy(int dx, int dy)
{
    fake(XCB_MOTION_NOTIFY, 1, static_cast<int16_t>(dx), static_cast<int16_t>(dy));
}

void XTestInput::press(int button)
{
    fake(XCB_BUTTON_PRESS, static_cast<uint8_t>(button));
}

void XTestInput::release(int button)
{
    fake(XCB_BUTTON_RELEASE, static_cast<uint8_t>(button));
}

void XTestInput::click(int button)
{
    press(button);
    release(button);
}

uint8_t XTestInput::keycode(uint32_t keysym) const
{
    if (!m_symbols)
        return 0;
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(m_symbols, keysym);
    const uint8_t code = codes ? codes[0] : 0;
    std::free(codes);
    return code == XCB_NO_SYMBOL ? 0 : code;
}

bool XTestInput::keyDown(uint32_t keysym)
{
    const uint8_t code = keycode(keysym);
    if (code == 0)
        return false;
    fake(XCB_KEY_PRESS, code);
    return true;
}

bool XTestInput::keyUp(uint32_t keysym)
{
    const uint8_t code = keycode(keysym);
    if (code == 0)
        return false;
    fake(XCB_KEY_RELEASE, code);
    return true;
}

bool XTestInput::tap(uint32_t keysym)
{
    return keyDown(keysym) && keyUp(keysym);
}

bool XTestInput::tapWith(uint32_t modifier, uint32_t keysym)
{
    const bool held = keyDown(modifier);
    const bool tapped = tap(keysym);
    return keyUp(modifier) && held && tapped;
}
