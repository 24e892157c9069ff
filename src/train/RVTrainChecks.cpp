#include "RVTrainChecks.h"

#include "RVBundle.h"
#include "RVPaths.h"

#include <QStringList>

#include <pwd.h>
#include <unistd.h>

using RVPaths::isInside;
using RVPaths::lastPathComponent;
using RVPaths::stringByDeletingLastPathComponent;

namespace RVTrainChecks {

namespace {

bool isSameOrInside(const QString& path, const QString& folder)
{
    return path == folder || isInside(path, folder);
}

QString executableName(const RVBundle& bundle)
{
    const QString named = bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleExecutable")).toString();
    return named.isEmpty() ? bundle.objectForInfoDictionaryKey(QStringLiteral("NSExecutable")).toString() : named;
}

bool isSameProduct(const QString& a, const QString& b)
{
    const auto first = RVBundle::bundleWithPath(a);
    const auto second = RVBundle::bundleWithPath(b);
    if (!first || !second)
        return false;
    if (!first->bundleIdentifier().isEmpty() || !second->bundleIdentifier().isEmpty())
        return first->bundleIdentifier() == second->bundleIdentifier();
    return !executableName(*first).isEmpty() && executableName(*first) == executableName(*second);
}

} // namespace

QString refusalOfInvokingUser(const QByteArray& pkexecUid, uid_t* user)
{
    *user = ::getuid();
    if (pkexecUid.isNull())
        return {};
    bool ok = false;
    const uint uid = pkexecUid.toUInt(&ok);
    const struct passwd* entry = ok ? ::getpwuid(uid_t(uid)) : nullptr;
    if (!entry || entry->pw_dir[0] != '/')
        return QStringLiteral("PKEXEC_UID %1 names no user with a home").arg(QString::fromLatin1(pkexecUid));
    *user = uid_t(uid);
    return {};
}

QString refusalOfWrapper(const QString& source, const QString& destination, const QString& wrapper)
{
    if (wrapper.isEmpty())
        return {};
    if (!isSameOrInside(wrapper, stringByDeletingLastPathComponent(source)))
        return QStringLiteral("wrapper %1 does not lie in the source's folder").arg(wrapper);
    if (lastPathComponent(stringByDeletingLastPathComponent(destination)) != lastPathComponent(wrapper))
        return QStringLiteral("the folder of %1 does not bear the wrapper's name").arg(destination);
    return {};
}

QString refusalOfDestination(const QString& source, const QString& destination, const QStringList& applicationFolders,
                             const QString& home)
{
    static const QStringList systemFolders = {
        QStringLiteral("/bin"),  QStringLiteral("/boot"), QStringLiteral("/dev"),   QStringLiteral("/etc"),
        QStringLiteral("/lib"),  QStringLiteral("/lib32"), QStringLiteral("/lib64"), QStringLiteral("/libx32"),
        QStringLiteral("/proc"), QStringLiteral("/root"), QStringLiteral("/run"),   QStringLiteral("/sbin"),
        QStringLiteral("/sys"),  QStringLiteral("/usr"),  QStringLiteral("/var"),   QStringLiteral("/snap")};
    // A home under /var (/var/home on atomic desktops) is the user's, not the system's.
    const bool inHome = !home.isEmpty() && home != u"/" && isInside(destination, home);
    for (const QString& folder : systemFolders) {
        if (isInside(destination, folder) && !inHome)
            return QStringLiteral("%1 lies in the system folder %2").arg(destination, folder);
    }
    for (const QString& folder : applicationFolders) {
        if (!folder.isEmpty() && isInside(destination, folder))
            return {};
    }
    if (isSameProduct(source, destination))
        return {};
    return QStringLiteral("%1 is neither in an applications folder nor a copy of this product").arg(destination);
}

} // namespace RVTrainChecks
