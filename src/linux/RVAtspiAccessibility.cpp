#include "RVAtspiAccessibility.h"

#include "RVAtspiObserver.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QHash>

namespace {

const QString kConnectionName = QStringLiteral("velmora-accessibility");
constexpr int kCallTimeoutMs = 2000;

// The usual interface-event names and the bus's event types that carry the same news.
const QHash<QString, QString>& eventTypesByName()
{
    static const QHash<QString, QString> table{
        {QStringLiteral("AXApplicationActivated"), QStringLiteral("window:activate")},
        {QStringLiteral("AXApplicationDeactivated"), QStringLiteral("window:deactivate")},
        {QStringLiteral("AXMainWindowChanged"), QStringLiteral("window:activate")},
        {QStringLiteral("AXFocusedWindowChanged"), QStringLiteral("window:activate")},
        {QStringLiteral("AXFocusedUIElementChanged"), QStringLiteral("object:state-changed:focused")},
        {QStringLiteral("AXWindowCreated"), QStringLiteral("window:create")},
        {QStringLiteral("AXUIElementDestroyed"), QStringLiteral("window:destroy")},
        {QStringLiteral("AXWindowMiniaturized"), QStringLiteral("window:minimize")},
        {QStringLiteral("AXWindowDeminiaturized"), QStringLiteral("window:restore")},
        {QStringLiteral("AXWindowMoved"), QStringLiteral("window:move")},
        {QStringLiteral("AXWindowResized"), QStringLiteral("window:resize")},
        {QStringLiteral("AXTitleChanged"), QStringLiteral("object:property-change:accessible-name")},
        {QStringLiteral("AXValueChanged"), QStringLiteral("object:property-change:accessible-value")},
        {QStringLiteral("AXSelectedChildrenChanged"), QStringLiteral("object:selection-changed")},
        {QStringLiteral("AXSelectedTextChanged"), QStringLiteral("object:text-selection-changed")},
    };
    return table;
}

} // namespace

QString RVAtspiAccessibility::busAddress()
{
    const QString fromEnvironment = qEnvironmentVariable("AT_SPI_BUS_ADDRESS");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    const QDBusConnection session = QDBusConnection::sessionBus();
    if (!session.isConnected())
        return {};
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"), QStringLiteral("org.a11y.Bus"),
        QStringLiteral("GetAddress"));
    const QDBusReply<QString> reply = session.call(call, QDBus::Block, kCallTimeoutMs);
    return reply.isValid() ? reply.value() : QString();
}

RVAtspiAccessibility::~RVAtspiAccessibility()
{
    if (m_link)
        QDBusConnection::disconnectFromBus(kConnectionName);
}

QString RVAtspiAccessibility::eventTypeFor(const QString& notification)
{
    const QString mapped = eventTypesByName().value(notification);
    if (!mapped.isEmpty())
        return mapped;
    // "class:kind[:detail]", as in "window:activate" or "focus:".
    const QStringList parts = notification.split(u':');
    if (parts.size() < 2 || parts.size() > 3 || parts[0].isEmpty())
        return {};
    for (const QString& part : parts) {
        for (const QChar c : part) {
            if (!(c.isLower() || c.isDigit() || c == u'-'))
                return {};
        }
    }
    return notification;
}

std::optional<RVAtspiAccessibility::Link> RVAtspiAccessibility::link()
{
    QMutexLocker lock(&m_mutex);
    if (m_link && m_link->bus.isConnected())
        return m_link;
    if (m_link)
        QDBusConnection::disconnectFromBus(kConnectionName);
    m_link.reset();
    const QString address = busAddress();
    if (address.isEmpty())
        return std::nullopt;
    QDBusConnection connection = QDBusConnection::connectToBus(address, kConnectionName);
    if (!connection.isConnected()) {
        QDBusConnection::disconnectFromBus(kConnectionName);
        return std::nullopt;
    }
    m_link = Link{connection, std::make_shared<RVAtspiEventRegistry>(connection)};
    return m_link;
}

std::optional<RVAccessibleElement> RVAtspiAccessibility::applicationElement(pid_t pid)
{
    const auto connection = link();
    if (!connection)
        return std::nullopt;
    // The registry's desktop holds one child per accessible application.
    const QDBusMessage children = connection->bus.call(
        QDBusMessage::createMethodCall(QStringLiteral("org.a11y.atspi.Registry"),
                                       QStringLiteral("/org/a11y/atspi/accessible/root"),
                                       QStringLiteral("org.a11y.atspi.Accessible"), QStringLiteral("GetChildren")),
        QDBus::Block, kCallTimeoutMs);
    for (const RVAccessibleElement& application : elementsIn(children)) {
        const QDBusReply<uint> owner = connection->bus.interface()->servicePid(application.busName);
        if (owner.isValid() && static_cast<pid_t>(owner.value()) == pid)
            return application;
    }
    return std::nullopt;
}

std::vector<RVAccessibleElement> RVAtspiAccessibility::elementsIn(const QDBusMessage& reply)
{
    std::vector<RVAccessibleElement> elements;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return elements;
    const QDBusArgument list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        RVAccessibleElement element;
        QDBusObjectPath path;
        list.beginStructure();
        list >> element.busName >> path;
        list.endStructure();
        element.path = path.path();
        elements.push_back(element);
    }
    list.endArray();
    return elements;
}

std::unique_ptr<RVAccessibilityObserver> RVAtspiAccessibility::createObserver(
    const RVAccessibleElement& application, RVAccessibilityObserver::Callback callback)
{
    const auto connection = link();
    if (!connection || application.busName.isEmpty())
        return nullptr;
    // An application that has left the bus sends nothing more.
    const QDBusReply<bool> present = connection->bus.interface()->isServiceRegistered(application.busName);
    if (!present.isValid() || !present.value())
        return nullptr;
    return std::make_unique<RVAtspiObserver>(connection->bus, connection->registry, application, std::move(callback));
}
