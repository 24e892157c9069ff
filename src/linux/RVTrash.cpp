#include "RVTrash.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString& path)
{
    return QFile::encodeName(path);
}

QString lastError(const QString& what)
{
    return what + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

std::optional<struct stat> lstatOf(const QString& path)
{
    struct stat info {};
    if (::lstat(encoded(path).constData(), &info) != 0)
        return std::nullopt;
    return info;
}

// The topmost folder above path on the same device: the mount point.
QString mountPointOf(const QString& path, dev_t device)
{
    QString current = path;
    for (;;) {
        const QString parent = QFileInfo(current).path();
        const auto info = lstatOf(parent);
        if (parent == current || !info || info->st_dev != device)
            return current;
        current = parent;
    }
}

// Another name for the item when one is taken: "Name 2.app", "Name 3.app", ...
QString candidateName(const QString& name, int attempt)
{
    if (attempt == 1)
        return name;
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return QStringLiteral("%1 %2").arg(name).arg(attempt);
    return QStringLiteral("%1 %2%3").arg(name.left(dot)).arg(attempt).arg(name.mid(dot));
}

} // namespace

RVTrash::RVTrash(uid_t uid, const QString& dataHome) : m_uid(uid), m_dataHome(dataHome) {}

RVTrash RVTrash::forInvokingUser()
{
    const QByteArray pkexecUid = qgetenv("PKEXEC_UID");
    bool ok = false;
    const uint uid = pkexecUid.toUInt(&ok);
    if (::getuid() == 0 && ok) {
        const struct passwd* entry = ::getpwuid(uid_t(uid));
        const QString home = entry ? QFile::decodeName(entry->pw_dir) : QString();
        return RVTrash(uid_t(uid), home + QStringLiteral("/.local/share"));
    }
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome))
        dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    return RVTrash(::getuid(), dataHome);
}

bool RVTrash::ensureFolder(const QString& path, QString* error) const
{
    const auto existing = lstatOf(path);
    if (existing) {
        if (!S_ISDIR(existing->st_mode) || existing->st_uid != m_uid) {
            *error = QStringLiteral("%1 is not a folder of uid %2").arg(path).arg(m_uid);
            return false;
        }
        return true;
    }
    if (::mkdir(encoded(path).constData(), 0700) != 0 && errno != EEXIST) {
        *error = lastError(QStringLiteral("cannot create ") + path);
        return false;
    }
    // Made by root for another user: hand it over, or that user could not restore from it.
    if (::lchown(encoded(path).constData(), m_uid, gid_t(-1)) != 0 && ::getuid() == 0) {
        *error = lastError(QStringLiteral("cannot hand over ") + path);
        return false;
    }
    return true;
}

QString RVTrash::trashFolderFor(dev_t device, const QString& itemPath, QString* topdir,
                                QString* error) const
{
    // The home trash serves items on the file system of the user's data folder.
    QString probe = m_dataHome;
    while (!lstatOf(probe) && QFileInfo(probe).path() != probe)
        probe = QFileInfo(probe).path();
    const auto home = lstatOf(probe);
    if (home && home->st_dev == device) {
        QDir().mkpath(m_dataHome);
        const QString trash = m_dataHome + QStringLiteral("/Trash");
        if (ensureFolder(trash, error) && ensureFolder(trash + QStringLiteral("/files"), error) &&
            ensureFolder(trash + QStringLiteral("/info"), error))
            return trash;
        return {};
    }

    *topdir = mountPointOf(QFileInfo(itemPath).path(), device);
    const QString shared = *topdir + QStringLiteral("/.Trash");
    const auto sharedInfo = lstatOf(shared);
    if (sharedInfo && S_ISDIR(sharedInfo->st_mode) && (sharedInfo->st_mode & S_ISVTX)) {
        const QString mine = shared + u'/' + QString::number(m_uid);
        QString ignored;
        if (ensureFolder(mine, &ignored) && ensureFolder(mine + QStringLiteral("/files"), &ignored) &&
            ensureFolder(mine + QStringLiteral("/info"), &ignored))
            return mine;
    }
    const QString own = *topdir + QStringLiteral("/.Trash-") + QString::number(m_uid);
    if (ensureFolder(own, error) && ensureFolder(own + QStringLiteral("/files"), error) &&
        ensureFolder(own + QStringLiteral("/info"), error))
        return own;
    return {};
}

RVTrash::Result RVTrash::trash(const QString& path) const
{
    Result result;
    const QString item = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    const auto info = lstatOf(item);
    if (!info) {
        result.error = lastError(QStringLiteral("cannot find ") + item);
        return result;
    }
    QString topdir;
    const QString trash = trashFolderFor(info->st_dev, item, &topdir, &result.error);
    if (trash.isEmpty())
        return result;

    // Paths in a volume's trash are kept relative to its top, so they survive a remount.
    const QString recorded = topdir.isEmpty() ? item : item.mid(topdir.size() + 1);
    const QByteArray contents = "[Trash Info]\nPath=" + QUrl::toPercentEncoding(recorded, "/") +
                                "\nDeletionDate=" +
                                QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toUtf8() +
                                "\n";
    const QString name = QFileInfo(item).fileName();
    for (int attempt = 1; attempt < 10000; ++attempt) {
        const QString candidate = candidateName(name, attempt);
        const QString infoPath = trash + QStringLiteral("/info/") + candidate + QStringLiteral(".trashinfo");
        const int fd = ::open(encoded(infoPath).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            result.error = lastError(QStringLiteral("cannot create ") + infoPath);
            return result;
        }
        const bool written = ::write(fd, contents.constData(), size_t(contents.size())) == contents.size();
        ::fchown(fd, m_uid, gid_t(-1));
        ::close(fd);
        const QString target = trash + QStringLiteral("/files/") + candidate;
        if (!written || ::renameat2(AT_FDCWD, encoded(item).constData(), AT_FDCWD,
                                    encoded(target).constData(), RENAME_NOREPLACE) != 0) {
            const int saved = errno;
            ::unlink(encoded(infoPath).constData());
            errno = saved;
            if (written && saved == EEXIST)
                continue; // an item without info holds the name; take the next
            result.error = lastError(QStringLiteral("cannot move ") + item + QStringLiteral(" to ") + target);
            return result;
        }
        result.ok = true;
        result.trashedPath = target;
        result.infoPath = infoPath;
        return result;
    }
    result.error = QStringLiteral("no free name in ") + trash;
    return result;
}
