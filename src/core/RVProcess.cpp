#include "RVProcess.h"

#include "RVFormat.h"
#include "RVPlatform.h"

#include <QString>

#include <algorithm>

namespace {

// The cache and the current-process pointer; one lock around each cache operation.
std::recursive_mutex g_cacheMutex;
std::vector<RVProcess::Ptr> g_cachedProcesses;
std::weak_ptr<RVProcess> g_currentProcess;
bool g_cacheExists = false;

RVProcessTable& table()
{
    return RVPlatform::current().processTable();
}

} // namespace

RVProcess::RVProcess(RVSerialNumber psn) : m_psn(psn)
{
    installNotifications();
}

RVProcess::~RVProcess()
{
    unregisterAXNotifications();
}

qsizetype RVProcess::indexOfCachedProcessWithSerialNumber(RVSerialNumber psn)
{
    std::lock_guard lock(g_cacheMutex);
    const qsizetype count = qsizetype(g_cachedProcesses.size());
    for (qsizetype i = 0; i < count; ++i) {
        if (g_cachedProcesses[std::size_t(i)]->isSameProcess(psn))
            return i;
    }
    return kNotFound;
}

RVProcess::Ptr RVProcess::cachedProcessWithSerialNumber(RVSerialNumber psn)
{
    std::lock_guard lock(g_cacheMutex);
    const qsizetype index = indexOfCachedProcessWithSerialNumber(psn);
    if (index == kNotFound)
        return nullptr;
    const auto it = g_cachedProcesses.begin() + index;
    Ptr process = *it;
    if (index > 0)
        std::rotate(g_cachedProcesses.begin(), it, it + 1); // to the front, others keep order
    return process;
}


RVProcess::Ptr RVProcess::processWithSerialNumber(RVSerialNumber psn)
{
    installNotifications();
    std::lock_guard lock(g_cacheMutex);
    g_cacheExists = true;
    if (Ptr cached = cachedProcessWithSerialNumber(psn))
        return cached;
    auto process = std::make_shared<RVProcess>(psn);
    g_cachedProcesses.insert(g_cachedProcesses.begin(), process);
    return process;
}

void RVProcess::cleanupCache()
{
    std::vector<Ptr> gone; // released after the lock: a process's destruction is not the cache's
    std::lock_guard lock(g_cacheMutex);
    std::size_t i = 0;
    while (i < g_cachedProcesses.size()) {
        if (!g_cachedProcesses[i]->isStillRunning()) {
            gone.push_back(std::move(g_cachedProcesses[i]));
            g_cachedProcesses.erase(g_cachedProcesses.begin() + qsizetype(i));
        } else {
            ++i;
        }
    }
}

std::optional<std::vector<RVProcess::Ptr>> RVProcess::cachedProcessesEnumerator()
{
    std::lock_guard lock(g_cacheMutex);
    if (!g_cacheExists)
        return std::nullopt;
    return g_cachedProcesses;
}

std::vector<RVProcess::Ptr> RVProcess::cachedProcesses()
{
    std::lock_guard lock(g_cacheMutex);
    return g_cachedProcesses;
}

void RVProcess::resetCacheForTesting()
{
    std::vector<Ptr> gone;
    std::lock_guard lock(g_cacheMutex);
    gone.swap(g_cachedProcesses);
    g_currentProcess.reset();
    g_cacheExists = false;
}

RVProcess::Ptr RVProcess::currentProcess()
{
    installNotifications();
    std::lock_guard lock(g_cacheMutex);
    if (Ptr current = g_currentProcess.lock())
        return current;
    const auto psn = table().currentProcess();
    if (!psn)
        return nullptr; // remember nothing: the next call asks again
    Ptr current = processWithSerialNumber(*psn);
    g_currentProcess = current;
    return current;
}

RVProcess::Ptr RVProcess::frontProcess()
{
    installNotifications();
    const auto pid = RVPlatform::current().windowSystem().activeWindowProcess();
    return pid ? processWithPID(*pid) : nullptr;
}

std::vector<RVProcess::Ptr> RVProcess::allProcesses()
{
    installNotifications();
    std::vector<Ptr> processes;
    RVSerialNumber psn = kRVNoProcess;
    while (const auto next = table().nextProcess(psn)) {
        psn = *next;
        processes.push_back(processWithSerialNumber(psn));
    }
    return processes;
}

RVProcess::Ptr RVProcess::processWithPID(pid_t pid)
{
    installNotifications();
    const auto psn = table().processForPID(pid);
    return psn ? processWithSerialNumber(*psn) : nullptr;
}

RVProcess::Ptr RVProcess::processWithSignature(RVOSType signature)
{
    installNotifications();
    RVSerialNumber psn = kRVNoProcess;
    while (const auto next = table().nextProcess(psn)) {
        psn = *next;
        const auto information = table().processInformation(psn);
        if (information && information->signature == signature)
            return processWithSerialNumber(psn);
    }
    return nullptr;
}

RVProcess::Ptr RVProcess::processWithIdentifier(const QString& identifier)
{
    installNotifications();
    for (const Ptr& process : allProcesses()) {
        if (process->identifier() == identifier)
            return process;
    }
    return nullptr;
}

bool RVProcess::getProcessInfo()
{
    std::lock_guard lock(m_mutex);
    if (!m_name.isNull())
        return true;
    const auto information = table().processInformation(m_psn);
    if (!information)
        return false;
    m_signature = information->signature;
    m_name = information->name.isNull() ? QString("") : information->name;
    return true;
}

pid_t RVProcess::unixPID() const
{
    return table().pidOfProcess(m_psn).value_or(0);
}

bool RVProcess::isSameProcess(RVSerialNumber psn) const
{
    return table().sameProcess(m_psn, psn).value_or(false);
}

bool RVProcess::isStillRunning() const
{
    return table().pidOfProcess(m_psn).has_value();
}

bool RVProcess::isEqual(const RVProcess* other) const
{
    if (other == this)
        return true;
    return other && isSameProcess(other->serialNumber());
}

std::uint32_t RVProcess::hash() const
{
    return m_psn.high + m_psn.low; // wraps modulo 2^32
}

int RVProcess::compare(RVProcess& other)
{
    const QString mine = name();
    const QString theirs = other.name();
    const int order = mine.compare(theirs, Qt::CaseInsensitive);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

QString RVProcess::description()
{
    const QString processName = name();
    return RVFormat(QStringLiteral("Process \"%@\" (%@) %@"),
                    {processName.isNull() ? QString("") : processName, signatureString(), version()});
}
