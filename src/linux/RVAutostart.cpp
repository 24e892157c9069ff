#include "RVAutostart.h"

#include "RVBundle.h"
#include "RVDesktopEntry.h"
#include "RVFileRead.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QStandardPaths>

namespace {

QMap<QString, QString> desktopGroup(const QString& path)
{
    QMap<QString, QString> values;
    const auto bytes = RVFileRead::regularFile(path, 1024 * 1024);
    bool inGroup = false;
    for (const QByteArray& raw : bytes.data.value_or(QByteArray()).split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.startsWith(u'[')) {
            inGroup = line == u"[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (inGroup && equals > 0 && !line.startsWith(u'#'))
            values.insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
    }
    return values;
}

QString resolveProgram(const QString& program)
{
    if (program.isEmpty())
        return {};
    const QString path = program.contains(u'/') ? program : QStandardPaths::findExecutable(program);
    const QString real = QFileInfo(path).canonicalFilePath();
    return real.isEmpty() ? QString() : RVBundle::enclosingAppFolder(QFileInfo(real).path());
}

} // namespace

QStringList RVAutostart::loginItems(const QString& configHome, const QStringList& configDirs)
{
    QMap<QString, QString> entries; // file name → path; the first folder wins
    QStringList folders{configHome + QStringLiteral("/autostart")};
    for (const QString& dir : configDirs)
        folders << dir + QStringLiteral("/autostart");
    for (const QString& folder : folders) {
        const QDir dir(folder);
        for (const QString& name : dir.entryList({QStringLiteral("*.desktop")}, QDir::Files, QDir::Name)) {
            if (!entries.contains(name))
                entries.insert(name, dir.filePath(name));
        }
    }
    QStringList items;
    for (const QString& path : entries) {
        const auto group = desktopGroup(path);
        if (group.value(QStringLiteral("Hidden")) == u"true")
            continue;
        QString app = resolveProgram(RVDesktopEntry::programOfExec(group.value(QStringLiteral("Exec"))));
        if (app.isNull())
            app = resolveProgram(group.value(QStringLiteral("TryExec")));
        if (!app.isNull())
            items << app;
    }
    return items;
}

QStringList RVAutostart::loginItems()
{
    QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (configHome.isEmpty() || !QDir::isAbsolutePath(configHome))
        configHome = QDir::homePath() + QStringLiteral("/.config");
    QStringList configDirs = qEnvironmentVariable("XDG_CONFIG_DIRS").split(u':', Qt::SkipEmptyParts);
    if (configDirs.isEmpty())
        configDirs << QStringLiteral("/etc/xdg");
    return loginItems(configHome, configDirs);
}
