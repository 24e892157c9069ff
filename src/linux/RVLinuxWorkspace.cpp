#include "RVLinuxWorkspace.h"

#include "RVAutostart.h"
#include "RVBundle.h"
#include "RVDesktopEntry.h"
#include "RVFd.h"
#include "RVLauncher.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVTrash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

RVLinuxWorkspace::RVLinuxWorkspace(std::shared_ptr<RVLauncher> launcher, const QString& localApplications)
    : m_launcher(std::move(launcher)), m_localApplications(localApplications)
{
}

bool RVLinuxWorkspace::recycle(const QString& folder, const QStringList& names)
{
    for (const QString& name : names) {
        if (!recycleReplaced(RVPaths::stringByAppendingPathComponent(folder, name), QString()))
            return false;
    }
    return true;
}

bool RVLinuxWorkspace::recycleReplaced(const QString& path, const QString& originalPath)
{
    const RVTrash::Result result = RVTrash::forInvokingUser().trash(path, originalPath);
    if (!result.ok)
        RVLog(QStringLiteral("trash: %@"), result.error);
    return result.ok;
}

void RVLinuxWorkspace::noteFileSystemChanged(const QString& path)
{
    Q_UNUSED(path); // file managers watch with inotify and see the change themselves
}

QString RVLinuxWorkspace::iconForFile(const QString& path)
{
    const auto bundle = RVBundle::bundleWithPath(path);
    if (const QString own = bundle ? bundle->iconFilePath() : QString(); !own.isEmpty())
        return own;
    return RVDesktopEntry::themeIconFor(path);
}

bool RVLinuxWorkspace::openApplication(const QString& path)
{
    const auto bundle = RVBundle::bundleWithPath(path);
    const QString executable = bundle ? bundle->executablePath() : QString();
    if (executable.isNull())
        return false;
    // The product's output is its own: not our terminal, and never our log file.
    const RVFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    RVLaunchRequest request;
    request.executable = executable;
    request.workingDirectory = QDir::homePath();
    request.ownSession = true;
    request.standardInput = request.standardOutput = request.standardError = nothing.get();
    return m_launcher->launch(request).task != nullptr;
}

int RVLinuxWorkspace::registerApplication(const QString& path)
{
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome))
        dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    return RVDesktopEntry::registerBundle(path, dataHome).status;
}

QStringList RVLinuxWorkspace::loginItems()
{
    return RVAutostart::loginItems();
}

QString RVLinuxWorkspace::localApplicationsDirectory()
{
    return m_localApplications;
}

QString RVLinuxWorkspace::userApplicationsDirectory()
{
    return homeDirectory() + QStringLiteral("/Applications");
}

QString RVLinuxWorkspace::homeDirectory()
{
    bool ok = false;
    const uint uid = qEnvironmentVariable("PKEXEC_UID").toUInt(&ok);
    if (::getuid() == 0 && ok) {
        if (const struct passwd* entry = ::getpwuid(uid_t(uid)))
            return QFile::decodeName(entry->pw_dir);
    }
    return QDir::homePath();
}
