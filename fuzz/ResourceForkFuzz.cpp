// Resource-fork bytes (an extended attribute anyone can set on a file they own).
#include "RVResourceFork.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray fork(reinterpret_cast<const char*>(data), qsizetype(size));
    RVResourceFromFork(fork, RVFourCC("vers"), 1);
    return 0;
}
