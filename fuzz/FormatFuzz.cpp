// The formatter with any format against a fixed set of arguments.
#include "RVFormat.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString format =
        QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    RVFormat(format, {QStringLiteral("text"), 42, 2.5, QString(), QStringList{QStringLiteral("a")}});
    return 0;
}
