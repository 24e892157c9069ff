#include "RVDesktopEntry.h"

#include "RVBundle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

#include <cerrno>

namespace {

const QString kReserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
const QString kApplicationIcon = QStringLiteral("application-x-executable");

// The largest image the icon file holds, written as PNG.
bool convertIcon(const QString& source, const QString& target)
{
    QImageReader reader(source);
    QImage best;
    for (int i = 0; i < std::max(1, reader.imageCount()); ++i) {
        if (i > 0 && !reader.jumpToImage(i))
            break;
        const QImage image = reader.read();
        if (!image.isNull() && image.width() * image.height() > best.width() * best.height())
            best = image;
    }
    return !best.isNull() && best.save(target, "PNG");
}

} // namespace

QString RVDesktopEntry::quoteExecArgument(const QString& argument)
{
    QString quoted = argument;
    quoted.replace(u'%', QStringLiteral("%%"));
    bool reserved = argument.isEmpty();
    for (QChar c : argument)
        reserved = reserved || kReserved.contains(c);
    if (!reserved)
        return quoted;
    QString inner;
    for (QChar c : quoted) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            inner += u'\\';
        inner += c;
    }
    return u'"' + inner + u'"';
}

QString RVDesktopEntry::escapeString(const QString& value)
{
    QString out;
    for (QChar c : value) {
        switch (c.unicode()) {
        case '\\': out += QStringLiteral("\\\\"); break;
        case '\n': out += QStringLiteral("\\n"); break;
        case '\t': out += QStringLiteral("\\t"); break;
        case '\r': out += QStringLiteral("\\r"); break;
        default: out += c;
        }
    }
    return out;
}

QString RVDesktopEntry::programOfExec(const QString& exec)
{
    // Undo the string escaping first, then the quoting of the first argument.
    QString value;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        if (exec[i] == u'\\' && i + 1 < exec.size()) {
            const QChar next = exec[++i];
            switch (next.unicode()) {
            case 's': value += u' '; break;
            case 'n': value += u'\n'; break;
            case 't': value += u'\t'; break;
            case 'r': value += u'\r'; break;
            case '\\': value += u'\\'; break;
            default: value += u'\\'; value += next; // an escape of the quoting level
            }
            continue;
        }
        value += exec[i];
    }
    value = value.trimmed();
    QString program;
    if (value.startsWith(u'"')) {
        for (qsizetype i = 1; i < value.size() && value[i] != u'"'; ++i) {
            if (value[i] == u'\\' && i + 1 < value.size())
                ++i;
            program += value[i];
        }
    } else {
        program = value.section(u' ', 0, 0);
    }
    return program.replace(QStringLiteral("%%"), QStringLiteral("%"));
}

QString RVDesktopEntry::themeIconFor(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return {};
    if ((info.isDir() && path.endsWith(QStringLiteral(".app"))) || (info.isFile() && info.isExecutable()))
        return kApplicationIcon;
    if (info.isDir())
        return QStringLiteral("folder");
    const QMimeType type = QMimeDatabase().mimeTypeForFile(info);
    return type.iconName().isEmpty() ? type.genericIconName() : type.iconName();
}

RVDesktopEntry::Registration RVDesktopEntry::registerBundle(const QString& bundlePath, const QString& dataHome)
{
    Registration result;
    const auto bundle = RVBundle::bundleWithPath(bundlePath);
    const QString executable = bundle ? bundle->executablePath() : QString();
    if (executable.isNull()) {
        result.status = ENOENT;
        return result;
    }
    QString id = bundle->bundleIdentifier();
    if (id.isEmpty())
        id = QStringLiteral("app.") + QFileInfo(bundlePath).completeBaseName();
    id.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._-]")), QStringLiteral("_"));
    QString name = bundle->objectForInfoDictionaryKey(QStringLiteral("CFBundleDisplayName")).toString();
    if (name.isEmpty())
        name = bundle->objectForInfoDictionaryKey(QStringLiteral("CFBundleName")).toString();
    if (name.isEmpty())
        name = QFileInfo(bundlePath).completeBaseName();

    const QString applications = dataHome + QStringLiteral("/applications");
    const QString icons = dataHome + QStringLiteral("/icons");
    QDir().mkpath(applications);
    QDir().mkpath(icons);
    const QString iconSource = bundle->iconFilePath();
    if (!iconSource.isEmpty() && convertIcon(iconSource, icons + u'/' + id + QStringLiteral(".png")))
        result.iconPath = icons + u'/' + id + QStringLiteral(".png");

    QString entry = QStringLiteral("[Desktop Entry]\nType=Application\nVersion=1.0\n");
    entry += QStringLiteral("Name=") + escapeString(name) + u'\n';
    entry += QStringLiteral("Exec=") + escapeString(quoteExecArgument(executable)) + u'\n';
    entry += QStringLiteral("TryExec=") + escapeString(executable) + u'\n';
    entry += QStringLiteral("Path=") + escapeString(QFileInfo(executable).path()) + u'\n';
    entry += QStringLiteral("Icon=") + escapeString(result.iconPath.isEmpty() ? kApplicationIcon : result.iconPath) + u'\n';
    entry += QStringLiteral("StartupWMClass=") + escapeString(QFileInfo(executable).fileName()) + u'\n';
    entry += QStringLiteral("Categories=Utility;\nTerminal=false\n");

    result.entryPath = applications + u'/' + id + QStringLiteral(".desktop");
    QSaveFile file(result.entryPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(entry.toUtf8()) < 0 || !file.commit()) {
        result.status = EIO;
        return result;
    }
    const QString updater = QStandardPaths::findExecutable(QStringLiteral("update-desktop-database"));
    if (!updater.isEmpty())
        QProcess::execute(updater, {applications});
    return result;
}
