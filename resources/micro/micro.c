/* Micro: the installer's companion. It shows a tiny window, asks the window manager to
 * make it active, and quits by itself a moment later. The installer opens it to take the
 * front for an instant and then gives the front back. */
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <xcb/xcb.h>

static xcb_atom_t intern(xcb_connection_t* c, const char* name)
{
    xcb_intern_atom_reply_t* reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, (uint16_t)strlen(name), name), NULL);
    xcb_atom_t atom = reply ? reply->atom : XCB_ATOM_NONE;
    free(reply);
    return atom;
}

int main(void)
{
    int screen_number = 0;
    xcb_connection_t* c = xcb_connect(NULL, &screen_number);
    if (xcb_connection_has_error(c))
        return 1;
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screen_number && it.rem; ++i)
        xcb_screen_next(&it);
    xcb_screen_t* screen = it.data;

    xcb_window_t window = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, NULL);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 5, "Micro");
    const uint32_t pid = (uint32_t)getpid();
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, intern(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
    xcb_map_window(c, window);

    /* Ask to be active (source: application), as a program the user just opened does. */
    xcb_client_message_event_t message;
    memset(&message, 0, sizeof message);
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = intern(c, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 1;
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(c, 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   (const char*)&message);
    xcb_flush(c);

    sleep(1);
    xcb_disconnect(c);
    return 0;
}
