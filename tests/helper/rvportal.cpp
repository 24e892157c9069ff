// A stand-in for the desktop's settings portal on the session bus: answers
// org.freedesktop.portal.Settings.Read for org.freedesktop.appearance color-scheme with the
// number given as the only argument, the way the real portal does (a variant in a variant).
// Prints "ready" once it owns its name.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>

#include <cstdio>

class Settings : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    explicit Settings(uint scheme) : m_scheme(scheme) {}

public slots:
    QDBusVariant Read(const QString& nameSpace, const QString& key)
    {
        if (nameSpace != QStringLiteral("org.freedesktop.appearance") || key != QStringLiteral("color-scheme")) {
            sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"), QStringLiteral("no such key"));
            return {};
        }
        return QDBusVariant(QVariant::fromValue(QDBusVariant(m_scheme)));
    }

private:
    uint m_scheme;
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Settings settings(argc > 1 ? QByteArray(argv[1]).toUInt() : 0);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &settings,
                            QDBusConnection::ExportAllSlots) ||
        !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")))
        return 1;
    std::puts("ready");
    std::fflush(stdout);
    return app.exec();
}

#include "rvportal.moc"
