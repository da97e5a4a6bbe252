// A normal top-level window for the X11 tests: no size increments, no minimum size, so
// a window manager applies requested sizes exactly (terminals round to character cells).
//   plain_window --title TEXT --class NAME --geometry WxH+X+Y
// WM_CLASS is "NAME\0NAME\0". Exits when closed (WM_DELETE_WINDOW) or killed.
#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

} // namespace

int main(int argc, char** argv)
{
    std::string title = "plain window";
    std::string wmClass = "ParquetaPlain";
    int width = 400;
    int height = 300;
    int x = 100;
    int y = 100;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--title") {
            title = argv[i + 1];
        } else if (option == "--class") {
            wmClass = argv[i + 1];
        } else if (option == "--geometry") {
            if (std::sscanf(argv[i + 1], "%dx%d%d%d", &width, &height, &x, &y) != 4) {
                std::fprintf(stderr, "plain_window: bad geometry %s (want WxH+X+Y)\n", argv[i + 1]);
                return 2;
            }
        } else {
            std::fprintf(stderr, "plain_window: unknown option %s\n", option.c_str());
            return 2;
        }
    }

    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "plain_window: cannot connect to the X server\n");
        return 1;
    }
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    const uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, static_cast<int16_t>(x),
        static_cast<int16_t>(y), static_cast<uint16_t>(width), static_cast<uint16_t>(height), 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);

    xcb_icccm_set_wm_name(connection, window, XCB_ATOM_STRING, 8, static_cast<uint32_t>(title.size()), title.c_str());
    const xcb_atom_t utf8 = internAtom(connection, "UTF8_STRING");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, internAtom(connection, "_NET_WM_NAME"), utf8, 8,
        static_cast<uint32_t>(title.size()), title.c_str());
    std::string classValue = wmClass + '\0' + wmClass + '\0';
    xcb_icccm_set_wm_class(connection, window, static_cast<uint32_t>(classValue.size()), classValue.c_str());

    xcb_size_hints_t hints {};
    xcb_icccm_size_hints_set_position(&hints, 1, x, y);
    xcb_icccm_size_hints_set_size(&hints, 1, width, height);
    xcb_icccm_size_hints_set_min_size(&hints, 1, 1);
    xcb_icccm_set_wm_normal_hints(connection, window, &hints);

    const xcb_atom_t protocols = internAtom(connection, "WM_PROTOCOLS");
    xcb_atom_t deleteWindow = internAtom(connection, "WM_DELETE_WINDOW");
    xcb_icccm_set_wm_protocols(connection, window, protocols, 1, &deleteWindow);
    const int32_t pid = static_cast<int32_t>(getpid());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, internAtom(connection, "_NET_WM_PID"),
        XCB_ATOM_CARDINAL, 32, 1, &pid);

    xcb_map_window(connection, window);
    xcb_flush(connection);
    std::printf("0x%x\n", window);
    std::fflush(stdout);

    while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_CLIENT_MESSAGE) {
            auto* message = reinterpret_cast<xcb_client_message_event_t*>(event);
            if (message->type == protocols && message->data.data32[0] == deleteWindow) {
                std::free(event);
                break;
            }
        }
        std::free(event);
    }
    xcb_disconnect(connection);
    return 0;
}
