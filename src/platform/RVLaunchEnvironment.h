#pragma once

#include <QString>

#include <cstdint>
#include <optional>

// What the launch-environment probes ask of the system. Each answer is raw; the decisions
// are the probes' own.
class RVLaunchEnvironment
{
public:
    virtual ~RVLaunchEnvironment() = default;

    // The creator code ("FileCreator") of the program that launched this process: the parent
    // application's, or "lgnw" when the desktop's autostart started it. Empty when unknown.
    virtual QString launcherCreator() = 0;

    struct FileSystemInfo
    {
        int result = -1;  // the statfs call's own result, 0 or -1
        QString typeName; // "ext4", "tmpfs", ...; empty when unknown
    };
    virtual FileSystemInfo fileSystemInfo(const QString& path) = 0;

    // Nanoseconds since the last user input; empty when the system cannot tell.
    virtual std::optional<std::uint64_t> idleNanoseconds() = 0;
    // 1 for the blue control tint, 6 for graphite.
    virtual int controlTint() = 0;
    // A debugger or tracer is attached to this process.
    virtual bool isTraced() = 0;
    // The end of the chain of symbolic links starting at path; empty when path is no link or
    // the chain is broken.
    virtual std::optional<QString> aliasTarget(const QString& path) = 0;
};
