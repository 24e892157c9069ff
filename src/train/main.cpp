// train: the privileged copy tool. pkexec starts it as root with a cleared environment in
// root's home, and whoever asks chooses its arguments, so it trusts none of them: absolute
// paths without "..", a real .app folder as the source, the installer's wrapper rule, a
// destination in an applications folder or over a copy of the same product (never in the
// system's folders), an invoking user (PKEXEC_UID) who exists, and no symbolic link in any
// component of any path (the user may own a folder on the way and swap it for a link at
// any moment). It runs the installer's own copy procedure, with its refusals; what it
// installs is root's, without set-id bits or special files, and the previous copy goes to
// the Trash of the user who asked.
// The new copy's signature is checked here, on the copy root staged, against the key of
// the copy it replaces.
#include "InstallFunction.h"
#include "InstallSignature.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVLog.h"
#include "RVPlatform.h"
#include "RVSafePath.h"
#include "RVTrainChecks.h"

#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>

#include <pwd.h>
#include <sys/stat.h>

namespace {

constexpr int kUsage = 64;

bool isPlainAbsolutePath(const QString& path)
{
    if (!path.startsWith(u'/') || path.contains(u'\0'))
        return false;
    for (const QString& part : path.split(u'/', Qt::SkipEmptyParts)) {
        if (part == u".." || part == u".")
            return false;
    }
    return true;
}

bool isRealAppFolder(const QString& path)
{
    struct stat info {};
    return path.endsWith(QStringLiteral(".app")) &&
           ::lstat(QFile::encodeName(path).constData(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

int main(int argc, char* argv[])
{
    RVLogging::setProcessName(QStringLiteral("train"));
    RVSafePath::setLinksTrusted(false);
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromUtf8(argv[i]);
    if (arguments.size() < 2 || arguments.size() > 3) {
        RVLog(QStringLiteral("usage: train source destination [wrapper]"));
        return kUsage;
    }
    for (const QString& path : arguments) {
        if (!isPlainAbsolutePath(path)) {
            RVLog(QStringLiteral("refusing path %@: absolute paths without \"..\" only"), path);
            return kUsage;
        }
    }
    const QString source = QDir::cleanPath(arguments[0]);
    const QString destination = QDir::cleanPath(arguments[1]);
    const QString wrapper = arguments.size() > 2 ? QDir::cleanPath(arguments[2]) : QString();
    if (!isRealAppFolder(source)) {
        RVLog(QStringLiteral("refusing source %@: not an application folder"), source);
        return kUsage;
    }

    uid_t user = 0;
    QString refusal = RVTrainChecks::refusalOfInvokingUser(qgetenv("PKEXEC_UID"), &user);
    if (refusal.isNull())
        refusal = RVTrainChecks::refusalOfWrapper(source, destination, wrapper);
    auto workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(), QStringLiteral("/Applications"));
    if (refusal.isNull()) {
        const struct passwd* entry = ::getpwuid(user);
        const QString home = entry ? QDir::cleanPath(QFile::decodeName(entry->pw_dir)) : QString();
        QStringList applications{workspace->localApplicationsDirectory(),
                                 home.isEmpty() ? QString() : home + QStringLiteral("/Applications")};
        // Started by root itself, not through pkexec (whose environment is its own), root's
        // environment may name the applications folder, as it does for the installer.
        if (qgetenv("PKEXEC_UID").isNull())
            applications << QDir::cleanPath(qEnvironmentVariable("VELMORA_APPLICATIONS_DIR"));
        refusal = RVTrainChecks::refusalOfDestination(source, destination, applications, home);
    }
    if (!refusal.isNull()) {
        RVLog(QStringLiteral("refusing: %@"), refusal);
        return kUsage;
    }

    RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(RVCopyOwner::Root), .workspace = workspace});
    bool untrusted = false;
    const int result = InstallApplication(source, destination, wrapper, &untrusted);
    RVLog(QStringLiteral("install %@ -> %@: %d"), source, destination, result);
    return untrusted ? kTrainExitUntrusted : result;
}
