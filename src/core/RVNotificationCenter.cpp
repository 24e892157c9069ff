#include "RVNotificationCenter.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <algorithm>

RVNotificationCenter& RVNotificationCenter::defaultCenter()
{
    static RVNotificationCenter center;
    return center;
}

RVNotificationCenter::Token RVNotificationCenter::addObserver(const QString& name, const void* object,
                                                             Observer observer)
{
    std::lock_guard lock(m_mutex);
    const Token token = m_next++;
    m_registrations.push_back({token, name, object, std::move(observer)});
    return token;
}

void RVNotificationCenter::removeObserver(Token token)
{
    std::lock_guard lock(m_mutex);
    std::erase_if(m_registrations, [token](const Registration& r) { return r.token == token; });
}

void RVNotificationCenter::post(const RVNotification& notification)
{
    std::vector<Observer> observers;
    {
        std::lock_guard lock(m_mutex);
        for (const Registration& r : m_registrations) {
            if (r.name == notification.name && (!r.object || r.object == notification.object))
                observers.push_back(r.observer);
        }
    }
    // Outside the lock: an observer may add or remove observers.
    for (const Observer& observer : observers)
        observer(notification);
}

RVNotificationQueue& RVNotificationQueue::defaultQueue()
{
    static RVNotificationQueue queue;
    return queue;
}

void RVNotificationQueue::installIdleHook()
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return;
    // The hook belongs to the main thread's dispatcher, so it is made there.
    QMetaObject::invokeMethod(application, [this, application] {
        if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance(application->thread()))
            QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, application,
                             [this] { postPending(); });
    });
}

void RVNotificationQueue::enqueueWhenIdle(const RVNotification& notification)
{
    std::lock_guard lock(m_mutex);
    if (m_hookedTo != QCoreApplication::instance()) {
        installIdleHook();
        m_hookedTo = QCoreApplication::instance();
    }
    const bool merged = std::any_of(m_pending.begin(), m_pending.end(), [&](const RVNotification& waiting) {
        return waiting.name == notification.name && waiting.object == notification.object;
    });
    if (!merged)
        m_pending.push_back(notification);
}

void RVNotificationQueue::postPending()
{
    std::vector<RVNotification> due;
    {
        std::lock_guard lock(m_mutex);
        due.swap(m_pending);
    }
    for (const RVNotification& notification : due)
        RVNotificationCenter::defaultCenter().post(notification);
}

qsizetype RVNotificationQueue::pendingCount()
{
    std::lock_guard lock(m_mutex);
    return qsizetype(m_pending.size());
}
