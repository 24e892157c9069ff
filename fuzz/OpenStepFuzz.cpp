// The OpenStep/GNUstep text reader.
#include "RVPropertyList.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto result =
        RVPropertyList::fromOpenStep(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!result.value && result.error.isEmpty())
        std::abort(); // every refusal says why
    return 0;
}
