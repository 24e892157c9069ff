#include "InstallFunction.h"

#include "InstallSignature.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"

#include <algorithm>

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

// The home Trash ($XDG_DATA_HOME/Trash), a volume's .Trash/$uid or .Trash-$uid, the
// Trash of macOS: emptying it would delete the product.
bool isInAnyTrash(const QString& path)
{
    const QStringList folders = stringByDeletingLastPathComponent(path).split(u'/', Qt::SkipEmptyParts);
    return std::any_of(folders.begin(), folders.end(), [](const QString& name) {
        return name == u"Trash" || name == u".Trash" || name.startsWith(QStringLiteral(".Trash-"));
    });
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
    if (isInAnyTrash(paths.destination))
        return refuses(QStringLiteral("ERROR -- Will not install into the Trash: %@"), paths.destination);
    if (isInside(paths.destination, paths.source) || isInside(paths.source, paths.destination))
        return refuses(QStringLiteral("ERROR -- %@ and %@ lie inside each other"), paths.source, paths.destination);
    if (!paths.wrapper.isEmpty() &&
        (paths.targetFolder == paths.wrapper || isInside(paths.targetFolder, paths.wrapper) ||
         isInside(paths.source, paths.targetFolder)))
        return refuses(QStringLiteral("ERROR -- Wrapper %@ cannot be installed into %@"), paths.wrapper,
                       paths.targetFolder);
    return false;
}

// Puts a staged copy at target. An item already there leaves in the same step and goes to
// the Trash from where the exchange put it, recorded under target; when the Trash refuses
// it, it is put back and the copy discarded. Answers whether the copy is in place, and in
// trashFailed whether the Trash refused.
bool placeStaged(const QString& staged, const QString& target, bool* trashFailed)
{
    *trashFailed = false;
    if (!files().itemExists(target)) {
        if (files().moveIntoPlace(staged, target))
            return true;
        files().discardStaged(staged);
        return false;
    }
    const QString previous = files().exchangeIntoPlace(staged, target);
    if (previous.isNull()) {
        files().discardStaged(staged);
        return false;
    }
    if (!workspace().recycleReplaced(previous, target)) {
        *trashFailed = true;
        if (!files().putBackExchanged(previous, target))
            RVLog(QStringLiteral("ERROR -- Could not put the previous copy back at %@"), target);
        files().discardStaged(staged);
        return false;
    }
    files().discardStaged(staged);
    return true;
}

// The wrapper's items beside the product. An item of the product's own name is left to
// the product's step, so that the previous copy, not the wrapper's, goes to the Trash.
int installWrapperItems(const QString& wrapper, const QString& targetFolder, const QString& productName)
{
    if (!files().itemExists(targetFolder)) {
        const QString staged = files().stageCopy(wrapper, targetFolder);
        if (!staged.isNull())
            files().removeItem(stringByAppendingPathComponent(staged, productName)); // our own copy's
        if (staged.isNull() || !files().moveIntoPlace(staged, targetFolder)) {
            if (!staged.isNull())
                files().discardStaged(staged);
            RVLog(QStringLiteral("ERROR -- Could not copy wrapper to %@"), targetFolder);
            return InstallResultCopyFailed;
        }
        workspace().noteFileSystemChanged(targetFolder);
        return InstallResultSuccess;
    }
    for (const QString& name : files().contentsOfDirectory(wrapper).value_or(QStringList())) {
        if (name == productName)
            continue;
        const QString itemTarget = stringByAppendingPathComponent(targetFolder, name);
        const QString staged = files().stageCopy(stringByAppendingPathComponent(wrapper, name), itemTarget);
        bool trashFailed = false;
        if (staged.isNull() || !placeStaged(staged, itemTarget, &trashFailed)) {
            // The replaced item goes to the Trash, not away; when it cannot, it stays.
            if (trashFailed)
                RVLog(QStringLiteral("ERROR -- Could not delete %@"), itemTarget);
            RVLog(QStringLiteral("ERROR -- Could not copy auxiliary item to %@"), itemTarget);
            return InstallResultCopyFailed;
        }
        workspace().noteFileSystemChanged(itemTarget);
    }
    return InstallResultSuccess;
}

// The new copy is complete beside the destination, and its signature checked, before the
// previous one leaves, and one exchange puts it in place: a failure at any step leaves the
// previous copy where it was, and no instant is without a product there.
int replaceProduct(const QString& source, const QString& destination, bool* untrusted)
{
    // Step 1: the staged copy, complete.
    const QString staged = files().stageCopy(source, destination);
    if (staged.isNull()) {
        RVLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        return InstallResultCopyFailed;
    }

    // Decided on the very copy that will be exchanged into place, not on the source.
    if (!verifyStagedCopy(staged, destination)) {
        files().discardStaged(staged);
        if (untrusted)
            *untrusted = true;
        return InstallResultCopyFailed;
    }

    // Step 2: the previous copy out (to the Trash) and the staged copy in, as one.
    bool trashFailed = false;
    if (!placeStaged(staged, destination, &trashFailed)) {
        if (trashFailed) {
            RVLog(QStringLiteral("ERROR -- Could not trash '%@'"), destination);
            RVLog(QStringLiteral("ERROR -- Could not trash existing %@"), destination);
            return InstallResultTrashFailed;
        }
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
    // Installing a product over itself would trash the only copy; there is nothing to do. A
    // link to the source at the destination is not the product: it goes, a copy comes.
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
        const int result = installWrapperItems(paths.wrapper, paths.targetFolder, lastPathComponent(paths.destination));
        if (result != InstallResultSuccess)
            return result;
    }
    const int result = replaceProduct(paths.source, paths.destination, untrusted);
    if (result == InstallResultSuccess)
        workspace().noteFileSystemChanged(paths.destination);
    return result;
}
