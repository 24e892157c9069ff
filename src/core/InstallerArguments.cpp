#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"

void InstallerWinController::extractArguments()
{
    if (m_arguments)
        return;
    const QStringList list = RVPlatform::current().systemFacts().processArguments();
    RVLog(QStringLiteral("arguments: %@"), list);
    m_arguments = RVInstallerArguments::fromArgumentList(list);
    // Every rule after this derives names and folders from these paths: they enter in one
    // form, whatever the caller typed ("/x/A.app/", "//x/./A.app", a relative path).
    for (const QString& key : {RVInstallerKeySourcePath, RVInstallerKeyDestinationPath, RVInstallerKeyWrapperPath,
                               RVInstallerKeyReadMePath, RVInstallerKeyDocumentationPath, RVInstallerKeyIconPath}) {
        if (m_arguments->contains(key))
            m_arguments->setString(key, RVPaths::standardizedPath(m_arguments->string(key)));
    }
}
