#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVLog.h"
#include "RVPlatform.h"
#include "RVProcess.h"

bool InstallerWinController::signatureIsInArray(RVOSType code, const QStringList* list)
{
    if (!list || list->size() < 1)
        return false;
    for (const QString& entry : *list) {
        if (RVOSTypeFromString(entry) == code)
            return true;
    }
    return false;
}

QString InstallerWinController::processToQuitStillRunning()
{
    const QStringList quitCodes = m_arguments ? m_arguments->list(RVInstallerKeyQuitCode) : QStringList();
    const RVProcess::Ptr own = RVProcess::currentProcess();
    for (const RVProcess::Ptr& process : RVProcess::allProcesses()) {
        if (signatureIsInArray(process->signature(), &quitCodes) && !process->isEqual(own.get())) {
            RVLog(QStringLiteral("Still running '%@': %@"), process->signatureString(), process->name());
            return process->name();
        }
    }
    return {};
}

void InstallerWinController::quitProcesses()
{
    const QStringList quitCodes = m_arguments ? m_arguments->list(RVInstallerKeyQuitCode) : QStringList();
    const RVProcess::Ptr own = RVProcess::currentProcess();
    const auto processes = RVProcess::allProcesses();
    for (const RVProcess::Ptr& process : processes) {
        if (!signatureIsInArray(process->signature(), &quitCodes) || process->isEqual(own.get()))
            continue;
        RVLog(QStringLiteral("Quitting '%@': %@"), process->signatureString(), process->name());
        process->quit();
        RVPlatform::current().clock().sleepMicroseconds(100'000);
    }
}
