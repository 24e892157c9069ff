#pragma once

#include "RVAccessibility.h"
#include "RVApplicationEvents.h"
#include "RVAudio.h"
#include "RVAuthorization.h"
#include "RVClock.h"
#include "RVFileManager.h"
#include "RVLaunchEnvironment.h"
#include "RVLauncher.h"
#include "RVProcessTable.h"
#include "RVSystemFacts.h"
#include "RVUserDefaults.h"
#include "RVWindowSystem.h"
#include "RVWorkspace.h"

#include <memory>

// The one registry of platform services. The program's entry installs the Linux
// implementations; tests install fakes. The logic reaches the system only through here.
class RVPlatform
{
public:
    static RVPlatform& current();

    struct Services
    {
        std::shared_ptr<RVSystemFacts> systemFacts = nullptr;
        std::shared_ptr<RVUserDefaults> userDefaults = nullptr;
        std::shared_ptr<RVLauncher> launcher = nullptr;
        std::shared_ptr<RVClock> clock = nullptr;
        std::shared_ptr<RVProcessTable> processTable = nullptr;
        std::shared_ptr<RVWindowSystem> windowSystem = nullptr;
        std::shared_ptr<RVFileManager> fileManager = nullptr;
        std::shared_ptr<RVWorkspace> workspace = nullptr;
        std::shared_ptr<RVAuthorization> authorization = nullptr;
        std::shared_ptr<RVAudio> audio = nullptr;
        std::shared_ptr<RVApplicationEvents> applicationEvents = nullptr;
        std::shared_ptr<RVLaunchEnvironment> launchEnvironment = nullptr;
        std::shared_ptr<RVAccessibility> accessibility = nullptr;
    };
    // Replaces the services whose pointers are set and keeps the others.
    static void install(Services services);

    RVSystemFacts& systemFacts() const { return *m_services.systemFacts; }
    RVUserDefaults& userDefaults() const { return *m_services.userDefaults; }
    RVLauncher& launcher() const { return *m_services.launcher; }
    RVClock& clock() const { return *m_services.clock; }
    RVProcessTable& processTable() const { return *m_services.processTable; }
    RVWindowSystem& windowSystem() const { return *m_services.windowSystem; }
    RVFileManager& fileManager() const { return *m_services.fileManager; }
    RVWorkspace& workspace() const { return *m_services.workspace; }
    RVAuthorization& authorization() const { return *m_services.authorization; }
    RVAudio& audio() const { return *m_services.audio; }
    RVApplicationEvents& applicationEvents() const { return *m_services.applicationEvents; }
    RVLaunchEnvironment& launchEnvironment() const { return *m_services.launchEnvironment; }
    RVAccessibility& accessibility() const { return *m_services.accessibility; }

    const Services& services() const { return m_services; }

private:
    Services m_services;
};
