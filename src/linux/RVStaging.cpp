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
#include <unistd.h>

namespace RVStaging {

const char* const kNew = "new";
const char* const kPrevious = "previous";

namespace {

const QByteArray kMarker = ".velmora-";
const char* const kMark = ".velmora-staging";

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

QByteArray markContents(const QByteArray& targetName)
{
    return QByteArray::number(::geteuid()) + '\n' + targetName;
}

// The target's name that our mark in the staging folder records; null when the folder
// carries no mark of ours (made by somebody else, or by us as another user).
QByteArray markedTargetName(int staging)
{
    struct stat info {};
    const RVFd mark(::openat(staging, kMark, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!mark.valid() || ::fstat(mark.get(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != ::geteuid() ||
        info.st_size > NAME_MAX + 32)
        return {};
    char buffer[NAME_MAX + 32];
    const ssize_t length = ::read(mark.get(), buffer, sizeof buffer);
    const QByteArray text(buffer, length > 0 ? int(length) : 0);
    const qsizetype newline = text.indexOf('\n');
    if (newline <= 0 || text.left(newline) != QByteArray::number(::geteuid()) || newline + 1 >= text.size())
        return {};
    return text.mid(newline + 1);
}

bool exists(int folder, const char* name)
{
    struct stat info {};
    return ::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) == 0;
}

bool noExchangeHere()
{
    return errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
}

} // namespace

QByteArray stagingName(const QByteArray& targetName)
{
    static const QByteArray suffix =
        kMarker + QByteArray::number(::getpid()) + '-' + QByteArray::number(startTicksOf(::getpid()).value_or(0));
    return '.' + cutToBytes(targetName, NAME_MAX - 1 - suffix.size()) + suffix;
}

RVFd makeStagingFolder(int folder, const QByteArray& name, const QByteArray& targetName)
{
    if (::mkdirat(folder, name.constData(), 0700) != 0)
        return RVFd();
    RVFd staging(::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const RVFd mark(staging.valid() ? ::openat(staging.get(), kMark, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600)
                                    : -1);
    const QByteArray contents = markContents(targetName);
    if (!mark.valid() || ::write(mark.get(), contents.constData(), size_t(contents.size())) != contents.size()) {
        staging = RVFd();
        RVRemoveTree(folder, name.constData());
        return RVFd();
    }
    return staging;
}

void removeStagingFolder(int folder, const QByteArray& name)
{
    const RVFd staging(::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!staging.valid() || markedTargetName(staging.get()).isNull())
        return;
    RVRemoveTree(staging.get(), kNew);
    // A previous copy still here is the user's: the mark stays, so the sweep trashes it.
    if (exists(staging.get(), kPrevious))
        return;
    ::unlinkat(staging.get(), kMark, 0);
    ::unlinkat(folder, name.constData(), AT_REMOVEDIR);
}

void removeAbandoned(int folder, const TrashPrevious& trash)
{
    static const QRegularExpression pattern(QStringLiteral("^\\..*\\.velmora-(\\d+)-(\\d+)$"),
                                            QRegularExpression::DotMatchesEverythingOption);
    for (const std::string& name : RVNamesIn(folder).value_or(std::vector<std::string>())) {
        const auto match = pattern.match(QString::fromLatin1(name));
        if (!match.hasMatch())
            continue;
        const auto start = startTicksOf(pid_t(match.captured(1).toInt()));
        if (start && *start == match.captured(2).toULongLong())
            continue; // its installation is still running
        const RVFd staging(::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        struct stat info {};
        if (!staging.valid() || ::fstat(staging.get(), &info) != 0 || info.st_uid != ::geteuid())
            continue;
        const QByteArray targetName = markedTargetName(staging.get());
        if (targetName.isNull()) {
            // Ours from a kill between making the folder and marking it: empty but for a
            // mark not yet written, so nothing is lost; anything else stays.
            struct stat mark {};
            const auto names = RVNamesIn(staging.get());
            if (names && names->size() == 1 && names->front() == kMark &&
                ::fstatat(staging.get(), kMark, &mark, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(mark.st_mode) &&
                mark.st_size == 0 && mark.st_uid == ::geteuid())
                ::unlinkat(staging.get(), kMark, 0);
            ::unlinkat(folder, name.c_str(), AT_REMOVEDIR);
            continue;
        }
        if (exists(staging.get(), kPrevious) && !trash(QByteArray::fromStdString(name), targetName))
            continue;
        removeStagingFolder(folder, QByteArray::fromStdString(name));
    }
}

bool renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to)
{
    if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0)
        return true;
    if (!noExchangeHere())
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

bool swapIn(int staging, int toFolder, const char* to)
{
    // Named "previous" before the swap, so that whatever the swap puts there already
    // bears the name the sweep trashes: at worst a copy of the new version.
    if (!renameWithoutReplacing(staging, kNew, staging, kPrevious))
        return false;
    if (::renameat2(staging, kPrevious, toFolder, to, RENAME_EXCHANGE) == 0)
        return true;
    const bool noExchange = noExchangeHere();
    renameWithoutReplacing(staging, kPrevious, staging, kNew);
    if (!noExchange)
        return false;
    // Two renames; the item leaving the target is "previous" from its first instant away.
    if (!renameWithoutReplacing(toFolder, to, staging, kPrevious))
        return false;
    if (renameWithoutReplacing(staging, kNew, toFolder, to))
        return true;
    renameWithoutReplacing(staging, kPrevious, toFolder, to);
    return false;
}

bool swapBack(int staging, int toFolder, const char* to)
{
    if (::renameat2(staging, kPrevious, toFolder, to, RENAME_EXCHANGE) == 0) {
        renameWithoutReplacing(staging, kPrevious, staging, kNew);
        return true;
    }
    if (!noExchangeHere() || !renameWithoutReplacing(toFolder, to, staging, kNew))
        return false;
    return renameWithoutReplacing(staging, kPrevious, toFolder, to);
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
