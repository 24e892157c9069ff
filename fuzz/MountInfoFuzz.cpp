// A mount table (/proc/self/mountinfo: mount points are chosen by whoever mounts) and the
// path looked up in it: the first line is the path, the rest the table.
#include "RVLinuxLaunchEnvironment.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype newline = input.indexOf('\n');
    const QString path = QString::fromUtf8(newline < 0 ? input : input.left(newline));
    RVLinuxLaunchEnvironment::mountTypeFor(path, newline < 0 ? QByteArray() : input.mid(newline + 1));
    return 0;
}
