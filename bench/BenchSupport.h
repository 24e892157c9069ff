#pragma once

#include <algorithm>
#include <vector>

// The middle value of a set of timings.
inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
