#include "InstallFunction.h"

#include "InstallSignature.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"

using RVPaths::isInside;
using RVPaths::lastPathComponent;
using RVPaths::stringByAppendingPathComponent;
using RVPaths::stringByDeletingLastPathComponent;

namespace {

RVFileManager& files()
{
    return RVPlatform::current().fileManager();
}

RVWorkspace& workspace()
{
    return RVPlatform::current().workspace();
}

// The three paths in one form, links resolved, for the guards and the work.
struct Paths
{
    QString source;
    QString destination;
    QString wrapper; // empty without one
    QString targetFolder;
};

Paths resolved(const QString& source, const QString& destination, const QString& wrapper)
{
    Paths paths;
    paths.source = files().resolvedPath(source);
    paths.destination = ResolvedDestination(destination);
    paths.wrapper = wrapper.isEmpty() ? QString() : files().resolvedPath(wrapper);
    paths.targetFolder = stringByDeletingLastPathComponent(paths.destination);
    return paths;
}

bool refuses(const QString& format, const QString& path, const QString& other = QString())
{
    RVLog(format, path, other);
    return true;
}

// The refusals that come before anything is moved: every one of these, let through, has
// cost somebody a folder of their own.
bool refusesToInstall(const Paths& paths)
{
    if (!files().isFolder(paths.source))
        return refuses(QStringLiteral("ERROR -- Not an application folder: %@"), paths.source);
    if (!paths.destination.endsWith(QStringLiteral(".app")) || paths.destination == u"/")
        return refuses(QStringLiteral("ERROR -- Not an application bundle path: %@"), paths.destination);
    for (const QString& folder : {QStringLiteral("/"), files().resolvedPath(workspace().homeDirectory()),
                                  files().resolvedPath(workspace().localApplicationsDirectory()),
                                  files().resolvedPath(workspace().userApplicationsDirectory())}) {
        if (!folder.isEmpty() && paths.destination == folder)
            return refuses(QStringLiteral("ERROR -- Will not replace the folder %@"), paths.destination);
    }
    if (isInside(paths.destination, paths.source) || isInside(paths.source, paths.destination))
        return refuses(QStringLiteral("ERROR -- %@ and %@ lie inside each other"), paths.source, paths.destination);
    if (!paths.wrapper.isEmpty() &&
        (paths.targetFolder == paths.wrapper || isInside(paths.targetFolder, paths.wrapper) ||
         isInside(paths.source, paths.targetFolder)))
        return refuses(QStringLiteral("ERROR -- Wrapper %@ cannot be installed into %@"), paths.wrapper,
                       paths.targetFolder);
    return false;
}

int installWrapperItems(const QString& wrapper, const QString& targetFolder)
{
    if (!files().itemExists(targetFolder)) {
        if (!files().copyItem(wrapper, targetFolder)) {
            RVLog(QStringLiteral("ERROR -- Could not copy wrapper to %@"), targetFolder);
            return InstallResultCopyFailed;
        }
        workspace().noteFileSystemChanged(targetFolder);
        return InstallResultSuccess;
    }
    for (const QString& name : files().contentsOfDirectory(wrapper).value_or(QStringList())) {
        const QString itemSource = stringByAppendingPathComponent(wrapper, name);
        const QString itemTarget = stringByAppendingPathComponent(targetFolder, name);
        if (files().itemExists(itemTarget) && !files().removeItem(itemTarget))
            RVLog(QStringLiteral("ERROR -- Could not delete %@"), itemTarget);
        if (!files().copyItem(itemSource, itemTarget)) {
            RVLog(QStringLiteral("ERROR -- Could not copy auxiliary item to %@"), itemTarget);
            return InstallResultCopyFailed;
        }
        workspace().noteFileSystemChanged(itemTarget);
    }
    return InstallResultSuccess;
}

// The new copy is complete beside the destination before the previous one leaves: a
// failure at any step leaves the previous copy where it was.
int replaceProduct(const QString& source, const QString& destination, bool* untrusted)
{
    const QString staged = files().stageCopy(source, destination);
    if (staged.isNull()) {
        RVLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        return InstallResultCopyFailed;
    }
    // Decided on the very copy that will be renamed into place, not on the source.
    if (!verifyStagedCopy(staged, destination)) {
        files().discardStaged(staged);
        if (untrusted)
            *untrusted = true;
        return InstallResultCopyFailed;
    }
    const bool hadPrevious = files().itemExists(destination);
    if (hadPrevious &&
        !workspace().recycle(stringByDeletingLastPathComponent(destination), {lastPathComponent(destination)})) {
        files().discardStaged(staged);
        RVLog(QStringLiteral("ERROR -- Could not trash '%@'"), destination);
        RVLog(QStringLiteral("ERROR -- Could not trash existing %@"), destination);
        return InstallResultTrashFailed;
    }
    if (!files().moveIntoPlace(staged, destination)) {
        files().discardStaged(staged);
        if (hadPrevious && !workspace().putBackRecycled(destination))
            RVLog(QStringLiteral("ERROR -- Could not put the previous copy back at %@"), destination);
        RVLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        return InstallResultCopyFailed;
    }
    return InstallResultSuccess;
}

} // namespace

QString ResolvedDestination(const QString& destination)
{
    return stringByAppendingPathComponent(
        files().resolvedPath(stringByDeletingLastPathComponent(RVPaths::standardizedPath(destination))),
        lastPathComponent(destination));
}

int InstallApplication(const QString& source, const QString& destination, const QString& wrapper, bool* untrusted)
{
    const Paths paths = resolved(source, destination, wrapper);
    // Installing a product over itself would trash the only copy; there is nothing to do.
    if (files().fileExists(paths.destination) && files().isSameItem(paths.source, paths.destination))
        return InstallResultSuccess;
    if (refusesToInstall(paths))
        return InstallResultCopyFailed;

    // Two installations into one place take turns; the wrapper's may make the target folder.
    const QString lockedFolder =
        paths.wrapper.isEmpty() ? paths.targetFolder : stringByDeletingLastPathComponent(paths.targetFolder);
    const std::shared_ptr<void> lock = files().lockFolder(lockedFolder);
    if (!lock) {
        RVLog(QStringLiteral("ERROR -- Could not copy myself to %@"), paths.destination);
        return InstallResultCopyFailed;
    }
    files().removeAbandonedStaging(lockedFolder);
    if (lockedFolder != paths.targetFolder)
        files().removeAbandonedStaging(paths.targetFolder);

    if (!paths.wrapper.isEmpty()) {
        const int result = installWrapperItems(paths.wrapper, paths.targetFolder);
        if (result != InstallResultSuccess)
            return result;
    }
    const int result = replaceProduct(paths.source, paths.destination, untrusted);
    if (result == InstallResultSuccess)
        workspace().noteFileSystemChanged(paths.destination);
    return result;
}
