#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"
#include "RVProcess.h"

namespace {

// "????" is what every bundle without a signature reads as, and 0 what a code that does
// not convert gives: neither names an application, so neither may quit one.
bool namesAnApplication(RVOSType code)
{
    return code != 0 && code != RVFourCC("????");
}

} // namespace

bool InstallerWinController::signatureIsInArray(RVOSType code, const QStringList* list)
{
    if (!list || list->size() < 1 || !namesAnApplication(code))
        return false;
    for (const QString& entry : *list) {
        if (RVOSTypeFromString(entry) == code)
            return true;
    }
    return false;
}

void InstallerWinController::dropCodesThatNameNoApplication()
{
    const QStringList codes = m_arguments->list(RVInstallerKeyQuitCode);
    m_arguments->remove(RVInstallerKeyQuitCode);
    for (const QString& code : codes) {
        if (namesAnApplication(RVOSTypeFromString(code)))
            m_arguments->appendToList(RVInstallerKeyQuitCode, code);
        else
            RVLog(QStringLiteral("quit code '%@' names no application; left out"), code);
    }
}

bool InstallerWinController::mustQuit(const RVProcess::Ptr& process, const QStringList& quitCodes,
                                      const QString& productIdentifier)
{
    if (signatureIsInArray(process->signature(), &quitCodes))
        return true;
    // A running copy of the product, whatever its signature.
    if (!productIdentifier.isEmpty() && process->identifier() == productIdentifier)
        return true;
    const QString destination = argument(RVInstallerKeyDestinationPath);
    const QString path = process->path();
    return !destination.isEmpty() && !path.isEmpty() &&
           (RVPaths::standardizedPath(path) == RVPaths::standardizedPath(destination) ||
            RVPaths::standardizedPath(path) == RVPlatform::current().fileManager().resolvedPath(destination));
}

QString InstallerWinController::processToQuitStillRunning()
{
    const QStringList quitCodes = m_arguments ? m_arguments->list(RVInstallerKeyQuitCode) : QStringList();
    const QString identifier = productInfo().value(QStringLiteral("CFBundleIdentifier")).toString();
    const RVProcess::Ptr own = RVProcess::currentProcess();
    for (const RVProcess::Ptr& process : RVProcess::allProcesses()) {
        if (!process->isEqual(own.get()) && mustQuit(process, quitCodes, identifier)) {
            RVLog(QStringLiteral("Still running '%@': %@"), process->signatureString(), process->name());
            return process->name();
        }
    }
    return {};
}

void InstallerWinController::quitProcesses()
{
    const QStringList quitCodes = m_arguments ? m_arguments->list(RVInstallerKeyQuitCode) : QStringList();
    const QString identifier = productInfo().value(QStringLiteral("CFBundleIdentifier")).toString();
    const RVProcess::Ptr own = RVProcess::currentProcess();
    const auto processes = RVProcess::allProcesses();
    for (const RVProcess::Ptr& process : processes) {
        // Closing the window or SIGTERM: no further request to anyone.
        if (isStopping())
            return;
        if (process->isEqual(own.get()) || !mustQuit(process, quitCodes, identifier))
            continue;
        RVLog(QStringLiteral("Quitting '%@': %@"), process->signatureString(), process->name());
        process->quit([this] { return isStopping(); });
        RVPlatform::current().clock().sleepMicroseconds(100'000);
    }
}
