#pragma once

#include "RVAccessibility.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QMutex>

#include <vector>

class RVAtspiEventRegistry;

// Accessibility on AT-SPI, the desktop's accessibility bus. The bus is found through
// AT_SPI_BUS_ADDRESS or the session bus's org.a11y.Bus, and connected to on first use.
class RVAtspiAccessibility : public RVAccessibility
{
public:
    RVAtspiAccessibility() = default;
    ~RVAtspiAccessibility() override;

    std::optional<RVAccessibleElement> applicationElement(pid_t pid) override;
    std::unique_ptr<RVAccessibilityObserver> createObserver(const RVAccessibleElement& application,
                                                            RVAccessibilityObserver::Callback callback) override;

    // The elements of a reply that lists them (a(so): bus name and object path), as
    // GetChildren answers; empty for an error.
    static std::vector<RVAccessibleElement> elementsIn(const QDBusMessage& reply);

    // The accessibility bus's address: AT_SPI_BUS_ADDRESS, else the session bus's answer;
    // empty when there is none.
    static QString busAddress();

    // The bus's event type for a notification name ("AXWindowCreated" is "window:create");
    // names that already are event types stand for themselves. Empty when unknown.
    static QString eventTypeFor(const QString& notification);

private:
    // The connection to the accessibility bus and the event registry on it, made on first
    // use and again after the bus went away; empty while there is none.
    struct Link
    {
        QDBusConnection bus;
        std::shared_ptr<RVAtspiEventRegistry> registry;
    };
    std::optional<Link> link();

    QMutex m_mutex;
    std::optional<Link> m_link;
};
