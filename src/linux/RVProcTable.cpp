#include "RVProcTable.h"

#include "RVBundle.h"
#include "RVFileRead.h"
#include "RVInterpretedProgram.h"
#include "RVResourceFork.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

// Where files copied from a Mac keep their resource fork on Linux file systems.
constexpr char kResourceForkAttribute[] = "user.com.apple.ResourceFork";

QByteArray readSmallFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    return file.read(64 * 1024);
}

QString withoutAppSuffix(const QString& path)
{
    QString name = QFileInfo(path).fileName();
    if (name.endsWith(QStringLiteral(".app")))
        name.chop(4);
    return name;
}

std::uint32_t low32(unsigned long long value)
{
    return std::uint32_t(value & 0xffffffffu);
}

} // namespace

RVProcTable::RVProcTable(const QString& procRoot)
    : m_procRoot(procRoot), m_ownPid(::getpid()), m_uid(::getuid())
{
    m_ticksPerSecond = std::max(1L, ::sysconf(_SC_CLK_TCK));
    for (const QByteArray& line : readSmallFile(m_procRoot + QStringLiteral("/stat")).split('\n')) {
        if (line.startsWith("btime "))
            m_bootTime = line.mid(6).trimmed().toDouble();
    }
}

std::optional<RVProcTable::Stat> RVProcTable::parseStat(const QByteArray& text)
{
    // The command name may hold spaces and parentheses; the fields start after the last ')'.
    const qsizetype close = text.lastIndexOf(')');
    if (close < 0)
        return std::nullopt;
    const QList<QByteArray> fields = text.mid(close + 2).split(' ');
    // fields[0] is field 3 of the file (state); field N is fields[N - 3].
    if (fields.size() < 20)
        return std::nullopt;
    Stat stat;
    bool okParent = false, okUser = false, okStart = false;
    stat.state = fields[0].isEmpty() ? '?' : fields[0][0];
    stat.parent = pid_t(fields[1].toInt(&okParent));
    stat.userTicks = fields[11].toULongLong(&okUser);
    stat.startTicks = fields[19].toULongLong(&okStart);
    if (!okParent || !okUser || !okStart)
        return std::nullopt;
    return stat;
}

std::optional<RVProcTable::Stat> RVProcTable::readStat(pid_t pid) const
{
    return parseStat(readSmallFile(QStringLiteral("%1/%2/stat").arg(m_procRoot).arg(pid)));
}

QString RVProcTable::executableOf(pid_t pid) const
{
    const QString base = QStringLiteral("%1/%2/").arg(m_procRoot).arg(pid);
    QString target = QFile::symLinkTarget(base + QStringLiteral("exe"));
    if (target.endsWith(QStringLiteral(" (deleted)")))
        target.chop(10);
    if (!target.isEmpty())
        return target;
    const QByteArray command = readSmallFile(base + QStringLiteral("cmdline"));
    const QString first = QFile::decodeName(command.left(command.indexOf('\0')));
    return QDir::isAbsolutePath(first) ? QDir::cleanPath(first) : QString();
}

bool RVProcTable::belongsToUs(pid_t pid) const
{
    struct stat info {};
    const QByteArray path = QFile::encodeName(QStringLiteral("%1/%2").arg(m_procRoot).arg(pid));
    return ::stat(path.constData(), &info) == 0 && info.st_uid == m_uid;
}

QString RVProcTable::applicationLocation(pid_t pid) const
{
    if (pid != m_ownPid && !belongsToUs(pid))
        return {};
    const QString executable = executableOf(pid);
    if (executable.isEmpty())
        return {};
    const QString app = RVBundle::enclosingAppFolder(QFileInfo(executable).path());
    if (!app.isNull())
        return app;
    if (pid == m_ownPid)
        return executable;
    return interpretedApplicationLocation(pid, executable);
}

QString RVProcTable::interpretedApplicationLocation(pid_t pid, const QString& executable) const
{
    const QString base = QStringLiteral("%1/%2/").arg(m_procRoot).arg(pid);
    const QByteArray command = readSmallFile(base + QStringLiteral("cmdline"));
    if (!command.contains(".app/"))
        return {}; // the usual case, decided without reading anything else
    QStringList arguments;
    for (const QByteArray& argument : command.split('\0'))
        arguments << QFile::decodeName(argument);
    if (!arguments.isEmpty() && arguments.last().isEmpty())
        arguments.removeLast();
    const QString program = RVInterpretedProgram::programOf(
        arguments, executable, QFile::symLinkTarget(base + QStringLiteral("cwd")));
    const QString app = program.isNull() ? QString() : RVBundle::enclosingAppFolder(QFileInfo(program).path());
    if (app.isNull())
        return {};
    if (program.endsWith(QStringLiteral(".jar")))
        return app; // a jar of the bundle, started by its executable
    const auto bundle = RVBundle::bundleWithPath(app);
    const QString main = bundle ? bundle->executablePath() : QString();
    return !main.isEmpty() && QFileInfo(main).canonicalFilePath() == QFileInfo(program).canonicalFilePath() ? app
                                                                                                          : QString();
}

std::optional<pid_t> RVProcTable::livePid(RVSerialNumber psn) const
{
    const pid_t pid = pid_t(psn.low);
    if (pid <= 0)
        return std::nullopt;
    const auto stat = readStat(pid);
    if (!stat || low32(stat->startTicks) != psn.high || stat->state == 'Z' || stat->state == 'X')
        return std::nullopt;
    return pid;
}

std::optional<RVSerialNumber> RVProcTable::currentProcess()
{
    return processForPID(m_ownPid);
}

std::vector<pid_t> RVProcTable::listPids(const QString& procRoot)
{
    std::vector<pid_t> pids;
    if (DIR* dir = ::opendir(QFile::encodeName(procRoot).constData())) {
        while (const dirent* entry = ::readdir(dir)) {
            char* end = nullptr;
            const long pid = std::strtol(entry->d_name, &end, 10);
            if (pid > 0 && *end == '\0')
                pids.push_back(pid_t(pid));
        }
        ::closedir(dir);
    }
    std::sort(pids.begin(), pids.end());
    return pids;
}

std::optional<RVSerialNumber> RVProcTable::nextProcess(RVSerialNumber previous)
{
    std::vector<pid_t> pids;
    {
        std::lock_guard lock(m_mutex);
        if (previous.low == 0 || m_enumeration.empty()) {
            // A new enumeration: one listing of /proc serves all its steps.
            m_enumeration = listPids(m_procRoot);
        }
        pids = m_enumeration;
    }
    auto it = std::upper_bound(pids.begin(), pids.end(), pid_t(previous.low));
    for (; it != pids.end(); ++it) {
        if (auto psn = processForPID(*it))
            return psn;
    }
    return std::nullopt;
}

std::optional<RVSerialNumber> RVProcTable::processForPID(pid_t pid)
{
    if (pid <= 0 || applicationLocation(pid).isNull())
        return std::nullopt;
    const auto stat = readStat(pid);
    if (!stat || stat->state == 'Z' || stat->state == 'X')
        return std::nullopt;
    return RVSerialNumber{low32(stat->startTicks), std::uint32_t(pid)};
}

std::optional<pid_t> RVProcTable::pidOfProcess(RVSerialNumber psn)
{
    return livePid(psn);
}

std::optional<bool> RVProcTable::sameProcess(RVSerialNumber a, RVSerialNumber b)
{
    return a.high == b.high && a.low == b.low;
}

QVariantMap RVProcTable::bundleInfo(const QString& location)
{
    if (!location.endsWith(QStringLiteral(".app")))
        return {};
    // The list's change time tells whether the cached dictionary is still the bundle's.
    qint64 modified = -1;
    for (const char* list : {"/Contents/Info.plist", "/Resources/Info-gnustep.plist"}) {
        struct stat info {};
        if (::stat(QFile::encodeName(location + QLatin1String(list)).constData(), &info) == 0) {
            modified = qint64(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
            break;
        }
    }
    {
        std::lock_guard lock(m_mutex);
        const auto cached = m_bundles.constFind(location);
        if (cached != m_bundles.cend() && cached->listModified == modified)
            return cached->info;
    }
    const auto bundle = RVBundle::bundleWithPath(location);
    const QVariantMap info = bundle ? bundle->infoDictionary() : QVariantMap();
    std::lock_guard lock(m_mutex);
    m_bundles.insert(location, {info, modified});
    return info;
}

RVProcessInformation RVProcTable::informationFrom(const QString& location, const QVariantMap& info)
{
    RVProcessInformation result;
    result.name = info.value(QStringLiteral("CFBundleName")).toString();
    if (result.name.isEmpty())
        result.name = withoutAppSuffix(location);
    const QString signature = info.value(QStringLiteral("CFBundleSignature")).toString();
    result.signature = signature.isEmpty() ? RVFourCC("????") : RVOSTypeFromString(signature);
    return result;
}

std::optional<RVProcessInformation> RVProcTable::processInformation(RVSerialNumber psn)
{
    const auto pid = livePid(psn);
    const QString location = pid ? applicationLocation(*pid) : QString();
    if (location.isNull())
        return std::nullopt;
    return informationFrom(location, bundleInfo(location));
}

std::optional<QVariantMap> RVProcTable::informationDictionary(RVSerialNumber psn)
{
    const auto pid = livePid(psn);
    const QString location = pid ? applicationLocation(*pid) : QString();
    if (location.isNull())
        return std::nullopt;
    QVariantMap dictionary = bundleInfo(location);
    const RVProcessInformation information = informationFrom(location, dictionary);
    dictionary.insert(QStringLiteral("BundlePath"), location);
    dictionary.insert(QStringLiteral("FileCreator"), RVStringFromOSType(information.signature));
    dictionary.insert(QStringLiteral("pid"), qlonglong(*pid));
    if (const auto stat = readStat(*pid); stat && stat->parent > 0) {
        if (const auto parent = readStat(stat->parent)) {
            const qulonglong parentPsn =
                (qulonglong(low32(parent->startTicks)) << 32) | std::uint32_t(stat->parent);
            dictionary.insert(QStringLiteral("ParentPSN"), qlonglong(parentPsn));
        }
    }
    return dictionary;
}

QString RVProcTable::bundleLocation(RVSerialNumber psn)
{
    const auto pid = livePid(psn);
    return pid ? applicationLocation(*pid) : QString();
}

QString RVProcTable::displayName(RVSerialNumber psn)
{
    const QString location = bundleLocation(psn);
    if (location.isNull())
        return {};
    const QVariantMap info = bundleInfo(location);
    for (const char* key : {"CFBundleDisplayName", "CFBundleName"}) {
        const QString name = info.value(QString::fromLatin1(key)).toString();
        if (!name.isEmpty())
            return name;
    }
    return withoutAppSuffix(location);
}

std::optional<double> RVProcTable::startTime(pid_t pid)
{
    const auto stat = readStat(pid);
    if (!stat || m_bootTime <= 0)
        return std::nullopt;
    return m_bootTime + double(stat->startTicks) / double(m_ticksPerSecond);
}

std::optional<double> RVProcTable::userProcessorTime(pid_t pid)
{
    const auto stat = readStat(pid);
    if (!stat)
        return std::nullopt;
    return double(stat->userTicks) / double(m_ticksPerSecond);
}

std::optional<RVProcessTable::ItemInfo> RVProcTable::itemInfo(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return std::nullopt;
    ItemInfo info;
    QString executable = path;
    if (file.isDir()) {
        const auto bundle = RVBundle::bundleWithPath(path);
        info.isPackage = bundle && bundle->hasInfoDictionary();
        executable = bundle ? bundle->executablePath() : QString();
    }
    info.isNativeApp = RVFileRead::head(executable, 4).data == QByteArray("\x7f" "ELF");
    return info;
}

std::optional<QByteArray> RVProcTable::resourceData(const QString& path, RVOSType type,
                                                    std::int16_t id)
{
    const QByteArray name = QFile::encodeName(path);
    const ssize_t size = ::getxattr(name.constData(), kResourceForkAttribute, nullptr, 0);
    if (size <= 0)
        return std::nullopt;
    QByteArray fork(qsizetype(size), '\0');
    const ssize_t read = ::getxattr(name.constData(), kResourceForkAttribute, fork.data(),
                                    size_t(size));
    if (read <= 0)
        return std::nullopt;
    fork.resize(qsizetype(read));
    return RVResourceFromFork(fork, type, id);
}

bool RVProcTable::signal(RVSerialNumber psn, int signalNumber)
{
    const pid_t pid = pid_t(psn.low);
    if (pid <= 0 || pid == m_ownPid)
        return false;
    // A pidfd pins the process: once the start time still matches after opening it, the
    // signal cannot reach a newcomer that reused the pid.
    const int fd = int(::syscall(SYS_pidfd_open, pid, 0));
    if (fd < 0)
        return false;
    const auto stat = readStat(pid);
    bool sent = false;
    if (stat && low32(stat->startTicks) == psn.high && belongsToUs(pid)) {
        // The status file tells the real owner; /proc/PID itself shows the effective one.
        const QByteArray status = readSmallFile(QStringLiteral("%1/%2/status").arg(m_procRoot).arg(pid));
        const qsizetype at = status.indexOf("\nUid:");
        const QList<QByteArray> uids = status.mid(at + 5, status.indexOf('\n', at + 1) - at - 5)
                                           .simplified().split(' ');
        const bool ours = at >= 0 && std::all_of(uids.begin(), uids.end(), [&](const QByteArray& u) {
                              return u.toUInt() == m_uid;
                          });
        if (ours)
            sent = ::syscall(SYS_pidfd_send_signal, fd, signalNumber, nullptr, 0) == 0;
    }
    ::close(fd);
    return sent;
}

bool RVProcTable::terminate(RVSerialNumber psn)
{
    return signal(psn, SIGTERM);
}

bool RVProcTable::forceTerminate(RVSerialNumber psn)
{
    return signal(psn, SIGKILL);
}

bool RVProcTable::isTerminated(RVSerialNumber psn)
{
    return !livePid(psn).has_value();
}

bool RVProcTable::wakeUp(RVSerialNumber psn)
{
    return signal(psn, SIGCONT);
}
