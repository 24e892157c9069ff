#pragma once

// Time as the polling loops see it, so that tests can run them without sleeping.
class RVClock
{
public:
    virtual ~RVClock() = default;
    // Seconds on a monotonic clock.
    virtual double now() = 0;
    virtual void sleepMicroseconds(unsigned microseconds) = 0;
};
