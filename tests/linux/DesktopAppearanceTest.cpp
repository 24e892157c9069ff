#include "RVLinuxUserDefaults.h"
#include "TempDir.h"
#include "TestApplication.h"
#include "TestApps.h"

#include <QProcess>
#include <QSettings>

#include <gtest/gtest.h>

namespace {

// A session bus of the test's own, set as the bus of this process before anything uses one.
class PrivateSessionBus
{
public:
    PrivateSessionBus()
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        if (m_daemon.waitForReadyRead(5000))
            m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
    }
    ~PrivateSessionBus()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
    bool running() const { return !m_address.isEmpty(); }

private:
    QProcess m_daemon;
    QString m_address;
};

// The desktop's colour scheme, served by a stand-in portal over a real session bus, decides
// the global "AppleInterfaceStyle"; without a portal the global domain's file does.
TEST(DesktopAppearance, ThePortalsColourSchemeIsTheGlobalInterfaceStyle)
{
    TestApplication app;
    TempDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.running());
    {
        QSettings global(RVLinuxUserDefaults::domainFilePath(RVLinuxUserDefaults::globalDomain), QSettings::IniFormat);
        global.setValue(QStringLiteral("AppleInterfaceStyle"), QStringLiteral("Light"));
    }
    const RVLinuxUserDefaults defaults({QStringLiteral("/x/VelmoraInstaller")}, QStringLiteral("com.example.own"));
    const QString key = QStringLiteral("AppleInterfaceStyle");
    EXPECT_EQ(defaults.valueForKey(key).toString(), QStringLiteral("Light")) << "no portal: the file";

    const struct
    {
        const char* scheme;
        QVariant expected;
    } cases[] = {{"1", QStringLiteral("Dark")}, {"2", QVariant()}, {"0", QVariant()}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.scheme);
        QProcess portal;
        portal.start(QStringLiteral(RV_PORTAL), {QString::fromLatin1(c.scheme)});
        ASSERT_TRUE(portal.waitForReadyRead(5000));
        EXPECT_EQ(defaults.valueForKey(key), c.expected);
        EXPECT_EQ(defaults.valueForKeyInDomain(key, RVLinuxUserDefaults::globalDomain), c.expected);
        portal.kill();
        portal.waitForFinished();
    }
    qunsetenv("XDG_CONFIG_HOME");
}

} // namespace
