#pragma once

#include "RVFourCharCode.h"

#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <optional>
#include <sys/types.h>

// A running application's identity: {high, low} = {start time in clock ticks (low 32 bits),
// pid}, so that a reused pid never names the same process. {0, 0} starts an enumeration.
struct RVSerialNumber
{
    std::uint32_t high = 0;
    std::uint32_t low = 0;
};

constexpr RVSerialNumber kRVNoProcess{0, 0};

struct RVProcessInformation
{
    QString name;
    RVOSType signature = 0;
};

// The table of running applications: processes of the current user whose executable lies
// inside a .app bundle, plus the program's own process. Every failure is an empty answer.
class RVProcessTable
{
public:
    virtual ~RVProcessTable() = default;

    virtual std::optional<RVSerialNumber> currentProcess() = 0;
    // The application after previous in enumeration order (ascending pid); previous
    // {0, 0} gives the first. Empty at the end.
    virtual std::optional<RVSerialNumber> nextProcess(RVSerialNumber previous) = 0;
    virtual std::optional<RVSerialNumber> processForPID(pid_t pid) = 0;
    // Empty once the process has ended (a zombie has ended).
    virtual std::optional<pid_t> pidOfProcess(RVSerialNumber psn) = 0;
    virtual std::optional<bool> sameProcess(RVSerialNumber a, RVSerialNumber b) = 0;
    virtual std::optional<RVProcessInformation> processInformation(RVSerialNumber psn) = 0;
    // The bundle's info dictionary plus "BundlePath", "FileCreator", "pid", "ParentPSN".
    virtual std::optional<QVariantMap> informationDictionary(RVSerialNumber psn) = 0;
    // The .app folder (or, for the program's own process outside a bundle, the executable).
    virtual QString bundleLocation(RVSerialNumber psn) = 0;
    virtual QString displayName(RVSerialNumber psn) = 0;
    // Seconds since the epoch at which pid started; empty when unknown.
    virtual std::optional<double> startTime(pid_t pid) = 0;
    // Processor seconds pid spent in user mode; empty when unknown.
    virtual std::optional<double> userProcessorTime(pid_t pid) = 0;

    struct ItemInfo
    {
        bool isNativeApp = false; // the executable is a machine-code program
        bool isPackage = false;   // a bundle folder
    };
    virtual std::optional<ItemInfo> itemInfo(const QString& path) = 0;
    // The data of resource (type, id) of the file at path; empty when it has none.
    virtual std::optional<QByteArray> resourceData(const QString& path, RVOSType type,
                                                   std::int16_t id) = 0;

    // Termination requests; each answers whether it was taken. Refused for the program's
    // own process and for processes of other users.
    virtual bool terminate(RVSerialNumber psn) = 0;
    virtual bool forceTerminate(RVSerialNumber psn) = 0;
    // The process is gone or a zombie.
    virtual bool isTerminated(RVSerialNumber psn) = 0;
    virtual bool wakeUp(RVSerialNumber psn) = 0;
};
