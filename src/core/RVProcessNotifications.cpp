#include "RVProcess.h"

#include "RVLog.h"
#include "RVNotificationCenter.h"
#include "RVPlatform.h"

#include <QAbstractEventDispatcher>
#include <QMetaObject>

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

void RVProcess::installAXObserver()
{
    if (m_axAppElem)
        return;
    const auto& accessibility = RVPlatform::current().services().accessibility;
    if (accessibility)
        m_axAppElem = accessibility->applicationElement(unixPID());
    if (!m_axAppElem) {
        RVLog(QStringLiteral("AX Notifications: Could not create application object for %@"), description());
        return;
    }
    // A failed observer leaves the element set, so that no later call tries again. Its
    // events are posted by this thread's queue, whatever thread reports them.
    const std::shared_ptr<RVNotificationQueue> queue = RVNotificationQueue::defaultQueueShared();
    m_axThread = QThread::currentThread();
    // The observer may report after the process has gone (it is torn down on its own
    // thread); a notification keeps the process until every observer has heard it.
    m_axObserver = accessibility->createObserver(
        *m_axAppElem, [weak = weak_from_this(), queue](const std::optional<RVAccessibleElement>& element,
                                                       const QString& name) {
            if (const Ptr process = weak.lock())
                notificationHandler(element, name, process, *queue);
        });
    if (!m_axObserver)
        RVLog(QStringLiteral("AX Notifications: Could not create observer for %@"), description());
}

void RVProcess::addAXNotification(const QString& name)
{
    installAXObserver();
    if (!m_axObserver || !m_axObserver->addNotification(name))
        RVLog(QStringLiteral("AX Notifications: Could not add notification %@ for %@"), name, description());
}

void RVProcess::removeAXNotification(const QString& name)
{
    if (m_axObserver)
        m_axObserver->removeNotification(name);
}

void RVProcess::unregisterAXNotifications()
{
    m_axAppElem.reset();
    if (!m_axObserver)
        return;
    // An observer belongs to the loop of the thread that made it; from elsewhere (the last
    // reference may drop on any thread) it is handed back there to be destroyed.
    QAbstractEventDispatcher* home = m_axThread ? QAbstractEventDispatcher::instance(m_axThread) : nullptr;
    if (home && QThread::currentThread() != m_axThread) {
        std::shared_ptr<RVAccessibilityObserver> observer(std::move(m_axObserver));
        // The only reference goes with the call: none may be left here to end it on this thread.
        QMetaObject::invokeMethod(home, [observer = std::move(observer)]() mutable { observer.reset(); },
                                  Qt::QueuedConnection);
    }
    m_axObserver.reset();
    m_axThread = nullptr;
}

void notificationHandler(const std::optional<RVAccessibleElement>& element, const QString& name,
                         const RVProcess::Ptr& process, RVNotificationQueue& queue)
{
    const QVariant elementValue = element ? QVariant::fromValue(*element) : QVariant(QStringLiteral(""));
    queue.enqueueWhenIdle({RVProcessUINotification, process.get(),
                           {{QStringLiteral("element"), elementValue}, {QStringLiteral("event"), name}},
                           process});
}
