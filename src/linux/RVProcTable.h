#pragma once

#include "RVProcessTable.h"

#include <QHash>
#include <QString>

#include <mutex>
#include <vector>

// The process table over /proc. An application is a process of the current user whose
// executable lies inside a .app bundle, or the program's own process.
class RVProcTable : public RVProcessTable
{
public:
    explicit RVProcTable(const QString& procRoot = QStringLiteral("/proc"));

    std::optional<RVSerialNumber> currentProcess() override;
    std::optional<RVSerialNumber> nextProcess(RVSerialNumber previous) override;
    std::optional<RVSerialNumber> processForPID(pid_t pid) override;
    std::optional<pid_t> pidOfProcess(RVSerialNumber psn) override;
    std::optional<bool> sameProcess(RVSerialNumber a, RVSerialNumber b) override;
    std::optional<RVProcessInformation> processInformation(RVSerialNumber psn) override;
    std::optional<QVariantMap> informationDictionary(RVSerialNumber psn) override;
    QString bundleLocation(RVSerialNumber psn) override;
    QString displayName(RVSerialNumber psn) override;
    std::optional<double> startTime(pid_t pid) override;
    std::optional<double> userProcessorTime(pid_t pid) override;
    std::optional<ItemInfo> itemInfo(const QString& path) override;
    std::optional<QByteArray> resourceData(const QString& path, RVOSType type, std::int16_t id) override;
    bool terminate(RVSerialNumber psn) override;
    bool forceTerminate(RVSerialNumber psn) override;
    bool isTerminated(RVSerialNumber psn) override;
    bool wakeUp(RVSerialNumber psn) override;

    // The fields of /proc/PID/stat that the table reads.
    struct Stat
    {
        char state = '?';
        pid_t parent = 0;
        unsigned long long userTicks = 0;
        unsigned long long startTicks = 0;
    };
    static std::optional<Stat> parseStat(const QByteArray& text);
    // Every process id under procRoot, ascending.
    static std::vector<pid_t> listPids(const QString& procRoot = QStringLiteral("/proc"));

private:
    struct Bundle
    {
        QVariantMap info;
        qint64 listModified = -1;
    };

    std::optional<Stat> readStat(pid_t pid) const;
    // The running process's executable: /proc/PID/exe, else an absolute argv[0].
    QString executableOf(pid_t pid) const;
    bool belongsToUs(pid_t pid) const;
    // The .app holding pid's executable; the executable itself for our own process
    // outside a bundle; null for anything that is not an application.
    QString applicationLocation(pid_t pid) const;
    // The .app whose main executable (a script) or jar the interpreter pid runs; else null.
    QString interpretedApplicationLocation(pid_t pid, const QString& executable) const;
    std::optional<pid_t> livePid(RVSerialNumber psn) const;
    QVariantMap bundleInfo(const QString& location);
    // Name and signature from a bundle's info dictionary.
    static RVProcessInformation informationFrom(const QString& location, const QVariantMap& info);
    bool signal(RVSerialNumber psn, int signalNumber);

    QString m_procRoot;
    pid_t m_ownPid;
    uid_t m_uid;
    double m_bootTime = 0;
    long m_ticksPerSecond = 100;

    std::mutex m_mutex; // guards the two caches below
    std::vector<pid_t> m_enumeration;
    QHash<QString, Bundle> m_bundles;
};
