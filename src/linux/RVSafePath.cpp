#include "RVSafePath.h"

#include "RVPaths.h"

#include <QFile>

#include <atomic>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace RVSafePath {

namespace {

std::atomic<bool> g_linksTrusted{true};

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// Component by component from "/", for kernels without openat2.
RVFd walkWithoutLinks(const QByteArray& path)
{
    RVFd current(::open("/", kFolderFlags));
    for (const QByteArray& part : path.split('/')) {
        if (part.isEmpty())
            continue;
        if (!current.valid())
            break;
        current = RVFd(::openat(current.get(), part.constData(), kFolderFlags | O_NOFOLLOW));
    }
    return current;
}

} // namespace

void setLinksTrusted(bool trusted)
{
    g_linksTrusted = trusted;
}

bool linksTrusted()
{
    return g_linksTrusted;
}

RVFd openFolder(const QString& path)
{
    if (!path.startsWith(u'/')) {
        errno = EINVAL;
        return RVFd();
    }
    const QByteArray encoded = QFile::encodeName(path);
    if (g_linksTrusted)
        return RVFd(::open(encoded.constData(), kFolderFlags));
    open_how how{};
    how.flags = kFolderFlags;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const long fd = ::syscall(SYS_openat2, AT_FDCWD, encoded.constData(), &how, sizeof how);
    if (fd >= 0 || errno != ENOSYS)
        return RVFd(int(fd));
    return walkWithoutLinks(encoded);
}

RVFd openFolderThroughLinksOf(const QString& path, uid_t owner)
{
    if (g_linksTrusted)
        return openFolder(path);
    if (!path.startsWith(u'/')) {
        errno = EINVAL;
        return RVFd();
    }
    QList<QByteArray> pending = QFile::encodeName(path).split('/');
    RVFd current(::open("/", kFolderFlags));
    for (int links = 0; current.valid() && !pending.isEmpty();) {
        const QByteArray part = pending.takeFirst();
        if (part.isEmpty() || part == ".")
            continue;
        struct stat item {}, holder {};
        if (::fstatat(current.get(), part.constData(), &item, AT_SYMLINK_NOFOLLOW) != 0)
            return RVFd();
        if (!S_ISLNK(item.st_mode)) {
            current = RVFd(::openat(current.get(), part.constData(), kFolderFlags | O_NOFOLLOW));
            continue;
        }
        const bool ownersTrusted = (item.st_uid == 0 || item.st_uid == owner) && ::fstat(current.get(), &holder) == 0 &&
                                   (holder.st_uid == 0 || holder.st_uid == owner) &&
                                   (holder.st_mode & (S_IWGRP | S_IWOTH)) == 0;
        char target[PATH_MAX];
        const ssize_t length = ownersTrusted ? ::readlinkat(current.get(), part.constData(), target, sizeof target) : -1;
        if (!ownersTrusted || length <= 0 || length >= ssize_t(sizeof target) || ++links > 40) {
            errno = ELOOP;
            return RVFd();
        }
        const QByteArray followed(target, int(length));
        if (followed.startsWith('/'))
            current = RVFd(::open("/", kFolderFlags));
        pending = followed.split('/') + pending;
    }
    return current;
}

RVFd openFolderAt(int folder, const QByteArray& name)
{
    return RVFd(::openat(folder, name.constData(), kFolderFlags | (g_linksTrusted ? 0 : O_NOFOLLOW)));
}

QString nearestExisting(const QString& path)
{
    QString existing = path;
    struct stat info {};
    while (existing != u"/" && ::lstat(QFile::encodeName(existing).constData(), &info) != 0)
        existing = RVPaths::stringByDeletingLastPathComponent(existing);
    return existing;
}

RVFd openOrMakeFolder(const QString& path, const MakeFolder& make, std::optional<uid_t> linksOf)
{
    QString location = nearestExisting(path);
    const QStringList missing = path.mid(location.size()).split(u'/', Qt::SkipEmptyParts);
    RVFd folder = linksOf ? openFolderThroughLinksOf(location, *linksOf) : openFolder(location);
    for (const QString& name : missing) {
        if (!folder.valid())
            break;
        location = RVPaths::stringByAppendingPathComponent(location, name);
        folder = make(folder.get(), QFile::encodeName(name), location);
    }
    return folder;
}

Parent openParent(const QString& path)
{
    const QString standardized = RVPaths::standardizedPath(path);
    const QString name = RVPaths::lastPathComponent(standardized);
    if (!path.startsWith(u'/') || standardized == u"/" || name.isEmpty()) {
        errno = EINVAL;
        return {};
    }
    return {openFolder(RVPaths::stringByDeletingLastPathComponent(standardized)), QFile::encodeName(name)};
}

} // namespace RVSafePath
