#pragma once

#include "RVFourCharCode.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

// Reads one resource out of the bytes of a classic resource fork (header, data area and
// resource map, all big-endian). Every offset is checked; a malformed fork has no resources.
std::optional<QByteArray> RVResourceFromFork(const QByteArray& fork, RVOSType type, std::int16_t id);
