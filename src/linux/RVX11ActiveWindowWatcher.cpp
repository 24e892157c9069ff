#include "RVX11ActiveWindowWatcher.h"

#include "RVX11Connection.h"

#include <QSocketNotifier>

#include <xcb/xcb.h>

#include <cstdlib>
#include <future>
#include <mutex>
#include <cstring>
#include <vector>

namespace {

// The 32-bit values of a window property; empty when it is missing.
std::vector<std::uint32_t> cardinals(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property)
{
    std::vector<std::uint32_t> values;
    xcb_get_property_reply_t* reply = xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 64), nullptr);
    if (reply && reply->format == 32) {
        const auto* data = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
        values.assign(data, data + xcb_get_property_value_length(reply) / 4);
    }
    free(reply);
    return values;
}

struct Prepared
{
    xcb_connection_t* connection = nullptr;
    int screen = 0;
    std::uint32_t active = 0, state = 0, fullScreen = 0, pid = 0;
};

std::mutex g_preparedMutex;
std::future<Prepared> g_prepared; // the connection the next watcher takes

Prepared connectToDisplay()
{
    Prepared prepared;
    prepared.connection = xcb_connect(nullptr, &prepared.screen);
    if (xcb_connection_has_error(prepared.connection)) {
        xcb_disconnect(prepared.connection);
        prepared.connection = nullptr;
        return prepared;
    }
    prepared.active = RVX11Connection::internAtom(prepared.connection, "_NET_ACTIVE_WINDOW");
    prepared.state = RVX11Connection::internAtom(prepared.connection, "_NET_WM_STATE");
    prepared.fullScreen = RVX11Connection::internAtom(prepared.connection, "_NET_WM_STATE_FULLSCREEN");
    prepared.pid = RVX11Connection::internAtom(prepared.connection, "_NET_WM_PID");
    return prepared;
}

void watchProperties(xcb_connection_t* connection, xcb_window_t window, bool watch)
{
    const std::uint32_t mask = watch ? XCB_EVENT_MASK_PROPERTY_CHANGE : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &mask);
}

} // namespace

RVX11ActiveWindowWatcher::RVX11ActiveWindowWatcher(QObject* parent) : QObject(parent) {}

RVX11ActiveWindowWatcher::~RVX11ActiveWindowWatcher()
{
    if (m_connection)
        xcb_disconnect(m_connection);
}

void RVX11ActiveWindowWatcher::prepareConnectionInBackground()
{
    if (!std::getenv("DISPLAY"))
        return;
    const std::lock_guard lock(g_preparedMutex);
    if (!g_prepared.valid())
        g_prepared = std::async(std::launch::async, connectToDisplay);
}

bool RVX11ActiveWindowWatcher::start()
{
    if (m_connection)
        return true;
    if (!std::getenv("DISPLAY"))
        return false;
    Prepared prepared;
    {
        const std::lock_guard lock(g_preparedMutex);
        prepared = g_prepared.valid() ? g_prepared.get() : connectToDisplay();
    }
    if (!prepared.connection)
        return false;
    xcb_connection_t* connection = prepared.connection;
    const int screenNumber = prepared.screen;
    m_connection = connection;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    m_root = screens.data->root;
    m_activeAtom = prepared.active;
    m_stateAtom = prepared.state;
    m_fullScreenAtom = prepared.fullScreen;
    m_pidAtom = prepared.pid;
    watchProperties(connection, m_root, true);
    followActiveWindow();
    m_frontPid.reset();
    const auto pids = cardinals(connection, m_activeWindow, m_pidAtom);
    if (m_activeWindow && !pids.empty())
        m_frontPid = pid_t(pids.front());
    m_fullScreen = activeWindowIsFullScreen();
    xcb_flush(connection);
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &RVX11ActiveWindowWatcher::readEvents);
    handleEvents(false); // what the round trips above have queued already
    return true;
}

// Moves the property watch to the window that is active now.
void RVX11ActiveWindowWatcher::followActiveWindow()
{
    const auto active = cardinals(m_connection, m_root, m_activeAtom);
    const xcb_window_t window = active.empty() ? xcb_window_t(XCB_WINDOW_NONE) : active.front();
    if (window == m_activeWindow)
        return;
    if (m_activeWindow)
        watchProperties(m_connection, m_activeWindow, false);
    m_activeWindow = window;
    if (window)
        watchProperties(m_connection, window, true);
}

bool RVX11ActiveWindowWatcher::activeWindowIsFullScreen()
{
    if (!m_activeWindow)
        return false;
    for (const std::uint32_t state : cardinals(m_connection, m_activeWindow, m_stateAtom))
        if (state == m_fullScreenAtom)
            return true;
    return false;
}

void RVX11ActiveWindowWatcher::readEvents()
{
    handleEvents(true);
}

// The round trips made while handling events read the socket and leave what else came
// in xcb's queue, where the socket notifier cannot see it: handle until the queue is empty.
void RVX11ActiveWindowWatcher::handleEvents(bool readSocket)
{
    for (;;) {
        bool any = false;
        bool activeChanged = false;
        bool stateChanged = false;
        while (xcb_generic_event_t* event =
                   readSocket ? xcb_poll_for_event(m_connection) : xcb_poll_for_queued_event(m_connection)) {
            any = true;
            if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
                const auto* notify = reinterpret_cast<xcb_property_notify_event_t*>(event);
                activeChanged |= notify->window == m_root && notify->atom == m_activeAtom;
                stateChanged |= notify->window == m_activeWindow && notify->atom == m_stateAtom;
            }
            free(event);
        }
        readSocket = false;
        if (xcb_connection_has_error(m_connection)) {
            if (m_notifier)
                m_notifier->setEnabled(false); // the display went away; nothing more will come
            return;
        }
        if (!any)
            break;
        handleChanges(activeChanged, stateChanged);
    }
    xcb_flush(m_connection);
}

void RVX11ActiveWindowWatcher::handleChanges(bool activeChanged, bool stateChanged)
{
    if (activeChanged) {
        followActiveWindow();
        std::optional<pid_t> pid;
        const auto pids = m_activeWindow ? cardinals(m_connection, m_activeWindow, m_pidAtom)
                                         : std::vector<std::uint32_t>{};
        if (!pids.empty())
            pid = pid_t(pids.front());
        if (pid != m_frontPid) {
            m_frontPid = pid;
            emit frontProcessChanged(pid);
        }
    }
    if (activeChanged || stateChanged) {
        const bool fullScreen = activeWindowIsFullScreen();
        if (fullScreen != m_fullScreen) {
            m_fullScreen = fullScreen;
            emit fullScreenChanged(fullScreen);
        }
    }
}
