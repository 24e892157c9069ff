#include "RVProcess.h"

#include "RVLog.h"
#include "RVPlatform.h"

#include <algorithm>

namespace {

RVProcessTable& table()
{
    return RVPlatform::current().processTable();
}

RVWindowSystem& windowSystem()
{
    return RVPlatform::current().windowSystem();
}

// Error numbers of the close-window path, in the spirit of the event manager's.
constexpr int kNoDisplayError = -1;
constexpr int kNoWindowError = -2;
constexpr int kSendError = -3;
constexpr int kEventNotHandledError = -1708;
constexpr int kTimeoutError = -1712;

struct Phase
{
    bool (RVProcessTable::*request)(RVSerialNumber);
    const char* stoppedLine;
    const char* terminatedLine;
};

enum class PhaseEnd { Gone, TimeUp, Stopped };

// One phase of quitting: a request about once a millisecond until the process has gone, the
// time is up, or the caller stops asking (then no further request is sent).
PhaseEnd runQuitPhase(RVProcess& process, const QString& name, float timeout, const Phase& phase,
                      const std::function<bool()>& stop)
{
    RVClock& clock = RVPlatform::current().clock();
    const double start = clock.now();
    int attempts = 1;
    for (;;) {
        if (double(timeout) <= clock.now() - start)
            return PhaseEnd::TimeUp;
        if (stop && stop())
            return PhaseEnd::Stopped;
        if (!(table().*phase.request)(process.serialNumber())) {
            RVLog(QString::fromLatin1(phase.stoppedLine), name, clock.now() - start, attempts);
            return PhaseEnd::Gone;
        }
        clock.sleepMicroseconds(1000);
        const bool terminated = table().isTerminated(process.serialNumber());
        ++attempts;
        if (terminated) {
            RVLog(QString::fromLatin1(phase.terminatedLine), name, clock.now() - start, attempts - 1);
            return PhaseEnd::Gone;
        }
    }
}

} // namespace

bool RVProcess::quitRunningApplicationWithTimeout(float timeout, const std::function<bool()>& stop)
{
    const QString processName = name();
    const pid_t pid = unixPID();
    if (pid == 0) {
        RVLog(QStringLiteral("cannot quit %@: no pid"), processName);
        return false;
    }
    if (!table().processForPID(pid)) {
        RVLog(QStringLiteral("cannot quit %@: no process found"), processName);
        return false;
    }
    const Phase polite{&RVProcessTable::terminate,
                       "quit %@: process stopped after %1.3fs (%d attempts)",
                       "quit %@: terminated after %1.3fs (%d attempts)"};
    const Phase force{&RVProcessTable::forceTerminate,
                      "foce-quit %@: process stopped after %1.3fs (%d attempts)",
                      "force-quit %@: terminated after %1.3fs (%d attempts)"};
    for (const Phase* phase : {&polite, &force}) {
        switch (runQuitPhase(*this, processName, timeout, *phase, stop)) {
        case PhaseEnd::Gone: return true;
        case PhaseEnd::TimeUp: break;
        case PhaseEnd::Stopped:
            RVLog(QStringLiteral("quit %@: given up, as the installer is quitting"), processName);
            return false;
        }
    }
    RVLog(QStringLiteral("quitting %@ failed"), processName);
    return false;
}

void RVProcess::quit(const std::function<bool()>& stop)
{
    const QString processName = name();
    if (quitRunningApplicationWithTimeout(4.0f, stop) || (stop && stop()))
        return;
    // The quit request of the desktop: ask every window of the process to close.
    switch (windowSystem().closeProcessWindows(unixPID())) {
    case RVWindowSystem::CloseResult::Sent:
        return;
    case RVWindowSystem::CloseResult::NoDisplay:
        RVLog(QStringLiteral("quitting %@ failed (%d; could not create descriptor)"), processName,
              kNoDisplayError);
        return;
    case RVWindowSystem::CloseResult::NoWindow:
        RVLog(QStringLiteral("quitting %@ failed (%d; could not create event)"), processName,
              kNoWindowError);
        return;
    case RVWindowSystem::CloseResult::SendFailed:
        RVLog(QStringLiteral("quitting %@ failed (%d; could not send event)"), processName, kSendError);
        return;
    }
}

void RVProcess::sendAppleEventClassEventIDTimeout(RVOSType eventClass, RVOSType eventID, float timeout)
{
    // The reply is awaited for the time-out given in ticks, truncated as the event manager does.
    const double waitSeconds = std::max(0, int(std::clamp(double(timeout) * 60.0, -1e9, 1e9))) / 60.0;
    int error = kEventNotHandledError;
    if (eventClass == RVFourCC("aevt") && eventID == RVFourCC("quit")) {
        // The desktop's quit request; the reply is the process's end.
        switch (windowSystem().closeProcessWindows(unixPID())) {
        case RVWindowSystem::CloseResult::Sent: error = waitForEnd(waitSeconds) ? 0 : kTimeoutError; break;
        case RVWindowSystem::CloseResult::NoDisplay: error = kNoDisplayError; break;
        case RVWindowSystem::CloseResult::NoWindow: error = kNoWindowError; break;
        case RVWindowSystem::CloseResult::SendFailed: error = kSendError; break;
        }
    } else if ((eventClass == RVFourCC("aevt") && eventID == RVFourCC("rapp")) ||
               (eventClass == RVFourCC("misc") && eventID == RVFourCC("actv"))) {
        error = windowSystem().activateProcess(unixPID(), false) ? 0 : kNoWindowError;
    }
    if (error != 0)
        RVLog(QStringLiteral("*** event error: %d"), error);
}

bool RVProcess::waitForEnd(double seconds)
{
    RVClock& clock = RVPlatform::current().clock();
    const double start = clock.now();
    while (!table().isTerminated(serialNumber())) {
        if (clock.now() - start >= seconds)
            return false;
        clock.sleepMicroseconds(10'000);
    }
    return true;
}

void RVProcess::wakeUp()
{
    table().wakeUp(m_psn);
}

void RVProcess::setHidden(bool hidden)
{
    windowSystem().setProcessHidden(unixPID(), hidden);
}

void RVProcess::setFrontProcess()
{
    windowSystem().activateProcess(unixPID(), false);
}

void RVProcess::setFrontProcessFrontWindowOnly()
{
    windowSystem().activateProcess(unixPID(), true);
}

void RVProcess::temporarilySwitchOut()
{
    if (const Ptr current = currentProcess())
        current->setFrontProcess();
    setFrontProcessFrontWindowOnly();
    wakeUp();
}
