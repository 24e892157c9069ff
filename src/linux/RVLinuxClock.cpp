#include "RVLinuxClock.h"

#include <chrono>
#include <thread>

double RVLinuxClock::now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void RVLinuxClock::sleepMicroseconds(unsigned microseconds)
{
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}
