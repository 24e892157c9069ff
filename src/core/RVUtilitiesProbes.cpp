#include "RVUtilities.h"

#include "RVBundle.h"
#include "RVFormat.h"
#include "RVLog.h"
#include "RVPlatform.h"
#include "RVProcess.h"

#include <QDir>

#include <atomic>

namespace {

// Set true when the menu bar is hidden and false when it shows again: the inverted name is
// the system's own.
std::atomic<bool> menuBarIsShown{false};
std::atomic<bool> menuBarEventHandlerSet{false};
constexpr int eventNotHandledErr = -9874;

RVLaunchEnvironment& environment()
{
    return RVPlatform::current().launchEnvironment();
}

// Components as the system splits a path: the root "/" first, then each name.
QStringList pathComponents(const QString& path)
{
    QStringList components = path.split(u'/', Qt::SkipEmptyParts);
    if (path.startsWith(u'/'))
        components.prepend(QStringLiteral("/"));
    return components;
}

int MonitorMenuBarEventHandler(RVOSType eventClass, std::uint32_t kind)
{
    if (eventClass == RVApplicationEvents::kClassMenu) {
        if (kind == RVApplicationEvents::kMenuBarHidden)
            menuBarIsShown = true;
        else if (kind == RVApplicationEvents::kMenuBarShown)
            menuBarIsShown = false;
    }
    return eventNotHandledErr; // others still see the event
}

void InstallMenuBarEventMonitor()
{
    if (menuBarEventHandlerSet.exchange(true))
        return;
    const auto& events = RVPlatform::current().services().applicationEvents;
    if (!events || !events->watchMenuBar(MonitorMenuBarEventHandler))
        RVLog(QStringLiteral("could not install menu bar visibility event handl)"));
}

bool sameProcess(const RVProcess::Ptr& a, const RVProcess::Ptr& b)
{
    return a == b || (a && b && a->isEqual(b.get()));
}

// Checks up to 500 times, a millisecond apart, until done answers true.
template <typename Done>
void waitUpTo500Checks(Done done)
{
    for (int check = 0; check < 500; ++check) {
        if (done())
            return;
        RVPlatform::current().clock().sleepMicroseconds(1000);
    }
}

} // namespace

bool RVUtilities::runningFromDistributionDisk()
{
    const QString path = RVBundle::mainBundlePath();
    const QStringList components = pathComponents(path);
    if (!path.startsWith(QStringLiteral("/Volumes/")) || components.size() < 3)
        return false;
    return RVPlatform::current().fileManager().fileExists(
        RVFormat(QStringLiteral("/Volumes/%@/launchlock"), {components[2]}));
}

bool RVUtilities::installationMode()
{
    if (runningFromDistributionDisk())
        return true;
    const QString path = RVBundle::mainBundlePath();
    return path.contains(QStringLiteral("/AppTranslocation/")) || path.contains(QStringLiteral("/var/tmp/"));
}

QString RVUtilities::resolvedAlias(const QString& path)
{
    return environment().aliasTarget(path).value_or(path);
}

bool RVUtilities::wasLaunchedByProcess(const QString& creator)
{
    const QString launcher = environment().launcherCreator();
    return !launcher.isEmpty() && launcher == creator;
}

bool RVUtilities::wasLaunchedAsLoginItem()
{
    return wasLaunchedByProcess(QStringLiteral("lgnw"));
}

QString RVUtilities::fileSystemTypeFor(const QString& path)
{
    RVLog(QStringLiteral("FS Info %@"), path);
    const RVLaunchEnvironment::FileSystemInfo info = environment().fileSystemInfo(path);
    RVLog(QStringLiteral("statfs err = %d"), info.result);
    return info.result == 0 ? info.typeName : QStringLiteral("");
}

float RVUtilities::idleTime()
{
    const std::optional<std::uint64_t> nanoseconds = environment().idleNanoseconds();
    return nanoseconds ? float(double(*nanoseconds) / 1e9) : -1.0f;
}

bool RVUtilities::darkMenuTheme()
{
    if (!yosemiteOrNewer())
        return false;
    const QVariant style = RVPlatform::current().userDefaults().valueForKey(QStringLiteral("AppleInterfaceStyle"));
    return style.isValid() && style.toString() == QStringLiteral("Dark");
}

bool RVUtilities::fullScreenMode()
{
    InstallMenuBarEventMonitor();
    return menuBarIsShown;
}

bool RVUtilities::displayIsZoomed()
{
    return false;
}

QString RVUtilities::systemTintImage()
{
    QString base;
    if (yosemiteOrNewer())
        base = darkMenuTheme() ? QStringLiteral("tintYosDark") : QStringLiteral("tintYos");
    else
        base = QStringLiteral("tintMav");
    const QString tint = environment().controlTint() == 1 ? QStringLiteral("Blue") : QStringLiteral("Graphite");
    const auto bundle = RVBundle::mainBundle();
    return bundle ? bundle->pathForResourceOfType(base + tint, QStringLiteral("png")) : QString();
}

bool RVUtilities::debugging()
{
    return environment().isTraced();
}

void RVUtilities::launchMicro(bool skipEarlyRestore)
{
    if (fullScreenMode())
        return;
    const RVProcess::Ptr previous = RVProcess::frontProcess();
    const auto bundle = RVBundle::mainBundle();
    const QString micro = bundle ? bundle->pathForResourceOfType(QStringLiteral("Micro"), QStringLiteral("app")) : QString();
    // A bundle is opened by launching it; the desktop's opener would show its folder.
    if (!micro.isNull())
        RVPlatform::current().workspace().openApplication(micro);
    waitUpTo500Checks([&] { return !sameProcess(RVProcess::frontProcess(), previous); });
    if (previous) {
        previous->wakeUp();
        RVPlatform::current().clock().sleepMicroseconds(1);
        previous->wakeUp();
        if (!skipEarlyRestore)
            previous->setFrontProcessFrontWindowOnly();
    }
    waitUpTo500Checks([&] { return sameProcess(RVProcess::frontProcess(), previous); });
    if (previous) {
        previous->setFrontProcessFrontWindowOnly();
        previous->wakeUp();
    }
}

void RVUtilities::resetMenuBarMonitor()
{
    menuBarEventHandlerSet = false;
    menuBarIsShown = false;
}
