#include "RVPlatform.h"

namespace {
RVPlatform g_platform;
}

RVPlatform& RVPlatform::current()
{
    return g_platform;
}

namespace {
template <typename T>
void replaceIfSet(std::shared_ptr<T>& current, std::shared_ptr<T>& replacement)
{
    if (replacement)
        current = std::move(replacement);
}
} // namespace

void RVPlatform::install(Services services)
{
    Services& s = g_platform.m_services;
    replaceIfSet(s.systemFacts, services.systemFacts);
    replaceIfSet(s.userDefaults, services.userDefaults);
    replaceIfSet(s.launcher, services.launcher);
    replaceIfSet(s.clock, services.clock);
    replaceIfSet(s.processTable, services.processTable);
    replaceIfSet(s.windowSystem, services.windowSystem);
    replaceIfSet(s.fileManager, services.fileManager);
    replaceIfSet(s.workspace, services.workspace);
    replaceIfSet(s.authorization, services.authorization);
    replaceIfSet(s.audio, services.audio);
    replaceIfSet(s.applicationEvents, services.applicationEvents);
    replaceIfSet(s.launchEnvironment, services.launchEnvironment);
    replaceIfSet(s.accessibility, services.accessibility);
}
