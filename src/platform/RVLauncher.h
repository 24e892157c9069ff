#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <sys/types.h>

// A started program that the caller watches. Dropping it does not kill the program; a
// program that is still running is reaped in the background so that it never stays a
// zombie.
class RVTask
{
public:
    virtual ~RVTask() = default;
    virtual pid_t processIdentifier() const = 0;
    virtual bool isRunning() = 0;
    // Asks the program to end (SIGTERM); harmless once it has ended.
    virtual void terminate() = 0;
};

struct RVLaunchRequest
{
    QString executable; // absolute, started without a shell
    QStringList arguments;
    QString workingDirectory; // empty: the caller's
    int standardInput = -1;   // descriptors the child receives; -1: the caller's own
    int standardOutput = -1;
    int standardError = -1;
    bool ownSession = false; // detach from the caller's session and terminal
};

struct RVLaunchResult
{
    std::unique_ptr<RVTask> task; // null when the program could not be started
    QString error;                // why, when null
};

class RVLauncher
{
public:
    virtual ~RVLauncher() = default;
    virtual RVLaunchResult launch(const RVLaunchRequest& request) = 0;
};
