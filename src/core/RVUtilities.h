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

    // Where and how the program was started, and the user's display (RVUtilitiesProbes.cpp)
    static bool runningFromDistributionDisk();
    static bool installationMode();
    static QString resolvedAlias(const QString& path);
    static bool wasLaunchedByProcess(const QString& creator);
    static bool wasLaunchedAsLoginItem();
    static QString fileSystemTypeFor(const QString& path);
    // Seconds since the last user input; -1.0 when the system cannot tell.
    static float idleTime();
    static bool darkMenuTheme();
    // Whether another application hides the menu bar (its window is full screen).
    static bool fullScreenMode();
    static bool displayIsZoomed();
    // The path of the bundle's tint image for the appearance; null when it has none.
    static QString systemTintImage();
    static bool debugging();
    // Brings the companion Micro.app to the front for a moment, then the previous front
    // process back. Blocks for up to about a second.
    static void launchMicro(bool skipEarlyRestore);

    // Forgets the cached decimal system version and the menu bar monitor (tests change the
    // facts under them).
    static void resetCachesForTesting();

private:
    static void resetMenuBarMonitor();
};
