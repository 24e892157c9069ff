#include "RVPlatform.h"

namespace {
RVPlatform g_platform;
}

RVPlatform& RVPlatform::current()
{
    return g_platform;
}

void RVPlatform::install(Services services)
{
    Services& s = g_platform.m_services;
    if (services.systemFacts)
        s.systemFacts = std::move(services.systemFacts);
    if (services.userDefaults)
        s.userDefaults = std::move(services.userDefaults);
    if (services.launcher)
        s.launcher = std::move(services.launcher);
    if (services.clock)
        s.clock = std::move(services.clock);
    if (services.processTable)
        s.processTable = std::move(services.processTable);
    if (services.windowSystem)
        s.windowSystem = std::move(services.windowSystem);
    if (services.fileManager)
        s.fileManager = std::move(services.fileManager);
    if (services.workspace)
        s.workspace = std::move(services.workspace);
    if (services.authorization)
        s.authorization = std::move(services.authorization);
    if (services.audio)
        s.audio = std::move(services.audio);
}
