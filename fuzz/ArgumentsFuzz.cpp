// The argument parser over any argument list: NUL bytes split the input into arguments.
#include "RVInstallerArguments.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QList<QByteArray> parts =
        QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)).split('\0');
    QStringList argv{QStringLiteral("/prog")};
    for (const QByteArray& part : parts)
        argv << QString::fromUtf8(part);
    const RVInstallerArguments args = RVInstallerArguments::fromArgumentList(argv);
    // Every list entry came from a list key; every string from another key.
    for (const QString& key : args.keys()) {
        if (RVInstallerArguments::isListKey(key) != args.hasList(key))
            std::abort();
    }
    return 0;
}
