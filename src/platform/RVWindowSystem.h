#pragma once

#include <optional>
#include <sys/types.h>

// The window system as far as applications are steered through it. Without a display every
// call answers a neutral value.
class RVWindowSystem
{
public:
    virtual ~RVWindowSystem() = default;

    // The pid owning the active window.
    virtual std::optional<pid_t> activeWindowProcess() = 0;
    // Raises and activates the process's windows (only its topmost one when frontWindowOnly).
    virtual bool activateProcess(pid_t pid, bool frontWindowOnly) = 0;
    virtual bool setProcessHidden(pid_t pid, bool hidden) = 0;

    enum class CloseResult { Sent, NoDisplay, NoWindow, SendFailed };
    // Asks every top-level window of the process to close.
    virtual CloseResult closeProcessWindows(pid_t pid) = 0;
    // Whether the Alt (Option) key is held right now.
    virtual bool isOptionKeyDown() = 0;
};
