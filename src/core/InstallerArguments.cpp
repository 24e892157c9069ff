#include "InstallerWinController.h"

#include "RVLog.h"
#include "RVPlatform.h"

void InstallerWinController::extractArguments()
{
    if (m_arguments)
        return;
    const QStringList list = RVPlatform::current().systemFacts().processArguments();
    RVLog(QStringLiteral("arguments: %@"), list);
    m_arguments = RVInstallerArguments::fromArgumentList(list);
}
