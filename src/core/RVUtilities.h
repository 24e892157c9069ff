#pragma once

#include "RVCoreOnly.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

struct RVThreePartVersion
{
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    std::uint16_t bugfix = 0;
    bool operator==(const RVThreePartVersion&) const = default;
};

// The stage rank of a version letter: 'd' 0, 'a' 1, 'b' 2, 'f' 3, ' ' 4; others 0.
int developmentStage(char16_t c);

// Class operations only: version strings, the system's release, scripts and files.
class RVUtilities
{
public:
    RVUtilities() = delete;

    static QString applicationName();
    static QString versionString();
    static QString plainVersionOf(const QString& version);
    static QString plainVersionString();
    static int compareVersionWithVersion(const QString& a, const QString& b);
    // Numeric string ordering: digit runs by value, other characters by code, a proper
    // prefix first. -1, 0 or +1.
    static int compareNumerically(const QString& a, const QString& b);

    static std::uint32_t hexSystemVersion();
    static RVThreePartVersion threePartVersion();
    static std::uint32_t decimalSystemVersion();
    static QString systemVersionString();
    static QString localizedDateString(const QString& date);

    static bool pantherOrOlder();
    static bool leopardOrNewer();
    static bool snowleopardOrNewer();
    static bool lionOrNewer();
    static bool mountainLionOrNewer();
    static bool mavericksOrNewer();
    static bool yosemiteOrNewer();
    static bool elCapitanOrNewer();
    static bool sierraOrNewer();

    // Runs an executable without a shell and answers everything it printed, or
    // "script %@ failed: %@" when it could not be run. Null when the output is not UTF-8.
    static QString runShellScriptWithParametersTimeout(const QString& script,
                                                       const std::optional<QStringList>& parameters,
                                                       double timeout);
    // Hands path to the system's opener and returns at once.
    static void openFile(const QString& path);

    // Forgets the cached decimal system version (tests change the facts under it).
    static void resetCachesForTesting();
};
