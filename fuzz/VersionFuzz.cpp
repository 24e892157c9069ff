// Version ordering: total, antisymmetric, and never crashing on any two strings.
#include "RVUtilities.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype cut = bytes.indexOf('\n');
    const QString a = QString::fromUtf8(cut < 0 ? bytes : bytes.left(cut));
    const QString b = QString::fromUtf8(cut < 0 ? QByteArray() : bytes.mid(cut + 1));
    const int ab = RVUtilities::compareVersionWithVersion(a, b);
    const int ba = RVUtilities::compareVersionWithVersion(b, a);
    if (ab != -ba || ab < -1 || ab > 1 || RVUtilities::compareVersionWithVersion(a, a) != 0)
        std::abort();
    RVUtilities::plainVersionOf(a);
    return 0;
}
