#pragma once

#include "RVCoreOnly.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

// A program-wide notification: a name, the object it is about (by identity only; null for
// none) and user information.
struct RVNotification
{
    QString name;
    const void* object = nullptr;
    QVariantMap userInfo;
    // Keeps the object alive while the notification waits and is delivered.
    std::shared_ptr<const void> keepAlive = {};
};

// Observers by name and object. An observer registered without an object hears the name from
// any object. Posting delivers at once, on the posting thread, in the order of registration.
class RVNotificationCenter
{
public:
    using Observer = std::function<void(const RVNotification&)>;
    using Token = quint64;

    static RVNotificationCenter& defaultCenter();

    Token addObserver(const QString& name, const void* object, Observer observer);
    void removeObserver(Token token);
    void post(const RVNotification& notification);

private:
    struct Registration
    {
        Token token;
        QString name;
        const void* object;
        Observer observer;
    };
    std::mutex m_mutex;
    std::vector<Registration> m_registrations;
    Token m_next = 1;
};

// Notifications waiting to be posted when a thread's event loop is about to wait for more
// events; each thread has its own default queue. A notification with the same name and
// object as one already waiting is merged into it: a burst posts once, with the first one's
// user information.
class RVNotificationQueue
{
public:
    // The queue of the calling thread. Others may hold it (to enqueue from elsewhere) for
    // as long as they need it, the thread's end notwithstanding.
    static RVNotificationQueue& defaultQueue();
    static std::shared_ptr<RVNotificationQueue> defaultQueueShared();

    // From any thread; another thread's enqueue wakes the owner's loop so that it posts.
    // The owner needs an event loop (its idle hook is installed on first use).
    void enqueueWhenIdle(const RVNotification& notification);
    // Posts everything that waits (the idle hook calls this, on the owner's thread).
    void postPending();
    qsizetype pendingCount();

    RVNotificationQueue(const RVNotificationQueue&) = delete;
    RVNotificationQueue& operator=(const RVNotificationQueue&) = delete;
    ~RVNotificationQueue();

    explicit RVNotificationQueue(QThread* owner) : m_owner(owner) {}

private:
    QThread* const m_owner;
    std::mutex m_mutex;
    std::vector<RVNotification> m_pending;
    QPointer<QAbstractEventDispatcher> m_hookedTo; // the loop that posts for us
    QMetaObject::Connection m_hook;
};
