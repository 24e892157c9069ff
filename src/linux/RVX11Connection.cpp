#include "RVX11Connection.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct SharedState
{
    std::mutex mutex;
    std::shared_ptr<RVX11Connection> connection;
};

// Never destroyed: a helper thread may still be opening the connection while the process
// exits.
SharedState& shared()
{
    static auto* state = new SharedState;
    return *state;
}

} // namespace

RVX11Connection::RVX11Connection(const char* display) : m_display(display)
{
    int screen = 0;
    m_connection = xcb_connect(display, &screen);
    if (xcb_connection_has_error(m_connection))
        return;
    m_screen = screen;
    m_ready = xcb_ewmh_init_atoms_replies(&m_ewmh, xcb_ewmh_init_atoms(m_connection, &m_ewmh), nullptr);
}

RVX11Connection::~RVX11Connection()
{
    if (m_ready)
        xcb_ewmh_connection_wipe(&m_ewmh);
    if (m_connection)
        xcb_disconnect(m_connection);
}

bool RVX11Connection::usable() const
{
    const char* display = std::getenv("DISPLAY");
    return m_ready && !xcb_connection_has_error(m_connection) && display && m_display == display;
}

RVX11Connection::Lease RVX11Connection::acquire()
{
    SharedState& state = shared();
    Lease lease;
    {
        const std::lock_guard<std::mutex> guard(state.mutex);
        if (!state.connection || !state.connection->usable()) {
            const char* display = std::getenv("DISPLAY");
            state.connection.reset();
            if (!display)
                return lease;
            std::shared_ptr<RVX11Connection> fresh(new RVX11Connection(display));
            if (!fresh->usable())
                return lease;
            state.connection = std::move(fresh);
        }
        lease.m_connection = state.connection;
    }
    lease.m_lock = std::unique_lock<std::mutex>(lease.m_connection->m_useMutex);
    return lease;
}

std::optional<pid_t> RVX11Connection::pidOf(xcb_window_t window)
{
    uint32_t pid = 0;
    if (!xcb_ewmh_get_wm_pid_reply(&m_ewmh, xcb_ewmh_get_wm_pid(&m_ewmh, window), &pid, nullptr))
        return std::nullopt;
    return pid_t(pid);
}

std::vector<xcb_window_t> RVX11Connection::windowsOf(pid_t pid)
{
    std::vector<xcb_window_t> result;
    xcb_ewmh_get_windows_reply_t list;
    if (!xcb_ewmh_get_client_list_stacking_reply(
            &m_ewmh, xcb_ewmh_get_client_list_stacking(&m_ewmh, m_screen), &list, nullptr))
        return result;
    // All questions first, then the answers: one round trip instead of one per window.
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(list.windows_len);
    for (uint32_t i = 0; i < list.windows_len; ++i)
        cookies.push_back(xcb_ewmh_get_wm_pid(&m_ewmh, list.windows[i]));
    for (uint32_t i = 0; i < list.windows_len; ++i) {
        uint32_t owner = 0;
        if (xcb_ewmh_get_wm_pid_reply(&m_ewmh, cookies[i], &owner, nullptr) && pid_t(owner) == pid)
            result.push_back(list.windows[i]);
    }
    xcb_ewmh_get_windows_reply_wipe(&list);
    return result;
}

std::optional<xcb_window_t> RVX11Connection::activeWindow()
{
    xcb_window_t active = XCB_WINDOW_NONE;
    if (!xcb_ewmh_get_active_window_reply(&m_ewmh, xcb_ewmh_get_active_window(&m_ewmh, m_screen), &active,
                                          nullptr) ||
        active == XCB_WINDOW_NONE)
        return std::nullopt;
    return active;
}

xcb_atom_t RVX11Connection::internAtom(xcb_connection_t* connection, const char* name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    free(reply);
    return atom;
}

// An empty property change on a window of our own is answered with a PropertyNotify that
// carries the time. The connection selects no other events, so the first such event is ours.
xcb_timestamp_t RVX11Connection::serverTime()
{
    const xcb_window_t probe = xcb_generate_id(m_connection);
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, probe, root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, probe, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    xcb_flush(m_connection);
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    while (xcb_generic_event_t* event = xcb_wait_for_event(m_connection)) {
        const bool found = (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
                           reinterpret_cast<xcb_property_notify_event_t*>(event)->window == probe;
        if (found)
            time = reinterpret_cast<xcb_property_notify_event_t*>(event)->time;
        free(event);
        if (found)
            break;
    }
    xcb_destroy_window(m_connection, probe);
    return time;
}

bool RVX11Connection::flush()
{
    free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return !xcb_connection_has_error(m_connection);
}
