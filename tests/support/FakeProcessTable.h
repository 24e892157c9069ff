#pragma once

#include "RVClock.h"
#include "RVProcessTable.h"
#include "RVWindowSystem.h"

#include <QStringList>

#include <functional>
#include <map>
#include <set>
#include <vector>

// A process table the test writes. Processes are kept in pid order; each knows how it
// reacts to termination requests.
class FakeProcessTable : public RVProcessTable
{
public:
    struct Process
    {
        RVSerialNumber psn;
        bool running = true;
        bool informationReadable = true;
        QString name;
        RVOSType signature = 0;
        QVariantMap info;
        QString location;
        QString displayName;
        std::optional<double> startTime;
        std::optional<double> userTime;
        std::optional<QByteArray> versResource;
        // Requests needed before it ends; -1 never. A refused request means it had gone.
        int politeRequestsToEnd = 1;
        int forceRequestsToEnd = 1;
        bool refuseRequests = false;
        bool refuseForceRequests = false;
        int politeRequests = 0;
        int forceRequests = 0;
    };

    std::map<pid_t, Process> processes;
    std::optional<pid_t> current;
    int currentProcessFailures = 0; // the first calls of currentProcess fail

    Process& add(pid_t pid, const QString& name, const char (&signature)[5], std::uint32_t start = 1000)
    {
        Process& p = processes[pid];
        p.psn = {start, std::uint32_t(pid)};
        p.name = name;
        p.signature = RVFourCC(signature);
        p.location = QStringLiteral("/Applications/%1.app").arg(name);
        return p;
    }

    Process* live(RVSerialNumber psn)
    {
        const auto it = processes.find(pid_t(psn.low));
        return it != processes.end() && it->second.psn.high == psn.high && it->second.running ? &it->second : nullptr;
    }

    std::optional<RVSerialNumber> currentProcess() override
    {
        if (currentProcessFailures > 0) {
            --currentProcessFailures;
            return std::nullopt;
        }
        return current ? processForPID(*current) : std::nullopt;
    }
    std::optional<RVSerialNumber> nextProcess(RVSerialNumber previous) override
    {
        for (auto it = processes.upper_bound(pid_t(previous.low)); it != processes.end(); ++it) {
            if (it->second.running)
                return it->second.psn;
        }
        return std::nullopt;
    }
    std::set<pid_t> pidsNotFound; // gone between reading the pid and looking it up
    std::optional<RVSerialNumber> processForPID(pid_t pid) override
    {
        const auto it = processes.find(pid);
        return it != processes.end() && it->second.running && !pidsNotFound.contains(pid) ? std::optional(it->second.psn)
                                                                                         : std::nullopt;
    }
    std::optional<pid_t> pidOfProcess(RVSerialNumber psn) override
    {
        return live(psn) ? std::optional(pid_t(psn.low)) : std::nullopt;
    }
    std::optional<bool> sameProcess(RVSerialNumber a, RVSerialNumber b) override
    {
        return a.high == b.high && a.low == b.low;
    }
    std::optional<RVProcessInformation> processInformation(RVSerialNumber psn) override
    {
        Process* p = live(psn);
        if (!p || !p->informationReadable)
            return std::nullopt;
        return RVProcessInformation{p->name, p->signature};
    }
    std::optional<QVariantMap> informationDictionary(RVSerialNumber psn) override
    {
        Process* p = live(psn);
        return p && p->informationReadable ? std::optional(p->info) : std::nullopt;
    }
    QString bundleLocation(RVSerialNumber psn) override
    {
        Process* p = live(psn);
        return p ? p->location : QString();
    }
    QString displayName(RVSerialNumber psn) override
    {
        Process* p = live(psn);
        return p ? p->displayName : QString();
    }
    std::optional<double> startTime(pid_t pid) override
    {
        return processes.contains(pid) ? processes.at(pid).startTime : std::nullopt;
    }
    std::optional<double> userProcessorTime(pid_t pid) override
    {
        return processes.contains(pid) ? processes.at(pid).userTime : std::nullopt;
    }
    std::optional<ItemInfo> itemInfo(const QString&) override { return ItemInfo{true, true}; }
    std::optional<QByteArray> resourceData(const QString& path, RVOSType, std::int16_t) override
    {
        for (auto& [pid, p] : processes) {
            if (p.location == path)
                return p.versResource;
        }
        return std::nullopt;
    }
    bool terminate(RVSerialNumber psn) override { return request(psn, false); }
    bool forceTerminate(RVSerialNumber psn) override { return request(psn, true); }
    bool isTerminated(RVSerialNumber psn) override { return !live(psn); }
    std::vector<pid_t> wokenUp;
    bool wakeUp(RVSerialNumber psn) override
    {
        wokenUp.push_back(pid_t(psn.low));
        return live(psn) != nullptr;
    }

private:
    bool request(RVSerialNumber psn, bool force)
    {
        Process* p = live(psn);
        if (!p || p->refuseRequests || (force && p->refuseForceRequests))
            return false;
        int& count = force ? p->forceRequests : p->politeRequests;
        const int needed = force ? p->forceRequestsToEnd : p->politeRequestsToEnd;
        ++count;
        if (needed >= 0 && count >= needed)
            p->running = false;
        return true;
    }
};

// Time that passes only when the code sleeps.
class FakeClock : public RVClock
{
public:
    double time = 100.0;
    std::function<void()> onSleep; // runs on the sleeping thread, before time moves on
    double now() override { return time; }
    void sleepMicroseconds(unsigned microseconds) override
    {
        if (onSleep)
            onSleep();
        time += microseconds / 1e6;
    }
};

class FakeWindowSystem : public RVWindowSystem
{
public:
    std::optional<pid_t> active;
    CloseResult closeResult = CloseResult::Sent;
    bool activates = true;
    std::function<void(pid_t)> onClose; // what the process does when asked to close
    QStringList calls;

    std::optional<pid_t> activeWindowProcess() override { return active; }
    bool activateProcess(pid_t pid, bool frontWindowOnly) override
    {
        calls << QStringLiteral("activate %1%2").arg(pid).arg(frontWindowOnly ? " front-window-only" : "");
        return activates;
    }
    bool setProcessHidden(pid_t pid, bool hidden) override
    {
        calls << QStringLiteral("%1 %2").arg(hidden ? "hide" : "show").arg(pid);
        return true;
    }
    bool optionKeyDown = false;
    bool isOptionKeyDown() override { return optionKeyDown; }
    CloseResult closeProcessWindows(pid_t pid) override
    {
        calls << QStringLiteral("close %1").arg(pid);
        if (onClose && closeResult == CloseResult::Sent)
            onClose(pid);
        return closeResult;
    }
};
