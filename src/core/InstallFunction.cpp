#include "InstallFunction.h"

#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"

#include <QDir>

namespace {

RVFileManager& files()
{
    return RVPlatform::current().fileManager();
}

RVWorkspace& workspace()
{
    return RVPlatform::current().workspace();
}

bool isInside(const QString& path, const QString& folder)
{
    const QString cleanFolder = QDir::cleanPath(folder);
    return QDir::cleanPath(path).startsWith(cleanFolder + u'/');
}

int installWrapperItems(const QString& wrapper, const QString& targetFolder)
{
    if (!files().fileExists(targetFolder)) {
        if (!files().copyItem(wrapper, targetFolder)) {
            RVLog(QStringLiteral("ERROR -- Could not copy wrapper to %@"), targetFolder);
            return InstallResultCopyFailed;
        }
        workspace().noteFileSystemChanged(targetFolder);
        return InstallResultSuccess;
    }
    for (const QString& name : files().contentsOfDirectory(wrapper).value_or(QStringList())) {
        const QString itemSource = wrapper + u'/' + name;
        const QString itemTarget = targetFolder + u'/' + name;
        if (files().fileExists(itemTarget) && !files().removeItem(itemTarget))
            RVLog(QStringLiteral("ERROR -- Could not delete %@"), itemTarget);
        if (!files().copyItem(itemSource, itemTarget)) {
            RVLog(QStringLiteral("ERROR -- Could not copy auxiliary item to %@"), itemTarget);
            return InstallResultCopyFailed;
        }
        workspace().noteFileSystemChanged(itemTarget);
    }
    return InstallResultSuccess;
}

} // namespace

int InstallApplication(const QString& source, const QString& destination, const QString& wrapper)
{
    // Installing a product over itself would trash the only copy; there is nothing to do.
    if (files().fileExists(destination) && files().isSameItem(source, destination))
        return InstallResultSuccess;
    // A destination inside the source would copy itself forever.
    if (isInside(destination, source)) {
        RVLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        return InstallResultCopyFailed;
    }

    if (!wrapper.isEmpty()) {
        const int result = installWrapperItems(wrapper, RVPaths::folderOf(destination));
        if (result != InstallResultSuccess)
            return result;
    }

    if (files().fileExists(destination) &&
        !workspace().recycle(RVPaths::folderOf(destination), {RVPaths::lastComponent(destination)})) {
        RVLog(QStringLiteral("ERROR -- Could not trash '%@'"), destination);
        RVLog(QStringLiteral("ERROR -- Could not trash existing %@"), destination);
        return InstallResultTrashFailed;
    }

    if (!files().copyItem(source, destination)) {
        RVLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        return InstallResultCopyFailed;
    }
    workspace().noteFileSystemChanged(destination);
    return InstallResultSuccess;
}
