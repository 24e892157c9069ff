#pragma once

// Real application bundles for tests: the small test program copied into
// <Name>.app/Contents/MacOS/<exe> with a generated Info.plist, and started as a real process.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <sys/types.h>

struct TestBundle
{
    QString name = {}; // "Demo" makes Demo.app
    QString executable = QStringLiteral("testapp");
    QString signature = {};              // empty: no CFBundleSignature
    QString identifier = {};
    QString shortVersion = {};
    QString bundleVersion = {};
    QString displayName = {};
    QString program = QStringLiteral(RV_TEST_APP); // copied in as the executable
};

// Writes the bundle into folder and answers its path.
inline QString makeTestBundle(const QString& folder, const TestBundle& bundle)
{
    const QString app = folder + u'/' + bundle.name + QStringLiteral(".app");
    QDir().mkpath(app + QStringLiteral("/Contents/MacOS"));
    QDir().mkpath(app + QStringLiteral("/Contents/Resources"));
    QString entries;
    auto add = [&](const char* key, const QString& value) {
        if (!value.isEmpty())
            entries += QStringLiteral("<key>%1</key><string>%2</string>\n")
                           .arg(QString::fromLatin1(key), value.toHtmlEscaped());
    };
    add("CFBundleExecutable", bundle.executable);
    add("CFBundleName", bundle.name);
    add("CFBundleSignature", bundle.signature);
    add("CFBundleIdentifier", bundle.identifier);
    add("CFBundleShortVersionString", bundle.shortVersion);
    add("CFBundleVersion", bundle.bundleVersion);
    add("CFBundleDisplayName", bundle.displayName);
    QFile info(app + QStringLiteral("/Contents/Info.plist"));
    if (info.open(QIODevice::WriteOnly)) {
        info.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n");
        info.write(entries.toUtf8());
        info.write("</dict></plist>\n");
    }
    const QString executable = app + QStringLiteral("/Contents/MacOS/") + bundle.executable;
    QFile::remove(executable);
    QFile::copy(bundle.program, executable);
    QFile::setPermissions(executable, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                          QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther |
                                          QFile::ExeOther);
    return app;
}

// A running test program; killed and reaped when it goes out of scope.
class RunningApp
{
public:
    RunningApp(const QString& bundle, const QString& executable, const QStringList& arguments = {},
               const QString& program = {})
    {
        m_process.setProgram(program.isEmpty() ? bundle + QStringLiteral("/Contents/MacOS/") + executable
                                               : program);
        m_process.setArguments(arguments);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start();
        m_process.waitForStarted(5000);
    }
    ~RunningApp()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    pid_t pid() const { return pid_t(m_process.processId()); }
    // Reads lines until one starts with prefix; empty when the program ended first.
    QString waitForLine(const QString& prefix, int milliseconds = 5000)
    {
        for (;;) {
            while (m_process.canReadLine()) {
                const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
                if (line.startsWith(prefix))
                    return line;
            }
            if (!m_process.waitForReadyRead(milliseconds))
                return {};
        }
    }
    bool waitForEnd(int milliseconds) { return m_process.waitForFinished(milliseconds); }
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
};
