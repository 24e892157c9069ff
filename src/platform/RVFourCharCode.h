#pragma once

#include <QString>

#include <cstdint>

using RVOSType = std::uint32_t;

// Text to code: exactly four ASCII characters, the first in the most significant byte;
// anything else does not convert and gives 0.
RVOSType RVOSTypeFromString(const QString& text);

// Code to text: its four bytes as characters, most significant first.
QString RVStringFromOSType(RVOSType code);

constexpr RVOSType RVFourCC(const char (&s)[5])
{
    return (RVOSType(std::uint8_t(s[0])) << 24) | (RVOSType(std::uint8_t(s[1])) << 16) |
           (RVOSType(std::uint8_t(s[2])) << 8) | RVOSType(std::uint8_t(s[3]));
}
