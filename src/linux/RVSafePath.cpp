#include "RVSafePath.h"

#include "RVPaths.h"

#include <QFile>

#include <atomic>
#include <cerrno>
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

RVFd openOrMakeFolder(const QString& path, const MakeFolder& make)
{
    QString location = nearestExisting(path);
    const QStringList missing = path.mid(location.size()).split(u'/', Qt::SkipEmptyParts);
    RVFd folder = openFolder(location);
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
