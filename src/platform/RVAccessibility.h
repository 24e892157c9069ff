#pragma once

#include <QMetaType>
#include <QString>

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>

// One object of an application's accessibility tree: the application's connection on the
// accessibility bus and the object's path there.
struct RVAccessibleElement
{
    QString busName;
    QString path;

    bool operator==(const RVAccessibleElement&) const = default;
    QString description() const { return busName + path; }
};
Q_DECLARE_METATYPE(RVAccessibleElement)

// Watches interface events of one application. Callbacks come from the event loop of the
// thread that created the observer, so it must also be destroyed there.
class RVAccessibilityObserver
{
public:
    // The element is empty when the event names none.
    using Callback =
        std::function<void(const std::optional<RVAccessibleElement>& element, const QString& notification)>;

    virtual ~RVAccessibilityObserver() = default;

    // Notification names are the usual interface-event names ("AXFocusedWindowChanged", ...)
    // or the accessibility bus's own event types ("window:activate"). False when the name is
    // unknown or the application cannot be asked to send it.
    virtual bool addNotification(const QString& notification) = 0;
    virtual void removeNotification(const QString& notification) = 0;
};

class RVAccessibility
{
public:
    virtual ~RVAccessibility() = default;

    // The accessible application of a process; empty when there is no accessibility bus or
    // the process is not on it.
    virtual std::optional<RVAccessibleElement> applicationElement(pid_t pid) = 0;
    // Null when the application's events cannot be watched.
    virtual std::unique_ptr<RVAccessibilityObserver> createObserver(const RVAccessibleElement& application,
                                                                    RVAccessibilityObserver::Callback callback) = 0;
};
