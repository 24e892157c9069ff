// The beginning of a sound file (a resource of any bundle, or a file of the user's).
#include "RVWaveHeader.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RVWaveDuration(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    return 0;
}
