// /proc/PID/stat lines (the command name is chosen by the process) and 'vers' records.
#include "RVProcTable.h"
#include "RVProcess.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), qsizetype(size));
    RVProcTable::parseStat(text);
    versionFromVersRecord(text);
    return 0;
}
