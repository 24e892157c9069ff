#pragma once

#include "RVLauncher.h"
#include "RVSystemFacts.h"
#include "RVUserDefaults.h"

#include <memory>

// The one registry of platform services. The program's entry installs the Linux
// implementations; tests install fakes. The logic reaches the system only through here.
class RVPlatform
{
public:
    static RVPlatform& current();

    struct Services
    {
        std::shared_ptr<RVSystemFacts> systemFacts;
        std::shared_ptr<RVUserDefaults> userDefaults;
        std::shared_ptr<RVLauncher> launcher;
    };
    // Replaces the services whose pointers are set and keeps the others.
    static void install(Services services);

    RVSystemFacts& systemFacts() const { return *m_services.systemFacts; }
    RVUserDefaults& userDefaults() const { return *m_services.userDefaults; }
    RVLauncher& launcher() const { return *m_services.launcher; }

    const Services& services() const { return m_services; }

private:
    Services m_services;
};
