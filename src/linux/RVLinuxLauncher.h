#pragma once

#include "RVLauncher.h"

// Starts programs with posix_spawn: no shell, exactly the descriptors asked for.
class RVLinuxLauncher : public RVLauncher
{
public:
    RVLaunchResult launch(const RVLaunchRequest& request) override;
};
