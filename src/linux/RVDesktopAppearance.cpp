#include "RVDesktopAppearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFileInfo>

namespace {
constexpr int kPortalTimeoutMs = 1000;
constexpr uint kPreferDark = 1;
} // namespace

std::optional<bool> desktopPrefersDark()
{
    // Without a session bus to find, asking would start one (dbus-launch): there is no portal.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") &&
        (runtime.isEmpty() || !QFileInfo::exists(runtime + QStringLiteral("/bus"))))
        return std::nullopt;
    const QDBusConnection session = QDBusConnection::sessionBus();
    if (!session.isConnected())
        return std::nullopt;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    const QDBusMessage reply = session.call(call, QDBus::Block, kPortalTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    // Read wraps the value in one variant more than its signature says; unwrap them all.
    QVariant value = reply.arguments().constFirst();
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    bool isNumber = false;
    const uint scheme = value.toUInt(&isNumber);
    if (!isNumber)
        return std::nullopt;
    return scheme == kPreferDark;
}
