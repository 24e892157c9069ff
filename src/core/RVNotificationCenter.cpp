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

std::shared_ptr<RVNotificationQueue> RVNotificationQueue::defaultQueueShared()
{
    thread_local const auto queue = std::make_shared<RVNotificationQueue>(QThread::currentThread());
    return queue;
}

RVNotificationQueue& RVNotificationQueue::defaultQueue()
{
    return *defaultQueueShared();
}

RVNotificationQueue::~RVNotificationQueue()
{
    if (m_hookedTo)
        QObject::disconnect(m_hook);
}

void RVNotificationQueue::enqueueWhenIdle(const RVNotification& notification)
{
    std::lock_guard lock(m_mutex);
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance(m_owner);
    if (dispatcher && m_hookedTo != dispatcher) {
        // The dispatcher lives in the owner's thread, so the hook runs there.
        m_hook = QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, dispatcher,
                                  [this] { postPending(); });
        m_hookedTo = dispatcher;
    }
    const bool merged = std::any_of(m_pending.begin(), m_pending.end(), [&](const RVNotification& waiting) {
        return waiting.name == notification.name && waiting.object == notification.object;
    });
    if (!merged)
        m_pending.push_back(notification);
    // A loop that is already waiting would not reach its idle point until something else
    // happened.
    if (dispatcher && QThread::currentThread() != m_owner)
        dispatcher->wakeUp();
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
