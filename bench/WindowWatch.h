#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QProcess>
#include <QString>

#include <chrono>
#include <csignal>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

// Times from a program's start to its window on screen, seen through the window manager's
// client list, polled every millisecond.
class WindowWatch
{
public:
    WindowWatch() : m_connection(xcb_connect(nullptr, nullptr))
    {
        m_ready = !xcb_connection_has_error(m_connection) &&
                  xcb_ewmh_init_atoms_replies(&m_ewmh, xcb_ewmh_init_atoms(m_connection, &m_ewmh), nullptr);
    }
    ~WindowWatch()
    {
        if (m_ready)
            xcb_ewmh_connection_wipe(&m_ewmh);
        xcb_disconnect(m_connection);
    }
    explicit operator bool() const { return m_ready; }

    bool windowListed(const QByteArray& title)
    {
        xcb_ewmh_get_windows_reply_t list;
        if (!xcb_ewmh_get_client_list_reply(&m_ewmh, xcb_ewmh_get_client_list(&m_ewmh, 0), &list, nullptr))
            return false;
        bool found = false;
        for (uint32_t i = 0; i < list.windows_len && !found; ++i) {
            xcb_ewmh_get_utf8_strings_reply_t name;
            if (xcb_ewmh_get_wm_name_reply(&m_ewmh, xcb_ewmh_get_wm_name(&m_ewmh, list.windows[i]), &name, nullptr)) {
                found = QByteArray(name.strings, int(name.strings_len)) == title;
                xcb_ewmh_get_utf8_strings_reply_wipe(&name);
            }
        }
        xcb_ewmh_get_windows_reply_wipe(&list);
        return found;
    }

    // Starts program (in a process group of its own) and waits until the window manager
    // lists a window with title; milliseconds. The group is then ended with SIGTERM, so
    // that a launcher cleans up after itself, and the window is waited out.
    double timeToWindow(const QString& program, const QString& title)
    {
        QElapsedTimer timer;
        timer.start();
        QProcess process;
        process.setChildProcessModifier([] { ::setpgid(0, 0); });
        process.start(program, {});
        while (!windowListed(title.toUtf8()) && timer.elapsed() < 30000)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const double elapsed = double(timer.nsecsElapsed()) / 1e6;
        if (process.processId() > 0)
            ::kill(-pid_t(process.processId()), SIGTERM);
        if (!process.waitForFinished(10000))
            process.kill();
        while (windowListed(title.toUtf8()) && timer.elapsed() < 60000)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return elapsed;
    }

private:
    xcb_connection_t* m_connection;
    xcb_ewmh_connection_t m_ewmh{};
    bool m_ready = false;
};
