/*
 * A tiny application for tests, placed as Contents/MacOS/<exe> of a generated bundle.
 *   --ignore-term      ignore SIGTERM
 *   --trap-term        catch SIGTERM, print "term" and go on running
 *   --zombie-child     fork a child (the same program, so also an application of the
 *                      bundle) that exits at once; never reap it; print its pid
 *   --window TITLE     open an X11 window that closes (and ends the program) on
 *                      WM_DELETE_WINDOW, with _NET_WM_PID set
 *   --busy MS          spend MS milliseconds of processor time first
 * Prints "ready" on standard output once set up, then waits to be ended.
 */
#define _GNU_SOURCE
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <time.h>
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

static int run_window(const char* title)
{
    int screen_number = 0;
    xcb_connection_t* c = xcb_connect(NULL, &screen_number);
    if (xcb_connection_has_error(c)) {
        fprintf(stderr, "rvtestapp: no display\n");
        return 2;
    }
    const xcb_setup_t* setup = xcb_get_setup(c);
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(setup);
    for (int i = 0; i < screen_number; ++i)
        xcb_screen_next(&it);
    xcb_screen_t* screen = it.data;

    xcb_window_t window = xcb_generate_id(c);
    uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 10, 10, 200, 120, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        (uint32_t)strlen(title), title);
    const uint32_t pid = (uint32_t)getpid();
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, intern(c, "_NET_WM_PID"),
                        XCB_ATOM_CARDINAL, 32, 1, &pid);
    xcb_atom_t protocols = intern(c, "WM_PROTOCOLS");
    xcb_atom_t delete_window = intern(c, "WM_DELETE_WINDOW");
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, protocols, XCB_ATOM_ATOM, 32, 1,
                        &delete_window);
    xcb_map_window(c, window);
    xcb_flush(c);
    printf("ready %u\n", (unsigned)window);
    fflush(stdout);

    xcb_generic_event_t* event;
    while ((event = xcb_wait_for_event(c))) {
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
            xcb_client_message_event_t* message = (xcb_client_message_event_t*)event;
            if (message->type == protocols && message->data.data32[0] == delete_window) {
                printf("closed\n");
                fflush(stdout);
                free(event);
                xcb_disconnect(c);
                return 0;
            }
        }
        free(event);
    }
    return 3;
}

static void on_term(int number)
{
    (void)number;
    (void)!write(1, "term\n", 5);
}

static void spend_cpu(long ms)
{
    const clock_t start = clock(); /* processor time of this process */
    volatile unsigned long sink = 0;
    while ((long)((clock() - start) * 1000 / CLOCKS_PER_SEC) < ms) {
        for (int i = 0; i < 100000; ++i)
            sink += (unsigned long)i;
    }
}

int main(int argc, char** argv)
{
    const char* title = NULL;
    int zombie = 0;
    for (int i = 1; i < argc; ++i) {
        if (!strcmp(argv[i], "--ignore-term"))
            signal(SIGTERM, SIG_IGN);
        else if (!strcmp(argv[i], "--trap-term"))
            signal(SIGTERM, on_term);
        else if (!strcmp(argv[i], "--zombie-child"))
            zombie = 1;
        else if (!strcmp(argv[i], "--window") && i + 1 < argc)
            title = argv[++i];
        else if (!strcmp(argv[i], "--busy") && i + 1 < argc)
            spend_cpu(atol(argv[++i]));
    }
    if (zombie) {
        pid_t child = fork();
        if (child == 0)
            _exit(0);
        printf("child %d\n", (int)child);
    }
    if (title)
        return run_window(title);
    printf("ready\n");
    fflush(stdout);
    for (;;)
        pause();
}
