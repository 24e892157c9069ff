#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"
#include "RVProcess.h"

#include <QDir>
#include <QSet>

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

QVariantMap InstallerWinController::productInfo() const
{
    const auto product = RVBundle::bundleWithPath(argument(RVInstallerKeySourcePath));
    return product ? product->infoDictionary() : QVariantMap();
}

bool InstallerWinController::isCopyOfProduct(const QVariantMap& info) const
{
    const QVariantMap product = productInfo();
    const QString identifier = product.value(QStringLiteral("CFBundleIdentifier")).toString();
    const QString other = info.value(QStringLiteral("CFBundleIdentifier")).toString();
    if (!identifier.isEmpty() && !other.isEmpty())
        return identifier == other;
    auto executable = [](const QVariantMap& dictionary) {
        const QString name = dictionary.value(QStringLiteral("CFBundleExecutable")).toString();
        return name.isEmpty() ? dictionary.value(QStringLiteral("NSExecutable")).toString() : name;
    };
    return !executable(product).isEmpty() && executable(product) == executable(info);
}

QString InstallerWinController::autoLaunchPathFor(const QString& productName)
{
    if (productName.isEmpty())
        return {}; // every name begins with it
    for (const QString& loginItem : RVPlatform::current().workspace().loginItems()) {
        const QString item = RVPaths::standardizedPath(loginItem);
        if (!RVPaths::lastPathComponent(item).startsWith(productName))
            continue;
        const auto bundle = RVBundle::bundleWithPath(item);
        if (bundle && isCopyOfProduct(bundle->infoDictionary()))
            return item;
        RVLog(QStringLiteral("login item %@ is no copy of %@; passed over"), item, productName);
    }
    return {};
}

QString InstallerWinController::pathToProcessToReplace()
{
    if (!m_arguments || !m_arguments->hasList(RVInstallerKeyProductCode))
        return {};
    const QStringList codes = m_arguments->list(RVInstallerKeyProductCode);
    const QStringList first{codes.value(0)};
    const RVProcess::Ptr own = RVProcess::currentProcess();
    QSet<QString> passedOver; // one line for each, though both passes may meet it
    auto candidate = [&](const RVProcess::Ptr& process, bool anyCode) {
        const bool matches = signatureIsInArray(process->signature(), anyCode ? &codes : &first);
        if (!matches || process->isEqual(own.get()) || isInUnsupportedFolder(process->path()))
            return false;
        if (isCopyOfProduct(process->infoDictionary().value_or(QVariantMap())))
            return true;
        if (!passedOver.contains(process->path())) {
            passedOver.insert(process->path());
            RVLog(QStringLiteral("running application %@ is no copy of the product; passed over"), process->path());
        }
        return false;
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
