#include "RVLinuxFileManager.h"

#include "RVLog.h"
#include "RVPaths.h"
#include "RVSafePath.h"
#include "RVStaging.h"
#include "RVTreeCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString& path)
{
    return QFile::encodeName(path);
}

QString lastError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// The folder at path, with the missing folders above and at it made, 0755 each
// (/Applications usually does not exist before the first installation).
RVFd makeFolders(const QString& path)
{
    return RVSafePath::openOrMakeFolder(path, [](int parent, const QByteArray& name, const QString&) {
        if (::mkdirat(parent, name.constData(), 0755) != 0 && errno != EEXIST)
            return RVFd();
        return RVSafePath::openFolderAt(parent, name);
    });
}

} // namespace

bool RVLinuxFileManager::fileExists(const QString& path)
{
    struct stat info {};
    return !path.isEmpty() && ::stat(encoded(path).constData(), &info) == 0;
}

bool RVLinuxFileManager::itemExists(const QString& path)
{
    struct stat info {};
    return !path.isEmpty() && ::lstat(encoded(path).constData(), &info) == 0;
}

std::optional<QStringList> RVLinuxFileManager::contentsOfDirectory(const QString& path)
{
    const QDir dir(path);
    if (!dir.exists())
        return std::nullopt;
    return dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDir::Name);
}

bool RVLinuxFileManager::removeItem(const QString& path)
{
    return RVRemoveTree(path);
}

QString RVLinuxFileManager::stageCopy(const QString& source, const QString& target)
{
    const QString standardized = RVPaths::standardizedPath(target);
    auto folder = std::make_shared<RVFd>(makeFolders(RVPaths::stringByDeletingLastPathComponent(standardized)));
    const RVSafePath::Parent from = RVSafePath::openParent(source);
    if (!folder->valid() || !from.folder.valid()) {
        RVLog(QStringLiteral("copy %@ failed: %@"), source, lastError());
        return {};
    }
    const QByteArray staging = RVStaging::stagingName(encoded(RVPaths::lastPathComponent(standardized)));
    QString error;
    if (!RVCopyTree(from.folder.get(), from.name.constData(), folder->get(), staging.constData(), &error)) {
        RVLog(QStringLiteral("copy %@ failed: %@"), source, error);
        RVRemoveTree(folder->get(), staging.constData());
        return {};
    }
    const QString staged = RVPaths::stringByAppendingPathComponent(
        RVPaths::stringByDeletingLastPathComponent(standardized), QFile::decodeName(staging));
    std::lock_guard lock(m_stagingMutex);
    m_stagingFolders.insert(staged, folder);
    return staged;
}

std::shared_ptr<RVFd> RVLinuxFileManager::takeStagingFolder(const QString& staged)
{
    std::lock_guard lock(m_stagingMutex);
    return m_stagingFolders.take(staged);
}

bool RVLinuxFileManager::moveIntoPlace(const QString& staged, const QString& target)
{
    const std::shared_ptr<RVFd> folder = takeStagingFolder(staged);
    RVSafePath::Parent to = RVSafePath::openParent(target);
    // Staged beside its target: renamed inside the folder it was made in, which stays right
    // even if the folder itself was moved meanwhile.
    if (folder && RVPaths::stringByDeletingLastPathComponent(staged) ==
                      RVPaths::stringByDeletingLastPathComponent(RVPaths::standardizedPath(target)))
        to.folder = RVFd(::dup(folder->get()));
    const QByteArray name = encoded(RVPaths::lastPathComponent(staged));
    const bool placed = folder && to.folder.valid() &&
                        RVStaging::renameWithoutReplacing(folder->get(), name.constData(), to.folder.get(),
                                                          to.name.constData());
    if (!placed && folder) {
        std::lock_guard lock(m_stagingMutex);
        m_stagingFolders.insert(staged, folder); // still there, for discardStaged
    }
    return placed;
}

void RVLinuxFileManager::discardStaged(const QString& staged)
{
    if (const std::shared_ptr<RVFd> folder = takeStagingFolder(staged))
        RVRemoveTree(folder->get(), encoded(RVPaths::lastPathComponent(staged)).constData());
}

bool RVLinuxFileManager::copyItem(const QString& source, const QString& target)
{
    if (itemExists(target))
        return false;
    const QString staged = stageCopy(source, target);
    if (staged.isNull())
        return false;
    if (moveIntoPlace(staged, target))
        return true;
    discardStaged(staged);
    return false;
}

void RVLinuxFileManager::removeAbandonedStaging(const QString& folder)
{
    const RVFd open = RVSafePath::openFolder(RVPaths::standardizedPath(folder));
    if (open.valid())
        RVStaging::removeAbandoned(open.get());
}

std::shared_ptr<void> RVLinuxFileManager::lockFolder(const QString& folder)
{
    auto lock = std::make_shared<RVStaging::FolderLock>(makeFolders(RVPaths::standardizedPath(folder)));
    if (!lock->locked())
        return nullptr;
    return lock;
}

bool RVLinuxFileManager::isFolder(const QString& path)
{
    struct stat info {};
    const QByteArray name = encoded(path);
    const int status = RVSafePath::linksTrusted() ? ::stat(name.constData(), &info) : ::lstat(name.constData(), &info);
    return !path.isEmpty() && status == 0 && S_ISDIR(info.st_mode);
}

QString RVLinuxFileManager::resolvedPath(const QString& path)
{
    QString existing = RVPaths::standardizedPath(path);
    // Where links are not trusted, they are not resolved either: the walk refuses them.
    if (!RVSafePath::linksTrusted())
        return existing;
    QStringList rest;
    while (existing != u"/") {
        char resolved[PATH_MAX];
        if (::realpath(encoded(existing).constData(), resolved)) {
            existing = QFile::decodeName(resolved);
            break;
        }
        rest.prepend(RVPaths::lastPathComponent(existing));
        existing = RVPaths::stringByDeletingLastPathComponent(existing);
    }
    for (const QString& name : rest)
        existing = RVPaths::stringByAppendingPathComponent(existing, name);
    return existing;
}

bool RVLinuxFileManager::isWritable(const QString& path)
{
    return !path.isEmpty() && ::access(encoded(path).constData(), W_OK) == 0;
}

QString RVLinuxFileManager::displayName(const QString& path)
{
    QString name = QFileInfo(path).fileName();
    if (name.isEmpty())
        return path;
    // File managers show a bundle folder by its name alone.
    if (name.endsWith(QStringLiteral(".app")) && QFileInfo(path).isDir())
        name.chop(4);
    return name;
}

bool RVLinuxFileManager::isSameItem(const QString& a, const QString& b)
{
    struct stat x {}, y {};
    return ::stat(encoded(a).constData(), &x) == 0 && ::stat(encoded(b).constData(), &y) == 0 &&
           x.st_dev == y.st_dev && x.st_ino == y.st_ino;
}

bool RVLinuxFileManager::canOpenForReadingAndWriting(const QString& path)
{
    const int fd = ::open(encoded(path).constData(), O_RDWR | O_CLOEXEC);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

bool RVLinuxFileManager::createAndRemoveProbeFile(const QString& path)
{
    const QByteArray name = encoded(path);
    const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    ::close(fd);
    ::unlink(name.constData());
    return true;
}

std::optional<RVBundleSignature::Tree> RVLinuxFileManager::readSignedTree(const QString& path, bool walk)
{
    std::shared_ptr<RVFd> staging;
    {
        std::lock_guard lock(m_stagingMutex);
        staging = m_stagingFolders.value(path);
    }
    QString error;
    std::optional<RVBundleSignature::Tree> tree;
    if (staging) {
        tree = RVBundleSignature::readTree(staging->get(), encoded(RVPaths::lastPathComponent(path)), walk, &error);
    } else {
        const RVSafePath::Parent parent = RVSafePath::openParent(RVPaths::standardizedPath(path));
        if (parent.folder.valid())
            tree = RVBundleSignature::readTree(parent.folder.get(), parent.name, walk, &error);
        else
            error = lastError();
    }
    if (!tree)
        RVLog(QStringLiteral("cannot read %@: %@"), path, error);
    return tree;
}
