#include "RVAtspiObserver.h"

#include "RVAtspiAccessibility.h"

#include <QDBusReply>

namespace {

const QString kRegistryService = QStringLiteral("org.a11y.atspi.Registry");
const QString kRegistryPath = QStringLiteral("/org/a11y/atspi/registry");
const QString kRegistryInterface = QStringLiteral("org.a11y.atspi.Registry");
const QString kNullPath = QStringLiteral("/org/a11y/atspi/null");
constexpr int kCallTimeoutMs = 2000;

// "state-changed" is sent as "StateChanged".
QString camelCase(const QString& word)
{
    QString result;
    bool upper = true;
    for (const QChar c : word) {
        if (c == u'-') {
            upper = true;
            continue;
        }
        result += upper ? c.toUpper() : c;
        upper = false;
    }
    return result;
}

} // namespace

bool RVAtspiEventRegistry::retain(const QString& eventType)
{
    QMutexLocker lock(&m_mutex);
    if (m_counts.value(eventType) == 0 && !call(QStringLiteral("RegisterEvent"), eventType))
        return false;
    ++m_counts[eventType];
    return true;
}

void RVAtspiEventRegistry::release(const QString& eventType)
{
    QMutexLocker lock(&m_mutex);
    if (--m_counts[eventType] > 0)
        return;
    m_counts.remove(eventType);
    call(QStringLiteral("DeregisterEvent"), eventType);
}

bool RVAtspiEventRegistry::call(const QString& method, const QString& eventType)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kRegistryService, kRegistryPath, kRegistryInterface, method);
    call << eventType;
    return m_bus.call(call, QDBus::Block, kCallTimeoutMs).type() == QDBusMessage::ReplyMessage;
}

RVAtspiObserver::RVAtspiObserver(QDBusConnection bus, std::shared_ptr<RVAtspiEventRegistry> registry,
                                 RVAccessibleElement application, Callback callback)
    : m_bus(std::move(bus)), m_registry(std::move(registry)), m_application(std::move(application)),
      m_callback(std::move(callback))
{
}

RVAtspiObserver::~RVAtspiObserver()
{
    for (auto it = m_subscriptions.cbegin(); it != m_subscriptions.cend(); ++it) {
        disconnectMatch(it.value());
        m_registry->release(it.key());
    }
}

bool RVAtspiObserver::addNotification(const QString& notification)
{
    const QString eventType = RVAtspiAccessibility::eventTypeFor(notification);
    if (eventType.isEmpty())
        return false;
    auto existing = m_subscriptions.find(eventType);
    if (existing != m_subscriptions.end()) {
        if (!existing->notifications.contains(notification))
            existing->notifications << notification;
        return true;
    }
    const QStringList parts = eventType.split(u':');
    Subscription subscription;
    subscription.interface = QStringLiteral("org.a11y.atspi.Event.") + camelCase(parts.value(0));
    subscription.member = camelCase(parts.value(1).isEmpty() ? parts.value(0) : parts.value(1));
    subscription.detail = parts.mid(2).join(u':');
    subscription.notifications << notification;
    if (!m_registry->retain(eventType))
        return false;
    if (!matchUsedByOthers(eventType, subscription) && !connectMatch(subscription)) {
        m_registry->release(eventType);
        return false;
    }
    m_subscriptions.insert(eventType, subscription);
    return true;
}

void RVAtspiObserver::removeNotification(const QString& notification)
{
    for (auto it = m_subscriptions.begin(); it != m_subscriptions.end(); ++it) {
        if (!it->notifications.removeOne(notification))
            continue;
        if (it->notifications.isEmpty()) {
            if (!matchUsedByOthers(it.key(), it.value()))
                disconnectMatch(it.value());
            m_registry->release(it.key());
            m_subscriptions.erase(it);
        }
        return;
    }
}

// Event types that differ only in detail ("object:state-changed:focused" and
// "object:state-changed:selected") arrive as one signal and share one bus match.
bool RVAtspiObserver::matchUsedByOthers(const QString& eventType, const Subscription& subscription) const
{
    for (auto it = m_subscriptions.cbegin(); it != m_subscriptions.cend(); ++it) {
        if (it.key() != eventType && it->interface == subscription.interface && it->member == subscription.member)
            return true;
    }
    return false;
}

bool RVAtspiObserver::connectMatch(const Subscription& subscription)
{
    return m_bus.connect(m_application.busName, QString(), subscription.interface, subscription.member, this,
                         SLOT(onEvent(QDBusMessage)));
}

void RVAtspiObserver::disconnectMatch(const Subscription& subscription)
{
    m_bus.disconnect(m_application.busName, QString(), subscription.interface, subscription.member, this,
                     SLOT(onEvent(QDBusMessage)));
}

void RVAtspiObserver::onEvent(const QDBusMessage& message)
{
    // The sender filter of the match is only a hint to the bus; check it here too.
    if (message.service() != m_application.busName)
        return;
    const QString detail = message.arguments().value(0).toString();
    std::optional<RVAccessibleElement> element;
    if (!message.path().isEmpty() && message.path() != kNullPath)
        element = RVAccessibleElement{message.service(), message.path()};
    // Copied: a callback may add or remove notifications.
    const auto subscriptions = m_subscriptions;
    for (const Subscription& subscription : subscriptions) {
        if (subscription.interface != message.interface() || subscription.member != message.member())
            continue;
        if (!subscription.detail.isEmpty() && subscription.detail != detail)
            continue;
        for (const QString& notification : subscription.notifications)
            m_callback(element, notification);
    }
}
