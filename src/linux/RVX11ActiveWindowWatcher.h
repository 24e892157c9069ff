#pragma once

#include <QObject>

#include <cstdint>
#include <optional>
#include <sys/types.h>

class QSocketNotifier;
struct xcb_connection_t;

// Follows the window manager's active window on a connection of its own, read on the
// thread that owns the watcher through its event loop: which process owns it and whether it
// is full screen.
class RVX11ActiveWindowWatcher : public QObject
{
    Q_OBJECT
public:
    explicit RVX11ActiveWindowWatcher(QObject* parent = nullptr);
    ~RVX11ActiveWindowWatcher() override;

    // False without a display.
    bool start();
    // Opens the connection that the next watcher takes, on a thread of its own: making it
    // costs a handshake and round trips the window's appearance need not wait for.
    static void prepareConnectionInBackground();

signals:
    // The active window now belongs to another process (empty: to none known).
    void frontProcessChanged(std::optional<pid_t> pid);
    void fullScreenChanged(bool fullScreen);

private:
    void readEvents();
    void handleEvents(bool readSocket);
    void handleChanges(bool activeChanged, bool stateChanged);
    void followActiveWindow();
    bool activeWindowIsFullScreen();

    xcb_connection_t* m_connection = nullptr;
    QSocketNotifier* m_notifier = nullptr;
    std::uint32_t m_root = 0;
    std::uint32_t m_activeWindow = 0;
    std::uint32_t m_activeAtom = 0;
    std::uint32_t m_stateAtom = 0;
    std::uint32_t m_fullScreenAtom = 0;
    std::uint32_t m_pidAtom = 0;
    std::optional<pid_t> m_frontPid;
    bool m_fullScreen = false;
};
