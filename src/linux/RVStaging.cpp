#include "RVStaging.h"

#include "RVProcTable.h"
#include "RVTreeCopy.h"

#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace RVStaging {

namespace {

const QByteArray kMarker = ".velmora-";

std::optional<unsigned long long> startTicksOf(pid_t pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const auto stat = RVProcTable::parseStat(file.read(4096));
    if (!stat || stat->state == 'Z' || stat->state == 'X')
        return std::nullopt;
    return stat->startTicks;
}

// Cuts UTF-8 text to at most size bytes without splitting a character.
QByteArray cutToBytes(const QByteArray& text, qsizetype size)
{
    if (text.size() <= size)
        return text;
    qsizetype end = size;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.left(end);
}

} // namespace

QByteArray stagingName(const QByteArray& targetName)
{
    static const QByteArray suffix =
        kMarker + QByteArray::number(::getpid()) + '-' + QByteArray::number(startTicksOf(::getpid()).value_or(0));
    return '.' + cutToBytes(targetName, NAME_MAX - 1 - suffix.size()) + suffix;
}

void removeAbandoned(int folder)
{
    static const QRegularExpression pattern(QStringLiteral("^\\..*\\.velmora-(\\d+)-(\\d+)$"),
                                            QRegularExpression::DotMatchesEverythingOption);
    for (const std::string& name : RVNamesIn(folder).value_or(std::vector<std::string>())) {
        const auto match = pattern.match(QString::fromLatin1(name));
        if (!match.hasMatch())
            continue;
        const auto start = startTicksOf(pid_t(match.captured(1).toInt()));
        if (!start || *start != match.captured(2).toULongLong())
            RVRemoveTree(folder, name.c_str());
    }
}

bool renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to)
{
    if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return false;
    // No RENAME_NOREPLACE here (some network and FUSE file systems). Anything but a folder
    // gets a second name, which link(2) never puts over an existing item, and loses the old.
    struct stat info {};
    if (::fstatat(fromFolder, from, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if (!S_ISDIR(info.st_mode)) {
        if (::linkat(fromFolder, from, toFolder, to, 0) != 0)
            return false;
        ::unlinkat(fromFolder, from, 0);
        return true;
    }
    // rename(2) refuses to put a folder over a file or a non-empty folder, so at worst an
    // empty folder made in this instant is replaced.
    if (::fstatat(toFolder, to, &info, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::renameat(fromFolder, from, toFolder, to) == 0;
}

FolderLock::FolderLock(RVFd folder) : m_folder(std::move(folder))
{
    if (!m_folder.valid())
        return;
    int status;
    do {
        status = ::flock(m_folder.get(), LOCK_EX);
    } while (status != 0 && errno == EINTR);
    m_locked = status == 0;
}

} // namespace RVStaging
