#include "RVLinuxFileManager.h"

#include "RVLog.h"
#include "RVTreeCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString& path)
{
    return QFile::encodeName(path);
}

// Makes the missing folders above path, 0755 each (/Applications usually does not exist
// before the first installation).
bool makeParents(const QString& path)
{
    const QString folder = QFileInfo(path).path();
    if (QFileInfo(folder).isDir())
        return true;
    if (!makeParents(folder))
        return false;
    return ::mkdir(encoded(folder).constData(), 0755) == 0 || errno == EEXIST;
}

} // namespace

bool RVLinuxFileManager::fileExists(const QString& path)
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

bool RVLinuxFileManager::copyItem(const QString& source, const QString& target)
{
    if (fileExists(target) || !makeParents(target))
        return false;
    // The copy is built under a hidden name beside the target and renamed into place, so a
    // failure or a killed installer never leaves a half product at the target.
    const QFileInfo info(target);
    const QString staging = info.path() + QStringLiteral("/.%1.partial-%2")
                                              .arg(info.fileName())
                                              .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
    QString error;
    if (!RVCopyTree(source, staging, &error)) {
        RVLog(QStringLiteral("copy %@ failed: %@"), source, error);
        RVRemoveTree(staging);
        return false;
    }
    if (::renameat2(AT_FDCWD, encoded(staging).constData(), AT_FDCWD, encoded(target).constData(),
                    RENAME_NOREPLACE) != 0) {
        RVRemoveTree(staging);
        return false;
    }
    return true;
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
