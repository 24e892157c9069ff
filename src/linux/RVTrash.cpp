#include "RVTrash.h"

#include "RVPaths.h"
#include "RVSafePath.h"
#include "RVStaging.h"
#include "RVTreeCopy.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QUrl>

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString lastError(const QString& what)
{
    return what + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

std::optional<struct stat> lstatOf(const QString& path)
{
    struct stat info {};
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return info;
}

// The topmost folder above path on the same device: the mount point.
QString mountPointOf(const QString& path, dev_t device)
{
    QString current = path;
    for (;;) {
        const QString parent = RVPaths::stringByDeletingLastPathComponent(current);
        const auto info = lstatOf(parent);
        if (parent == current || !info || info->st_dev != device)
            return current;
        current = parent;
    }
}

// Another name for the item when one is taken: "Name 2.app", "Name 3.app", ...; the part
// before the extension is cut (at a character) so that the record's name,
// "<name>.trashinfo", fits the file system's limit.
QByteArray candidateName(const QString& name, int attempt)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString stem = dot <= 0 ? name : name.left(dot);
    const QByteArray extension = QFile::encodeName(dot <= 0 ? QString() : name.mid(dot));
    const QByteArray counter = attempt == 1 ? QByteArray() : ' ' + QByteArray::number(attempt);
    const qsizetype room = NAME_MAX - qsizetype(sizeof ".trashinfo" - 1) - counter.size() - extension.size();
    QString cut = stem;
    while (!cut.isEmpty() && QFile::encodeName(cut).size() > room)
        cut.chop(cut.size() >= 2 && cut.at(cut.size() - 1).isLowSurrogate() ? 2 : 1);
    return QFile::encodeName(cut) + counter + extension;
}

// Root acting for a user creates with the user's file-system identity, so that what it
// makes in the user's trash is the user's from its first instant (a kill cannot leave a
// root-owned folder there). Per thread; nothing happens for anybody but root.
class AsUser
{
public:
    AsUser(uid_t uid, gid_t gid) : m_active(::geteuid() == 0 && uid != 0)
    {
        if (m_active) {
            ::setfsgid(gid);
            ::setfsuid(uid);
        }
    }
    ~AsUser()
    {
        if (m_active) {
            ::setfsuid(0);
            ::setfsgid(0);
        }
    }
    AsUser(const AsUser&) = delete;
    AsUser& operator=(const AsUser&) = delete;

private:
    bool m_active;
};

gid_t primaryGroupOf(uid_t uid)
{
    const struct passwd* entry = ::getpwuid(uid);
    return entry ? entry->pw_gid : ::getgid();
}

} // namespace

RVTrash::RVTrash(uid_t uid, const QString& dataHome)
    : m_uid(uid), m_gid(uid == ::getuid() ? ::getgid() : primaryGroupOf(uid)),
      m_dataHome(RVPaths::standardizedPath(dataHome))
{
}

RVTrash RVTrash::forInvokingUser()
{
    const QByteArray pkexecUid = qgetenv("PKEXEC_UID");
    bool ok = false;
    const uint uid = pkexecUid.toUInt(&ok);
    if (::getuid() == 0 && !pkexecUid.isNull()) {
        const struct passwd* entry = ok ? ::getpwuid(uid_t(uid)) : nullptr;
        if (!entry || entry->pw_dir[0] != '/')
            return RVTrash(uid_t(-1), QString());
        return RVTrash(uid_t(uid), QFile::decodeName(entry->pw_dir) + QStringLiteral("/.local/share"));
    }
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome))
        dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    return RVTrash(::getuid(), dataHome);
}

// A folder of the user's: opened without following a link, made (0700, handed to the user)
// when missing, refused when somebody else owns it. Root makes it only at the top of a
// volume (rootMakes); anywhere else only the user's own rights may make it.
RVFd RVTrash::openOwnFolder(int parent, const QByteArray& name, QString* error, const QString& location,
                            bool rootMakes) const
{
    bool made;
    {
        const AsUser user(m_uid, m_gid);
        made = ::mkdirat(parent, name.constData(), 0700) == 0;
    }
    // A volume's top folder is root's: there only root can make the user's trash.
    if (!made && errno == EACCES && rootMakes && ::mkdirat(parent, name.constData(), 0700) == 0)
        ::fchownat(parent, name.constData(), m_uid, m_gid, AT_SYMLINK_NOFOLLOW);
    RVFd folder(::openat(parent, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!folder.valid() || ::fstat(folder.get(), &info) != 0) {
        *error = lastError(QStringLiteral("cannot open ") + location);
        return RVFd();
    }
    // Root's own folder where the user's belongs was made by us and cut short: hand it over.
    if (rootMakes && info.st_uid == 0 && m_uid != 0 && ::geteuid() == 0 && ::fchown(folder.get(), m_uid, m_gid) == 0)
        info.st_uid = m_uid;
    if (info.st_uid != m_uid) {
        *error = QStringLiteral("%1 is not a folder of uid %2").arg(location).arg(m_uid);
        return RVFd();
    }
    return folder;
}

RVTrash::Folder RVTrash::openTrashIn(int parent, const QByteArray& name, const QString& location,
                                     QString* error, bool onVolumeTop) const
{
    Folder folder;
    const RVFd trash = openOwnFolder(parent, name, error, location, onVolumeTop);
    if (!trash.valid())
        return folder;
    folder.files = openOwnFolder(trash.get(), "files", error, location + QStringLiteral("/files"));
    folder.info = openOwnFolder(trash.get(), "info", error, location + QStringLiteral("/info"));
    if (!folder.files.valid() || !folder.info.valid())
        return Folder();
    folder.location = location;
    return folder;
}

// The data folder, with its missing folders made for the user (never root-owned folders in
// somebody's home).
RVFd RVTrash::openDataHome(QString* error) const
{
    if (m_dataHome.isEmpty()) {
        *error = QStringLiteral("no user to act for");
        return RVFd();
    }
    RVFd folder = RVSafePath::openOrMakeFolder(
        m_dataHome,
        [&](int parent, const QByteArray& name, const QString& location) {
            return openOwnFolder(parent, name, error, location);
        },
        m_uid);
    if (!folder.valid() && error->isEmpty())
        *error = lastError(QStringLiteral("cannot open ") + m_dataHome);
    return folder;
}

RVTrash::Folder RVTrash::trashFolderFor(dev_t device, const QString& itemPath, QString* error) const
{
    if (m_dataHome.isEmpty()) {
        *error = QStringLiteral("no user to act for");
        return Folder();
    }
    // The home trash serves items on the file system of the user's data folder.
    const auto home = lstatOf(RVSafePath::nearestExisting(m_dataHome));
    if (home && home->st_dev == device) {
        const RVFd dataHome = openDataHome(error);
        if (!dataHome.valid())
            return Folder();
        return openTrashIn(dataHome.get(), "Trash", m_dataHome + QStringLiteral("/Trash"), error);
    }

    const QString topdir = mountPointOf(RVPaths::stringByDeletingLastPathComponent(itemPath), device);
    const RVFd top = RVSafePath::openFolder(topdir);
    if (!top.valid()) {
        *error = lastError(QStringLiteral("cannot open ") + topdir);
        return Folder();
    }
    const QString shared = RVPaths::stringByAppendingPathComponent(topdir, QStringLiteral(".Trash"));
    // Only a real, sticky folder of root's is a shared trash; a link or anybody's folder is not.
    const RVFd sharedFolder(::openat(top.get(), ".Trash", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat sharedInfo {};
    if (sharedFolder.valid() && ::fstat(sharedFolder.get(), &sharedInfo) == 0 &&
        (sharedInfo.st_mode & S_ISVTX) && sharedInfo.st_uid == 0) {
        QString ignored;
        Folder mine = openTrashIn(sharedFolder.get(), QByteArray::number(m_uid),
                                  shared + u'/' + QString::number(m_uid), &ignored, true);
        if (mine.files.valid()) {
            mine.topdir = topdir;
            return mine;
        }
    }
    const QByteArray own = ".Trash-" + QByteArray::number(m_uid);
    Folder folder =
        openTrashIn(top.get(), own, RVPaths::stringByAppendingPathComponent(topdir, QFile::decodeName(own)), error, true);
    folder.topdir = topdir;
    return folder;
}

RVTrash::Result RVTrash::trash(const QString& path, const QString& originalPath) const
{
    Result result;
    const QString item = RVPaths::standardizedPath(path);
    const QString original = originalPath.isEmpty() ? item : RVPaths::standardizedPath(originalPath);
    const RVSafePath::Parent parent = RVSafePath::openParent(item);
    struct stat info {};
    if (!parent.folder.valid() || ::fstatat(parent.folder.get(), parent.name.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        result.error = lastError(QStringLiteral("cannot find ") + item);
        return result;
    }
    const Folder trash = trashFolderFor(info.st_dev, item, &result.error);
    if (!trash.files.valid())
        return result;

    const QByteArray contents = "[Trash Info]\nPath=" + recordedPath(original, trash.topdir) +
                                "\nDeletionDate=" +
                                QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toUtf8() +
                                "\n";
    const QString name = RVPaths::lastPathComponent(original);
    for (int attempt = 1; attempt < 10000; ++attempt) {
        const QByteArray candidate = candidateName(name, attempt);
        const QByteArray infoName = candidate + ".trashinfo";
        int fd;
        {
            const AsUser user(m_uid, m_gid);
            fd = ::openat(trash.info.get(), infoName.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        }
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            result.error = lastError(QStringLiteral("cannot create ") + trash.location + QStringLiteral("/info/") +
                                     QFile::decodeName(infoName));
            return result;
        }
        const bool written = ::write(fd, contents.constData(), size_t(contents.size())) == contents.size();
        ::close(fd);
        if (!written || !RVStaging::renameWithoutReplacing(parent.folder.get(), parent.name.constData(),
                                                           trash.files.get(), candidate.constData())) {
            const int saved = errno;
            ::unlinkat(trash.info.get(), infoName.constData(), 0);
            errno = saved;
            if (written && saved == EEXIST)
                continue; // an item without info holds the name; take the next
            result.error = lastError(QStringLiteral("cannot move ") + item + QStringLiteral(" to ") + trash.location);
            return result;
        }
        // Root trashing for a user: what they could read is theirs now, to restore or to
        // delete; what they could not stays root's.
        if (::geteuid() == 0 && m_uid != 0)
            RVHandOverTree(trash.files.get(), candidate.constData(), m_uid, m_gid);
        result.ok = true;
        result.trashedPath = trash.location + QStringLiteral("/files/") + QFile::decodeName(candidate);
        result.infoPath = trash.location + QStringLiteral("/info/") + QFile::decodeName(infoName);
        return result;
    }
    result.error = QStringLiteral("no free name in ") + trash.location;
    return result;
}

QByteArray RVTrash::recordedPath(const QString& item, const QString& topdir)
{
    // Paths in a volume's trash are kept relative to its top, so they survive a remount.
    QString recorded = item;
    if (!topdir.isEmpty())
        recorded = topdir == u"/" ? item.mid(1) : item.mid(topdir.size() + 1);
    return QUrl::toPercentEncoding(recorded, "/");
}
