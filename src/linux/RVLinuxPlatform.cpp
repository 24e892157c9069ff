#include "RVLinuxPlatform.h"

#include "RVBundle.h"
#include "RVLinuxClock.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxSystemFacts.h"
#include "RVLinuxUserDefaults.h"
#include "RVPlatform.h"
#include "RVProcTable.h"
#include "RVX11WindowSystem.h"

namespace {
const QString kDefaultDomain = QStringLiteral("com.velmora.VelmoraInstaller");
}

void RVLinuxPlatform::install(const QStringList& arguments)
{
    RVPlatform::install({.systemFacts = std::make_shared<RVLinuxSystemFacts>(arguments),
                         .launcher = std::make_shared<RVLinuxLauncher>(),
                         .clock = std::make_shared<RVLinuxClock>(),
                         .processTable = std::make_shared<RVProcTable>(),
                         .windowSystem = std::make_shared<RVX11WindowSystem>()});
    // The own domain is the bundle identifier, which needs the facts installed first.
    const auto main = RVBundle::mainBundle();
    QString domain = main ? main->bundleIdentifier() : QString();
    if (domain.isEmpty())
        domain = kDefaultDomain;
    RVPlatform::install(
        {.userDefaults = std::make_shared<RVLinuxUserDefaults>(arguments, domain)});
}
