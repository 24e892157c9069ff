// Read-me documents: format detection and the RTF reader.
#include "RVRichText.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    RVRichText::detect(bytes);
    RVRichText::rtfToHtml(bytes);
    return 0;
}
