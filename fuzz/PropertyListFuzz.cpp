// XML and binary property lists through libplist and our conversion.
#include "RVPropertyList.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RVPropertyList::fromXmlOrBinary(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    return 0;
}
