#include "RVDesktopEntry.h"

#include "RVBundle.h"
#include "RVFileRead.h"

#include <QBuffer>
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
#include <optional>

namespace {

const QString kReserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
const QString kApplicationIcon = QStringLiteral("application-x-executable");

// Icon files of several resolutions are a few megabytes; anything far bigger is not one.
constexpr qint64 kMaxIconSize = 64 * 1024 * 1024;
constexpr qint64 kMaxEntrySize = 1024 * 1024;
// What marks an entry or an icon as ours, with the bundle it stands for.
const QString kMark = QStringLiteral("X-Velmora-Bundle");

// The largest image the icon file holds, read without blocking on a FIFO or device.
QImage largestIcon(const QString& source)
{
    const auto bytes = RVFileRead::regularFile(source, kMaxIconSize);
    if (!bytes.data)
        return {};
    QBuffer buffer;
    buffer.setData(*bytes.data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, QFileInfo(source).suffix().toLatin1());
    QImage best;
    for (int i = 0; i < std::max(1, reader.imageCount()); ++i) {
        if (i > 0 && !reader.jumpToImage(i))
            break;
        const QImage image = reader.read();
        if (!image.isNull() && image.width() * image.height() > best.width() * best.height())
            best = image;
    }
    return best;
}

// The bundle path an entry or icon we wrote names; null for a file of someone else's (or
// none, or one that cannot be read).
std::optional<QString> markedBundle(const QString& path, bool isImage)
{
    const auto bytes = RVFileRead::regularFile(path, isImage ? kMaxIconSize : kMaxEntrySize);
    if (!bytes.data)
        return std::nullopt;
    if (isImage) {
        QBuffer buffer;
        buffer.setData(*bytes.data);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer, "png");
        const QStringList keys = reader.textKeys();
        return keys.contains(kMark) ? std::optional(reader.text(kMark)) : std::nullopt;
    }
    for (const QByteArray& line : bytes.data->split('\n')) {
        if (line.startsWith(kMark.toLatin1() + '='))
            return QString::fromUtf8(line.mid(kMark.size() + 1));
    }
    return std::nullopt;
}

// A file we may write at path: nothing is there, or ours for this bundle, or ours for a
// bundle that is gone.
bool isOursToWrite(const QString& path, const QString& bundlePath, bool isImage)
{
    if (!QFileInfo(path).exists() && !QFileInfo(path).isSymLink())
        return true;
    const auto bundle = markedBundle(path, isImage);
    const QString written = isImage ? bundlePath : RVDesktopEntry::escapeString(bundlePath);
    return bundle && (*bundle == written || !QFileInfo(*bundle).isDir());
}

bool writeAtomically(const QString& path, const QByteArray& data)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
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
    // A name whose entry and icon are free or ours: a user's own entry or icon of the same
    // name is never replaced.
    QString base = id;
    for (int n = 2; !isOursToWrite(applications + u'/' + base + QStringLiteral(".desktop"), bundle->bundlePath(), false) ||
                    !isOursToWrite(icons + u'/' + base + QStringLiteral(".png"), bundle->bundlePath(), true);
         ++n)
        base = id + QStringLiteral("-%1").arg(n);
    const QString iconSource = bundle->iconFilePath();
    if (!iconSource.isEmpty()) {
        QImage icon = largestIcon(iconSource);
        icon.setText(kMark, bundle->bundlePath());
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        if (!icon.isNull() && icon.save(&buffer, "PNG") && writeAtomically(icons + u'/' + base + QStringLiteral(".png"), png))
            result.iconPath = icons + u'/' + base + QStringLiteral(".png");
    }

    QString entry = QStringLiteral("[Desktop Entry]\nType=Application\nVersion=1.0\n");
    entry += QStringLiteral("Name=") + escapeString(name) + u'\n';
    entry += QStringLiteral("Exec=") + escapeString(quoteExecArgument(executable)) + u'\n';
    entry += QStringLiteral("TryExec=") + escapeString(executable) + u'\n';
    entry += QStringLiteral("Path=") + escapeString(QFileInfo(executable).path()) + u'\n';
    entry += QStringLiteral("Icon=") + escapeString(result.iconPath.isEmpty() ? kApplicationIcon : result.iconPath) + u'\n';
    entry += QStringLiteral("StartupWMClass=") + escapeString(QFileInfo(executable).fileName()) + u'\n';
    entry += QStringLiteral("Categories=Utility;\nTerminal=false\n");
    entry += kMark + u'=' + escapeString(bundle->bundlePath()) + u'\n';

    result.entryPath = applications + u'/' + base + QStringLiteral(".desktop");
    if (!writeAtomically(result.entryPath, entry.toUtf8())) {
        result.status = EIO;
        return result;
    }
    const QString updater = QStandardPaths::findExecutable(QStringLiteral("update-desktop-database"));
    if (!updater.isEmpty())
        QProcess::execute(updater, {applications});
    return result;
}
