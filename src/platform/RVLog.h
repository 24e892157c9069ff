#pragma once

#include "RVFormat.h"

#include <QString>

#include <functional>

// The diagnostic log: one line per call on standard error,
// "YYYY-MM-DD HH:MM:SS.mmm VelmoraInstaller[pid:tid] text", written with a single write so
// that lines of different threads never interleave. The session may reopen standard error
// on its log file; the log follows because it always writes to descriptor 2.
void RVLogLine(const QString& text);

template <typename... Args>
void RVLog(const QString& format, const Args&... args)
{
    RVLogLine(RVFormat(format, {RVFormatArg(args)...}));
}

namespace RVLogging {
// The program name of every line; the file name of the running executable by default.
void setProcessName(const QString& name);
// Tests capture lines here instead of standard error; pass nullptr to restore.
using Sink = std::function<void(const QString& line)>;
void setSink(Sink sink);
} // namespace RVLogging
