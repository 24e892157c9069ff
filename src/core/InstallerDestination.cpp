#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"
#include "RVProcess.h"

#include <QDir>

#include <cstdlib>

namespace {

RVFileManager& files()
{
    return RVPlatform::current().fileManager();
}

QString probeName(long value)
{
    return RVFormat(QStringLiteral("temp-%X"), {std::uint32_t(value)});
}

} // namespace

QString InstallerWinController::argument(const QString& key) const
{
    return m_arguments ? m_arguments->string(key) : QString();
}

bool InstallerWinController::canWriteToFile(const QString& path)
{
    return files().canOpenForReadingAndWriting(path);
}

bool InstallerWinController::canWriteToDirectory(const QString& path)
{
    // The first draw and the re-draws use the two different generators.
    QString candidate = path + u'/' + probeName(::random());
    while (files().itemExists(candidate))
        candidate = path + u'/' + probeName(std::rand());
    return files().createAndRemoveProbeFile(candidate);
}

bool InstallerWinController::canWriteToFileOrDirectory(const QString& path)
{
    return files().isWritable(path);
}

bool InstallerWinController::canWriteToPath(const QString& path)
{
    if (files().fileExists(path) && !canWriteToFileOrDirectory(path)) {
        RVLog(QStringLiteral("Cannot write to item %@"), path);
        return false;
    }
    QString folder = RVPaths::stringByDeletingLastPathComponent(path);
    if (folder.size() >= 2) {
        while (!files().fileExists(folder)) {
            folder = RVPaths::stringByDeletingLastPathComponent(folder);
            if (folder.size() <= 1)
                break;
        }
    }
    if (canWriteToFileOrDirectory(folder))
        return true;
    RVLog(QStringLiteral("Cannot write to folder %@"), folder);
    return false;
}

bool InstallerWinController::isInUnsupportedFolder(const QString& path)
{
    if (path.contains(QStringLiteral("/build")) && path.contains(QStringLiteral("/kol/")))
        return true;
    if (path.contains(QStringLiteral("/Volumes/")) && path.contains(QStringLiteral("-Install")))
        return true;
    if (path.contains(QStringLiteral("/Trash/")) || path.contains(QStringLiteral("/.Trash/")))
        return true;
    // A private copy unpacked to run its installer, removed when that ends.
    return path.contains(QStringLiteral("/AppTranslocation/"));
}

QString InstallerWinController::applicationsDirectory()
{
    RVWorkspace& workspace = RVPlatform::current().workspace();
    const QString local = workspace.localApplicationsDirectory();
    if (!local.isEmpty() && canWriteToFileOrDirectory(local))
        return local;
    RVLog(QStringLiteral("Can't write to /Applications, checking ~/Applications"));
    const QString user = workspace.userApplicationsDirectory();
    RVLog(QStringLiteral("User applicationsDirectory: %@"), user);
    if (user.isEmpty())
        return local;
    return canWriteToFileOrDirectory(user) ? user : local;
}

QString InstallerWinController::autoLaunchPathFor(const QString& productName)
{
    for (const QString& loginItem : RVPlatform::current().workspace().loginItems()) {
        const QString item = RVPaths::standardizedPath(loginItem);
        if (RVPaths::lastPathComponent(item).startsWith(productName))
            return item;
    }
    return {};
}

QString InstallerWinController::pathToProcessToReplace()
{
    if (!m_arguments || !m_arguments->hasList(RVInstallerKeyProductCode))
        return {};
    const QStringList codes = m_arguments->list(RVInstallerKeyProductCode);
    const RVOSType first = RVOSTypeFromString(codes.value(0));
    const RVProcess::Ptr own = RVProcess::currentProcess();
    auto candidate = [&](const RVProcess::Ptr& process, bool anyCode) {
        const bool matches = anyCode ? signatureIsInArray(process->signature(), &codes)
                                     : process->signature() == first;
        return matches && !process->isEqual(own.get()) && !isInUnsupportedFolder(process->path());
    };
    for (const RVProcess::Ptr& process : RVProcess::allProcesses()) {
        if (candidate(process, false))
            return RVPaths::standardizedPath(process->path());
    }
    if (codes.size() < 2)
        return {};
    for (const RVProcess::Ptr& process : RVProcess::allProcesses()) {
        if (candidate(process, true))
            return RVPaths::standardizedPath(process->path());
    }
    return {};
}

QString InstallerWinController::findPreferredDestinationFor(const QString& productName)
{
    const QString autoLaunch = autoLaunchPathFor(productName);
    RVLog(QStringLiteral("autolaunch = %@"), autoLaunch);
    if (autoLaunch.isNull() || isInUnsupportedFolder(autoLaunch))
        return pathToProcessToReplace();
    return autoLaunch;
}

QString InstallerWinController::localizedPath(const QString& path)
{
    const QString home = RVPlatform::current().systemFacts().homeDirectory();
    QString abbreviated = path;
    if (!home.isEmpty() && (path == home || path.startsWith(home + u'/')))
        abbreviated = u'~' + path.mid(home.size());
    return recursiveLocalizedPath(abbreviated);
}

QString InstallerWinController::recursiveLocalizedPath(const QString& path)
{
    if (path.size() < 3)
        return path;
    const QString folder = recursiveLocalizedPath(RVPaths::stringByDeletingLastPathComponent(path));
    const QString home = RVPlatform::current().systemFacts().homeDirectory();
    const QString expanded = path.startsWith(QStringLiteral("~/")) ? home + path.mid(1) : path;
    const QString name = files().displayName(expanded);
    return RVPaths::stringByAppendingPathComponent(folder, name);
}
