#include "RVLinuxLaunchEnvironment.h"

#include "RVX11Connection.h"

#include <QColor>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPalette>

#include <xcb/screensaver.h>

#include <cstdlib>
#include <sys/statfs.h>
#include <unistd.h>

namespace {

QByteArray readProcFile(const char* path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ? file.read(1024 * 1024) : QByteArray();
}

// Mount points in mountinfo escape space, tab, newline and backslash as octal.
QString unescapeMountPoint(const QByteArray& field)
{
    QByteArray out;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int value = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                out.append(char(value));
                i += 3;
                continue;
            }
        }
        out.append(field[i]);
    }
    return QFile::decodeName(out);
}

bool isInside(const QString& path, const QString& mountPoint)
{
    if (mountPoint == QStringLiteral("/"))
        return true;
    return path == mountPoint || path.startsWith(mountPoint + u'/');
}

// Started by the desktop's autostart: systemd's generated autostart units, or a session
// manager that marks what it starts.
bool startedByAutostart(pid_t parent, RVProcessTable& table)
{
    if (readProcFile("/proc/self/cgroup").contains("@autostart.service"))
        return true;
    return qEnvironmentVariableIsSet("DESKTOP_AUTOSTART_ID") && !table.processForPID(parent);
}

} // namespace

RVLinuxLaunchEnvironment::RVLinuxLaunchEnvironment(std::shared_ptr<RVProcessTable> table) : m_table(std::move(table)) {}

QString RVLinuxLaunchEnvironment::launcherCreator()
{
    const pid_t parent = ::getppid();
    if (startedByAutostart(parent, *m_table))
        return QStringLiteral("lgnw");
    const auto psn = m_table->processForPID(parent);
    const auto info = psn ? m_table->informationDictionary(*psn) : std::nullopt;
    return info ? info->value(QStringLiteral("FileCreator")).toString() : QString();
}

QString RVLinuxLaunchEnvironment::mountTypeFor(const QString& path, const QByteArray& mountInfo)
{
    QString type;
    qsizetype longest = -1;
    for (const QByteArray& line : mountInfo.split('\n')) {
        // id parent major:minor root mountpoint options [optional...] - type source super
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf("-");
        if (fields.size() < 5 || separator < 0 || separator + 1 >= fields.size())
            continue;
        const QString mountPoint = unescapeMountPoint(fields[4]);
        // The deepest mount point wins; of equal ones the later, which covers the earlier.
        if (isInside(path, mountPoint) && mountPoint.size() >= longest) {
            longest = mountPoint.size();
            type = QString::fromUtf8(fields[separator + 1]);
        }
    }
    return type;
}

RVLaunchEnvironment::FileSystemInfo RVLinuxLaunchEnvironment::fileSystemInfo(const QString& path)
{
    FileSystemInfo info;
    struct statfs buffer{};
    info.result = ::statfs(QFile::encodeName(path).constData(), &buffer) == 0 ? 0 : -1;
    if (info.result == 0)
        info.typeName = mountTypeFor(QFileInfo(path).canonicalFilePath(), readProcFile("/proc/self/mountinfo"));
    return info;
}

std::optional<std::uint64_t> RVLinuxLaunchEnvironment::idleNanoseconds()
{
    const auto c = RVX11Connection::acquire();
    if (!c)
        return std::nullopt;
    // A request of an extension the server lacks would make xcb close the shared connection.
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c->xcb(), &xcb_screensaver_id);
    if (!extension || !extension->present)
        return std::nullopt;
    xcb_screensaver_query_info_reply_t* reply = xcb_screensaver_query_info_reply(
        c->xcb(), xcb_screensaver_query_info(c->xcb(), c->root()), nullptr);
    if (!reply)
        return std::nullopt;
    const std::uint64_t nanoseconds = std::uint64_t(reply->ms_since_user_input) * 1000000u;
    free(reply);
    return nanoseconds;
}

int RVLinuxLaunchEnvironment::controlTint()
{
    // A grey selection colour is the graphite look; any coloured one counts as blue.
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return 1;
    const QColor highlight = QGuiApplication::palette().color(QPalette::Highlight);
    return highlight.hsvSaturation() < 40 ? 6 : 1;
}

bool RVLinuxLaunchEnvironment::isTraced()
{
    for (const QByteArray& line : readProcFile("/proc/self/status").split('\n')) {
        if (line.startsWith("TracerPid:"))
            return line.mid(10).trimmed().toInt() != 0;
    }
    return false;
}

std::optional<QString> RVLinuxLaunchEnvironment::aliasTarget(const QString& path)
{
    const QFileInfo link(path);
    if (!link.isSymLink())
        return std::nullopt;
    const QString target = link.canonicalFilePath();
    return target.isEmpty() ? std::nullopt : std::optional<QString>(target);
}
