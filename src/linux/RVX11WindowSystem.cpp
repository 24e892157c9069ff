#include "RVX11WindowSystem.h"

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// Requests marked as coming from a pager (source 2) are obeyed by window managers without
// focus-stealing prevention getting in the way.
constexpr xcb_ewmh_client_source_type_t kSource = XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER;

class Connection
{
public:
    Connection()
    {
        if (!std::getenv("DISPLAY"))
            return;
        int screen = 0;
        m_connection = xcb_connect(nullptr, &screen);
        if (xcb_connection_has_error(m_connection))
            return;
        m_screen = screen;
        if (!xcb_ewmh_init_atoms_replies(&m_ewmh, xcb_ewmh_init_atoms(m_connection, &m_ewmh),
                                         nullptr))
            return;
        m_ready = true;
    }
    ~Connection()
    {
        if (m_ready)
            xcb_ewmh_connection_wipe(&m_ewmh);
        if (m_connection)
            xcb_disconnect(m_connection);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool ready() const { return m_ready; }
    xcb_ewmh_connection_t* ewmh() { return &m_ewmh; }
    xcb_connection_t* xcb() { return m_connection; }
    int screen() const { return m_screen; }
    xcb_window_t root() const { return m_ewmh.screens[m_screen]->root; }

    std::optional<pid_t> pidOf(xcb_window_t window)
    {
        uint32_t pid = 0;
        if (!xcb_ewmh_get_wm_pid_reply(&m_ewmh, xcb_ewmh_get_wm_pid(&m_ewmh, window), &pid, nullptr))
            return std::nullopt;
        return pid_t(pid);
    }

    // The process's managed windows, bottom to top.
    std::vector<xcb_window_t> windowsOf(pid_t pid)
    {
        std::vector<xcb_window_t> result;
        xcb_ewmh_get_windows_reply_t list;
        if (!xcb_ewmh_get_client_list_stacking_reply(
                &m_ewmh, xcb_ewmh_get_client_list_stacking(&m_ewmh, m_screen), &list, nullptr))
            return result;
        for (uint32_t i = 0; i < list.windows_len; ++i) {
            if (pidOf(list.windows[i]) == pid)
                result.push_back(list.windows[i]);
        }
        xcb_ewmh_get_windows_reply_wipe(&list);
        return result;
    }

    xcb_atom_t atom(const char* name)
    {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, uint16_t(strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        free(reply);
        return atom;
    }

    // The server's current time: window managers weigh activation requests by their
    // timestamp and may ignore one without. An empty property change on a window of our
    // own is answered with a PropertyNotify that carries the time.
    xcb_timestamp_t serverTime()
    {
        const xcb_window_t probe = xcb_generate_id(m_connection);
        const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, probe, root(), -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
        xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, probe, XCB_ATOM_WM_NAME,
                            XCB_ATOM_STRING, 8, 0, nullptr);
        xcb_flush(m_connection);
        xcb_timestamp_t time = XCB_CURRENT_TIME;
        while (xcb_generic_event_t* event = xcb_wait_for_event(m_connection)) {
            const bool found = (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY;
            if (found)
                time = reinterpret_cast<xcb_property_notify_event_t*>(event)->time;
            free(event);
            if (found)
                break;
        }
        xcb_destroy_window(m_connection, probe);
        return time;
    }

    // Sends what is queued and waits until the server has handled it, so that the requests
    // are not lost with a connection that closes right after.
    bool flush()
    {
        free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        return !xcb_connection_has_error(m_connection);
    }

private:
    xcb_connection_t* m_connection = nullptr;
    xcb_ewmh_connection_t m_ewmh{};
    int m_screen = 0;
    bool m_ready = false;
};

} // namespace

std::optional<pid_t> RVX11WindowSystem::activeWindowProcess()
{
    Connection c;
    if (!c.ready())
        return std::nullopt;
    xcb_window_t active = XCB_WINDOW_NONE;
    if (!xcb_ewmh_get_active_window_reply(c.ewmh(), xcb_ewmh_get_active_window(c.ewmh(), c.screen()),
                                          &active, nullptr) ||
        active == XCB_WINDOW_NONE)
        return std::nullopt;
    return c.pidOf(active);
}

bool RVX11WindowSystem::activateProcess(pid_t pid, bool frontWindowOnly)
{
    Connection c;
    if (!c.ready())
        return false;
    std::vector<xcb_window_t> windows = c.windowsOf(pid);
    if (windows.empty())
        return false;
    if (frontWindowOnly)
        windows.erase(windows.begin(), windows.end() - 1);
    const xcb_timestamp_t time = c.serverTime();
    // Bottom to top, so that the process's topmost window ends up active.
    for (xcb_window_t window : windows)
        xcb_ewmh_request_change_active_window(c.ewmh(), c.screen(), window, kSource, time,
                                              XCB_WINDOW_NONE);
    return c.flush();
}

bool RVX11WindowSystem::setProcessHidden(pid_t pid, bool hidden)
{
    Connection c;
    if (!c.ready())
        return false;
    const std::vector<xcb_window_t> windows = c.windowsOf(pid);
    if (windows.empty())
        return false;
    for (xcb_window_t window : windows) {
        if (hidden) {
            // ICCCM iconify request: WM_CHANGE_STATE with IconicState to the root window.
            xcb_client_message_event_t event{};
            event.response_type = XCB_CLIENT_MESSAGE;
            event.format = 32;
            event.window = window;
            event.type = c.atom("WM_CHANGE_STATE");
            event.data.data32[0] = XCB_ICCCM_WM_STATE_ICONIC;
            xcb_send_event(c.xcb(), 0, c.root(),
                           XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                           reinterpret_cast<const char*>(&event));
        } else {
            xcb_ewmh_request_change_active_window(c.ewmh(), c.screen(), window, kSource,
                                                  c.serverTime(), XCB_WINDOW_NONE);
        }
    }
    return c.flush();
}

RVWindowSystem::CloseResult RVX11WindowSystem::closeProcessWindows(pid_t pid)
{
    Connection c;
    if (!c.ready())
        return CloseResult::NoDisplay;
    const std::vector<xcb_window_t> windows = c.windowsOf(pid);
    if (windows.empty())
        return CloseResult::NoWindow;
    const xcb_timestamp_t time = c.serverTime();
    for (xcb_window_t window : windows)
        xcb_ewmh_request_close_window(c.ewmh(), c.screen(), window, time, kSource);
    return c.flush() ? CloseResult::Sent : CloseResult::SendFailed;
}

bool RVX11WindowSystem::isOptionKeyDown()
{
    Connection c;
    if (!c.ready())
        return false;
    xcb_query_pointer_reply_t* reply =
        xcb_query_pointer_reply(c.xcb(), xcb_query_pointer(c.xcb(), c.root()), nullptr);
    const bool down = reply && (reply->mask & XCB_MOD_MASK_1);
    free(reply);
    return down;
}
