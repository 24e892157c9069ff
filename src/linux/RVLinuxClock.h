#pragma once

#include "RVClock.h"

class RVLinuxClock : public RVClock
{
public:
    double now() override;
    void sleepMicroseconds(unsigned microseconds) override;
};
