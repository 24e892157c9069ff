#include "RVProcess.h"

#include "RVNotificationCenter.h"
#include "RVPlatform.h"

#include <atomic>

const QString RVProcessChangeNotification = QStringLiteral("RVProcessChangeNotification");
const QString RVProcessUINotification = QStringLiteral("RVProcessUINotification");

namespace {

std::atomic<bool> g_notificationsInstalled{false};
std::atomic<std::uint64_t> g_appLaunchEndCount{0};
const char g_classTag = 0;

} // namespace

const void* RVProcess::classObject()
{
    return &g_classTag;
}

void RVProcess::installNotifications()
{
    if (g_notificationsInstalled.exchange(true))
        return;
    // The handler stays for the life of the program; nothing keeps a way to remove it.
    if (const auto& events = RVPlatform::current().services().applicationEvents)
        events->watchApplications(ApplicationStartEndHandler);
}

void RVProcess::applicationStarted()
{
    ++g_appLaunchEndCount;
}

void RVProcess::applicationEnded()
{
    cleanupCache();
    ++g_appLaunchEndCount;
}

std::uint64_t RVProcess::applicationLaunchEndCount()
{
    return g_appLaunchEndCount;
}

void RVProcess::resetNotificationsForTesting()
{
    g_notificationsInstalled = false;
    g_appLaunchEndCount = 0;
}

int ApplicationStartEndHandler(RVOSType /*eventClass*/, std::uint32_t kind)
{
    QString change;
    switch (kind) {
    case RVApplicationEvents::kFrontSwitched: change = QStringLiteral("front"); break;
    case RVApplicationEvents::kTerminated:
        RVProcess::applicationEnded();
        change = QStringLiteral("ended");
        break;
    case RVApplicationEvents::kLaunched:
        RVProcess::applicationStarted();
        change = QStringLiteral("started");
        break;
    default: change = QStringLiteral(""); break;
    }
    RVNotificationQueue::defaultQueue().enqueueWhenIdle(
        {RVProcessChangeNotification, RVProcess::classObject(), {{QStringLiteral("change"), change}}});
    return 0;
}
