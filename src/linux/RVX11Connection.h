#pragma once

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// The process's one connection to the display named by $DISPLAY, with the EWMH atoms
// interned. Opening a connection costs a handshake and an atom round trip, so it is opened
// once, on first use, and again only after the server went away or $DISPLAY changed.
class RVX11Connection
{
public:
    // Exclusive use of the connection for one operation: serverTime() reads events, and two
    // threads reading at once would take each other's.
    class Lease
    {
    public:
        explicit operator bool() const { return m_connection != nullptr; }
        RVX11Connection* operator->() const { return m_connection.get(); }

    private:
        friend class RVX11Connection;
        std::shared_ptr<RVX11Connection> m_connection;
        std::unique_lock<std::mutex> m_lock;
    };

    // Empty without a display or when the connection cannot be made.
    static Lease acquire();

    ~RVX11Connection();
    RVX11Connection(const RVX11Connection&) = delete;
    RVX11Connection& operator=(const RVX11Connection&) = delete;

    xcb_connection_t* xcb() const { return m_connection; }
    xcb_ewmh_connection_t* ewmh() { return &m_ewmh; }
    int screen() const { return m_screen; }
    xcb_window_t root() const { return m_ewmh.screens[m_screen]->root; }

    std::optional<pid_t> pidOf(xcb_window_t window);
    // The process's managed windows, bottom to top.
    std::vector<xcb_window_t> windowsOf(pid_t pid);
    std::optional<xcb_window_t> activeWindow();
    xcb_atom_t atom(const char* name) { return internAtom(m_connection, name); }
    // The atom of name on any connection; XCB_ATOM_NONE when the server does not answer.
    static xcb_atom_t internAtom(xcb_connection_t* connection, const char* name);
    // The server's current time: window managers weigh activation requests by their
    // timestamp and may ignore one without.
    xcb_timestamp_t serverTime();
    // Sends what is queued and waits until the server has handled it, so that a caller who
    // asks the window manager next sees the effect of the requests.
    bool flush();

private:
    explicit RVX11Connection(const char* display);
    bool usable() const;

    xcb_connection_t* m_connection = nullptr;
    xcb_ewmh_connection_t m_ewmh{};
    int m_screen = 0;
    bool m_ready = false;
    std::string m_display;
    std::mutex m_useMutex;
};
