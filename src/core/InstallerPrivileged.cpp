#include "InstallerWinController.h"

#include "InstallFunction.h"
#include "InstallSignature.h"
#include "RVBundle.h"
#include "RVInstallerInterface.h"
#include "RVLog.h"
#include "RVPlatform.h"
#include "RVProcess.h"

#include <QMetaObject>

#include <functional>

namespace {

constexpr int kLaunchRetries = 10;

void sleepSeconds(double seconds)
{
    RVPlatform::current().clock().sleepMicroseconds(unsigned(seconds * 1e6));
}

// Blanks and tabs, as the platform's white-space set has them.
QString trimmedOfBlanks(const QString& text)
{
    qsizetype start = 0, end = text.size();
    while (start < end && (text[start] == u' ' || text[start] == u'\t'))
        ++start;
    while (end > start && (text[end - 1] == u' ' || text[end - 1] == u'\t'))
        --end;
    return text.mid(start, end - start);
}

// A session that is quitting registers the product but does not wait to launch it.
void registerAndLaunch(const QString& destination, const std::function<bool()>& stopping)
{
    RVWorkspace& workspace = RVPlatform::current().workspace();
    RVLog(QStringLiteral("launching %@"), destination);
    sleepSeconds(0.5);
    RVLog(QStringLiteral("registered app: %d"), workspace.registerApplication(destination));
    sleepSeconds(0.1);
    // The icon is not used; asking gives the desktop time to take note of the new bundle.
    if (workspace.iconForFile(destination).isNull() && !stopping()) {
        RVLog(QStringLiteral("did not get icon"));
        sleepSeconds(1.0);
        RVLog(QStringLiteral("retry; %@"), workspace.iconForFile(destination).isNull()
                                               ? QStringLiteral("failed")
                                               : QStringLiteral("succeeded"));
    }
    bool launched = workspace.openApplication(destination);
    RVLog(QStringLiteral("launched immediately: %d"), int(launched));
    for (int attempt = 0; !launched && attempt < kLaunchRetries && !stopping(); ++attempt) {
        sleepSeconds(0.5);
        RVLog(QStringLiteral("retry opening"));
        launched = workspace.openApplication(destination);
        RVLog(QStringLiteral("launched: %d"), int(launched));
    }
}

} // namespace

void InstallerWinController::animateProgressOnMainThread(const QString& flag)
{
    QMetaObject::invokeMethod(this, "animateProgress", Qt::QueuedConnection, Q_ARG(QString, flag));
}

QString InstallerWinController::installMyselfInDestination()
{
    const QString source = argument(RVInstallerKeySourcePath);
    const QString destination = argument(RVInstallerKeyDestinationPath);
    const QString wrapper = argument(RVInstallerKeyWrapperPath);

    m_noAuthenticationAgent = false;
    m_untrustedCopy = false;
    if (isStopping())
        return QStringLiteral(""); // the user quit before the copy began
    const bool writable = canWriteToPath(destination);
    const bool optionHeld = RVPlatform::current().windowSystem().isOptionKeyDown();
    bool privileged = !writable;
    if (optionHeld) {
        RVLog(QStringLiteral("enforcing authorization"));
        privileged = true;
    }
    if (!privileged) {
        const int result = InstallApplication(source, destination, wrapper, &m_untrustedCopy);
        if (m_untrustedCopy)
            return QString::fromLatin1(kUntrustedCopyMessage);
        if (result == InstallResultTrashFailed)
            return QStringLiteral("Could not delete existing copy.");
        if (result != InstallResultSuccess)
            return QStringLiteral("Installation failed.");
    } else {
        bool canceled = false;
        if (!authorizedInstallToWrapCanceled(source, destination, wrapper, &canceled)) {
            if (canceled) {
                RVLog(QStringLiteral("User canceled authorization"));
                return QStringLiteral("");
            }
            RVLog(QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization"));
            if (m_untrustedCopy)
                return QString::fromLatin1(kUntrustedCopyMessage);
            return QStringLiteral("Authorized copying failed.");
        }
    }

    RVLog(QStringLiteral("successfully copied"));
    RVPlatform::current().workspace().noteFileSystemChanged(destination);
    registerAndLaunch(destination, [this] { return isStopping(); });
    if (const RVProcess::Ptr own = RVProcess::currentProcess())
        own->setFrontProcessFrontWindowOnly();
    return {};
}

bool InstallerWinController::authorizedInstallToWrapCanceled(const QString& source,
                                                             const QString& destination,
                                                             const QString& wrapper, bool* canceled)
{
    if (canceled)
        *canceled = false;
    if (trimmedOfBlanks(destination).isEmpty() || trimmedOfBlanks(source).isEmpty())
        return false;

    // The administrator dialog is the system's; the animation must not run behind it.
    animateProgressOnMainThread(QString());
    const auto bundle = RVBundle::mainBundle();
    const QString tool = bundle ? bundle->pathForResourceOfType(QStringLiteral("train"), QString()) : QString();
    // The tool trusts no link in any path; the links of the user's own paths are resolved
    // here, on the user's side.
    RVFileManager& files = RVPlatform::current().fileManager();
    QStringList arguments{files.resolvedPath(source), ResolvedDestination(destination)};
    if (!wrapper.isEmpty())
        arguments << files.resolvedPath(wrapper);

    // The dialog and the tool are one step: the animation runs again once the tool runs,
    // that is once the rights were given. After a refusal it stays stopped.
    bool toolStarted = false;
    int toolStatus = 0;
    const int status = AuthorizedExecute(
        tool, arguments,
        [this, &toolStarted] {
            toolStarted = true;
            animateProgressOnMainThread(QStringLiteral("YES"));
        },
        &toolStatus);
    m_untrustedCopy = status != 0 && toolStarted && toolStatus == kTrainExitUntrusted;
    if (status == kAuthorizationCanceled && canceled)
        *canceled = true;
    m_noAuthenticationAgent = status == kAuthorizationInteractionNotAllowed;
    const bool refused = status == kAuthorizationCanceled || status == kAuthorizationDenied || m_noAuthenticationAgent;
    if (!toolStarted && !refused)
        animateProgressOnMainThread(QStringLiteral("YES")); // a tool too quick to be seen working
    return status == 0;
}

int AuthorizedExecute(const QString& tool, const QStringList& arguments, const std::function<void()>& toolStarted,
                      int* exitStatus)
{
    const RVAuthorization::Outcome outcome =
        RVPlatform::current().authorization().executeWithPrivileges(tool, arguments, toolStarted);
    if (exitStatus)
        *exitStatus = outcome.kind == RVAuthorization::Outcome::Kind::Finished && outcome.exited ? outcome.status : 0;
    switch (outcome.kind) {
    case RVAuthorization::Outcome::Kind::Cancelled:
        return kAuthorizationCanceled;
    case RVAuthorization::Outcome::Kind::NotAuthorized:
        return kAuthorizationDenied;
    case RVAuthorization::Outcome::Kind::NoAgent:
        return kAuthorizationInteractionNotAllowed;
    case RVAuthorization::Outcome::Kind::NotStarted:
        RVLog(QStringLiteral("AuthorizationExecuteWithPrivileges failed (%s)"), tool);
        return outcome.error != 0 ? outcome.error : kAuthorizationToolExecuteFailure;
    case RVAuthorization::Outcome::Kind::Unobserved:
        // A tool whose end cannot be seen counts as having done its work.
        RVLog(QStringLiteral("no pid"));
        return 0;
    case RVAuthorization::Outcome::Kind::Finished:
        break;
    }
    if (!outcome.exited) {
        RVLog(QStringLiteral("!WIFEXITED"));
        return -1;
    }
    if (outcome.status != 0) {
        RVLog(QStringLiteral("WEXITSTATUS"));
        return -1;
    }
    return 0;
}
