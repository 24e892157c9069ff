#include "RVFileRead.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

RVFileRead::Result failure(const QString& error)
{
    return {std::nullopt, error};
}

RVFileRead::Result read(const QString& path, qint64 limit, bool refuseLarger)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return failure(QString::fromLocal8Bit(std::strerror(errno)));
    struct stat info {};
    RVFileRead::Result result;
    if (::fstat(fd, &info) != 0) {
        result = failure(QString::fromLocal8Bit(std::strerror(errno)));
    } else if (!S_ISREG(info.st_mode)) {
        result = failure(QStringLiteral("not a regular file"));
    } else if (refuseLarger && info.st_size > limit) {
        result = failure(QStringLiteral("larger than %1 bytes").arg(limit));
    } else {
        // The size may change while we read: never more than the limit, one byte over tells.
        QByteArray data(qsizetype(std::min<qint64>(info.st_size, limit) + (refuseLarger ? 1 : 0)), '\0');
        qsizetype filled = 0;
        int error = 0;
        while (filled < data.size()) {
            const ssize_t n = ::read(fd, data.data() + filled, size_t(data.size() - filled));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                error = errno;
            if (n <= 0)
                break;
            filled += n;
        }
        data.truncate(filled);
        if (error != 0)
            result = failure(QString::fromLocal8Bit(std::strerror(error)));
        else if (refuseLarger && filled > limit)
            result = failure(QStringLiteral("larger than %1 bytes").arg(limit));
        else
            result.data = data;
    }
    ::close(fd);
    return result;
}

} // namespace

RVFileRead::Result RVFileRead::regularFile(const QString& path, qint64 maxSize)
{
    return read(path, maxSize, true);
}

RVFileRead::Result RVFileRead::head(const QString& path, qint64 size)
{
    return read(path, size, false);
}
