#pragma once

#include "RVWindowSystem.h"

// EWMH through xcb on the shared display connection. Any thread may call, and a missing
// display simply gives the neutral answer.
class RVX11WindowSystem : public RVWindowSystem
{
public:
    std::optional<pid_t> activeWindowProcess() override;
    bool activateProcess(pid_t pid, bool frontWindowOnly) override;
    bool setProcessHidden(pid_t pid, bool hidden) override;
    CloseResult closeProcessWindows(pid_t pid) override;
    bool isOptionKeyDown() override;
};
