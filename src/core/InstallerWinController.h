#pragma once

#include "RVCoreOnly.h"
#include "RVInstallerArguments.h"

#include <optional>

// The session object: owns one installation from start-up to the final page.
class InstallerWinController
{
public:
    // Fills the installer arguments from the process's argument list, once.
    void extractArguments();

    // Null (empty) before extractArguments.
    const std::optional<RVInstallerArguments>& arguments() const { return m_arguments; }

private:
    std::optional<RVInstallerArguments> m_arguments;
};
