#include "RVX11WindowSystem.h"

#include "RVX11Connection.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QThread>

#include <xcb/xcb_icccm.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <vector>

namespace {

// Requests marked as coming from a pager (source 2) are obeyed by window managers without
// focus-stealing prevention getting in the way.
constexpr xcb_ewmh_client_source_type_t kSource = XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER;

} // namespace

std::optional<pid_t> RVX11WindowSystem::activeWindowProcess()
{
    const auto c = RVX11Connection::acquire();
    if (!c)
        return std::nullopt;
    const std::optional<xcb_window_t> active = c->activeWindow();
    return active ? c->pidOf(*active) : std::nullopt;
}

bool RVX11WindowSystem::activateProcess(pid_t pid, bool frontWindowOnly)
{
    const auto c = RVX11Connection::acquire();
    if (!c)
        return false;
    std::vector<xcb_window_t> windows = c->windowsOf(pid);
    if (windows.empty())
        return false;
    if (frontWindowOnly)
        windows.erase(windows.begin(), windows.end() - 1);
    const xcb_timestamp_t time = c->serverTime();
    // Bottom to top, so that the process's topmost window ends up active.
    for (xcb_window_t window : windows)
        xcb_ewmh_request_change_active_window(c->ewmh(), c->screen(), window, kSource, time,
                                              XCB_WINDOW_NONE);
    return c->flush();
}

bool RVX11WindowSystem::setProcessHidden(pid_t pid, bool hidden)
{
    const auto c = RVX11Connection::acquire();
    if (!c)
        return false;
    const std::vector<xcb_window_t> windows = c->windowsOf(pid);
    if (windows.empty())
        return false;
    if (hidden) {
        for (xcb_window_t window : windows) {
            // ICCCM iconify request: WM_CHANGE_STATE with IconicState to the root window.
            xcb_client_message_event_t event{};
            event.response_type = XCB_CLIENT_MESSAGE;
            event.format = 32;
            event.window = window;
            event.type = c->atom("WM_CHANGE_STATE");
            event.data.data32[0] = XCB_ICCCM_WM_STATE_ICONIC;
            xcb_send_event(c->xcb(), 0, c->root(),
                           XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                           reinterpret_cast<const char*>(&event));
        }
        return c->flush();
    }
    // ICCCM: mapping an iconic window asks for its normal state. Window managers activate
    // what they de-iconify, so the window that was active is asked back afterwards: the
    // windows are shown, the front stays where it was.
    const std::optional<xcb_window_t> active = c->activeWindow();
    for (xcb_window_t window : windows)
        xcb_map_window(c->xcb(), window);
    if (active && *active != XCB_WINDOW_NONE && c->pidOf(*active) != pid)
        xcb_ewmh_request_change_active_window(c->ewmh(), c->screen(), *active, kSource, c->serverTime(),
                                              XCB_WINDOW_NONE);
    return c->flush();
}

RVWindowSystem::CloseResult RVX11WindowSystem::closeProcessWindows(pid_t pid)
{
    const auto c = RVX11Connection::acquire();
    if (!c)
        return CloseResult::NoDisplay;
    const std::vector<xcb_window_t> windows = c->windowsOf(pid);
    if (windows.empty())
        return CloseResult::NoWindow;
    const xcb_timestamp_t time = c->serverTime();
    for (xcb_window_t window : windows)
        xcb_ewmh_request_close_window(c->ewmh(), c->screen(), window, time, kSource);
    return c->flush() ? CloseResult::Sent : CloseResult::SendFailed;
}

bool RVX11WindowSystem::isOptionKeyDown()
{
    // The keyboard as the application sees it, Wayland too: its modifier state belongs to
    // the main thread, which is asked and given a moment to answer (it may be waiting for
    // this very worker, when the window closes).
    if (QCoreApplication* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        if (QThread::currentThread() == application->thread())
            return QGuiApplication::queryKeyboardModifiers().testFlag(Qt::AltModifier);
        auto answer = std::make_shared<std::promise<bool>>();
        std::future<bool> held = answer->get_future();
        QMetaObject::invokeMethod(application, [answer] {
            answer->set_value(QGuiApplication::queryKeyboardModifiers().testFlag(Qt::AltModifier));
        });
        return held.wait_for(std::chrono::seconds(2)) == std::future_status::ready && held.get();
    }
    const auto c = RVX11Connection::acquire();
    if (!c)
        return false;
    xcb_query_pointer_reply_t* reply =
        xcb_query_pointer_reply(c->xcb(), xcb_query_pointer(c->xcb(), c->root()), nullptr);
    const bool down = reply && (reply->mask & XCB_MOD_MASK_1);
    free(reply);
    return down;
}
