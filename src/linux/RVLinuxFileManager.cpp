#include "RVLinuxFileManager.h"

#include "RVCopyHasher.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVSafePath.h"
#include "RVStaging.h"
#include "RVTrash.h"
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
    const QString targetFolder = RVPaths::stringByDeletingLastPathComponent(standardized);
    auto folder = std::make_shared<RVFd>(makeFolders(targetFolder));
    const RVSafePath::Parent from = RVSafePath::openParent(source);
    if (!folder->valid() || !from.folder.valid()) {
        RVLog(QStringLiteral("copy %@ failed: %@"), source, lastError());
        return {};
    }
    const QByteArray targetName = encoded(RVPaths::lastPathComponent(standardized));
    const QByteArray name = RVStaging::stagingName(targetName);
    auto staging = std::make_shared<RVFd>(RVStaging::makeStagingFolder(folder->get(), name, targetName));
    QString error = lastError();
    // A signed bundle's copy is checked before it goes into place: its files are hashed
    // while the copy goes on, and the check reuses those digests.
    struct stat signature {};
    const QByteArray signatureFolder = from.name + '/' + RVBundleSignature::kFolder;
    std::shared_ptr<RVCopyHasher> hasher;
    if (::fstatat(from.folder.get(), signatureFolder.constData(), &signature, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(signature.st_mode))
        hasher = std::make_shared<RVCopyHasher>();
    if (!staging->valid() ||
        !RVCopyTree(from.folder.get(), from.name.constData(), staging->get(), RVStaging::kNew, &error, m_owner,
                    hasher.get())) {
        RVLog(QStringLiteral("copy %@ failed: %@"), source, error);
        RVStaging::removeStagingFolder(folder->get(), name);
        return {};
    }
    const QString stagingPath = RVPaths::stringByAppendingPathComponent(targetFolder, QFile::decodeName(name));
    std::lock_guard lock(m_stagingMutex);
    m_staging.insert(stagingPath, Staging{folder, staging, name, hasher});
    return RVPaths::stringByAppendingPathComponent(stagingPath, QString::fromLatin1(RVStaging::kNew));
}

std::optional<RVLinuxFileManager::Staging> RVLinuxFileManager::stagingOf(const QString& item)
{
    std::lock_guard lock(m_stagingMutex);
    const auto found = m_staging.constFind(RVPaths::stringByDeletingLastPathComponent(item));
    if (found == m_staging.constEnd())
        return std::nullopt;
    return *found;
}

RVSafePath::Parent RVLinuxFileManager::targetBeside(const Staging& staging, const QString& item, const QString& target)
{
    RVSafePath::Parent to = RVSafePath::openParent(target);
    const QString stagingFolder = RVPaths::stringByDeletingLastPathComponent(item);
    if (RVPaths::stringByDeletingLastPathComponent(stagingFolder) ==
        RVPaths::stringByDeletingLastPathComponent(RVPaths::standardizedPath(target)))
        to.folder = RVFd(::dup(staging.folder->get()));
    return to;
}

bool RVLinuxFileManager::moveIntoPlace(const QString& staged, const QString& target)
{
    const auto staging = stagingOf(staged);
    if (!staging)
        return false;
    const RVSafePath::Parent to = targetBeside(*staging, staged, target);
    if (!to.folder.valid() ||
        !RVStaging::renameWithoutReplacing(staging->staging->get(), RVStaging::kNew, to.folder.get(), to.name.constData()))
        return false;
    discardStaged(staged);
    return true;
}

QString RVLinuxFileManager::exchangeIntoPlace(const QString& staged, const QString& target)
{
    const auto staging = stagingOf(staged);
    if (!staging)
        return {};
    const RVSafePath::Parent to = targetBeside(*staging, staged, target);
    if (!to.folder.valid() || !RVStaging::swapIn(staging->staging->get(), to.folder.get(), to.name.constData()))
        return {};
    return RVPaths::stringByAppendingPathComponent(RVPaths::stringByDeletingLastPathComponent(staged),
                                                   QString::fromLatin1(RVStaging::kPrevious));
}

bool RVLinuxFileManager::putBackExchanged(const QString& previous, const QString& target)
{
    const auto staging = stagingOf(previous);
    if (!staging)
        return false;
    const RVSafePath::Parent to = targetBeside(*staging, previous, target);
    return to.folder.valid() && RVStaging::swapBack(staging->staging->get(), to.folder.get(), to.name.constData());
}

void RVLinuxFileManager::discardStaged(const QString& staged)
{
    const QString stagingPath = RVPaths::stringByDeletingLastPathComponent(staged);
    std::lock_guard lock(m_stagingMutex);
    const auto found = m_staging.constFind(stagingPath);
    if (found == m_staging.constEnd())
        return;
    RVStaging::removeStagingFolder(found->folder->get(), found->name);
    m_staging.erase(found);
}

void RVLinuxFileManager::removeAbandonedStaging(const QString& folder)
{
    const QString standardized = RVPaths::standardizedPath(folder);
    const RVFd open = RVSafePath::openFolder(standardized);
    if (!open.valid())
        return;
    RVStaging::removeAbandoned(open.get(), [&](const QByteArray& staging, const QByteArray& targetName) {
        const QString previous = RVPaths::stringByAppendingPathComponent(
            RVPaths::stringByAppendingPathComponent(standardized, QFile::decodeName(staging)),
            QString::fromLatin1(RVStaging::kPrevious));
        const QString original = RVPaths::stringByAppendingPathComponent(standardized, QFile::decodeName(targetName));
        const RVTrash::Result result = RVTrash::forInvokingUser().trash(previous, original);
        if (!result.ok)
            RVLog(QStringLiteral("trash: %@"), result.error);
        return result.ok;
    });
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
    return ::stat(encoded(a).constData(), &x) == 0 && ::lstat(encoded(b).constData(), &y) == 0 &&
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
    const std::optional<Staging> staging = stagingOf(path);
    QString error;
    std::optional<RVBundleSignature::Tree> tree;
    if (staging) {
        const auto known = staging->hasher && walk ? staging->hasher->finish() : RVBundleSignature::KnownDigests();
        tree = RVBundleSignature::readTree(staging->staging->get(), encoded(RVPaths::lastPathComponent(path)), walk,
                                           &error, &known);
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
