#include "RVLog.h"

#include <QDateTime>

#include <errno.h>
#include <mutex>
#include <unistd.h>

namespace {

std::mutex g_mutex; // guards the name and the sink, not the write itself
QString g_processName;
RVLogging::Sink g_sink;

QString processName()
{
    if (g_processName.isEmpty())
        g_processName = QString::fromLocal8Bit(program_invocation_short_name);
    return g_processName;
}

void writeAll(const QByteArray& bytes)
{
    const char* p = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(STDERR_FILENO, p, static_cast<size_t>(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        p += written;
        left -= written;
    }
}

} // namespace

void RVLogLine(const QString& text)
{
    RVLogging::Sink sink;
    QString name;
    {
        std::lock_guard lock(g_mutex);
        sink = g_sink;
        name = processName();
    }
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    const QString line = RVFormat(QStringLiteral("%@ %@[%d:%d] %@"),
                                  {stamp, name, ::getpid(), ::gettid(), text});
    if (sink) {
        sink(line);
        return;
    }
    writeAll((line + u'\n').toUtf8());
}

void RVLogging::setProcessName(const QString& name)
{
    std::lock_guard lock(g_mutex);
    g_processName = name;
}

void RVLogging::setSink(Sink sink)
{
    std::lock_guard lock(g_mutex);
    g_sink = std::move(sink);
}
