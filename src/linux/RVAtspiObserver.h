#pragma once

#include "RVAccessibility.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>
#include <QObject>
#include <QMutex>
#include <QStringList>

#include <memory>

// The registry's list of events anyone on our connection listens to. Applications send only
// events that are on it; counted, since observers of several processes share the connection.
class RVAtspiEventRegistry
{
public:
    explicit RVAtspiEventRegistry(QDBusConnection bus) : m_bus(std::move(bus)) {}
    bool retain(const QString& eventType);
    void release(const QString& eventType);

private:
    bool call(const QString& method, const QString& eventType);

    QDBusConnection m_bus;
    QMutex m_mutex;
    QHash<QString, int> m_counts;
};

// The events of one accessible application. Each event type is asked of the registry (so
// that applications start sending it) and matched on the bus by its sender.
class RVAtspiObserver : public QObject, public RVAccessibilityObserver
{
    Q_OBJECT
public:
    RVAtspiObserver(QDBusConnection bus, std::shared_ptr<RVAtspiEventRegistry> registry,
                    RVAccessibleElement application, Callback callback);
    ~RVAtspiObserver() override;

    bool addNotification(const QString& notification) override;
    void removeNotification(const QString& notification) override;

private slots:
    void onEvent(const QDBusMessage& message);

private:
    struct Subscription
    {
        QString interface;
        QString member;
        QString detail;          // "focused" of "object:state-changed:focused"; empty for any
        QStringList notifications; // the names asked for, each delivered on its own
    };
    bool connectMatch(const Subscription& subscription);
    void disconnectMatch(const Subscription& subscription);
    bool matchUsedByOthers(const QString& eventType, const Subscription& subscription) const;

    QDBusConnection m_bus;
    const std::shared_ptr<RVAtspiEventRegistry> m_registry;
    const RVAccessibleElement m_application;
    const Callback m_callback;
    QHash<QString, Subscription> m_subscriptions; // by event type
};
