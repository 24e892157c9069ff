#include "RVLinuxPlatform.h"

#include "RVBundle.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxSystemFacts.h"
#include "RVLinuxUserDefaults.h"
#include "RVPlatform.h"

namespace {
const QString kDefaultDomain = QStringLiteral("com.velmora.VelmoraInstaller");
}

void RVLinuxPlatform::install(const QStringList& arguments)
{
    RVPlatform::install({std::make_shared<RVLinuxSystemFacts>(arguments), nullptr,
                         std::make_shared<RVLinuxLauncher>()});
    // The own domain is the bundle identifier, which needs the facts installed first.
    const auto main = RVBundle::mainBundle();
    QString domain = main ? main->bundleIdentifier() : QString();
    if (domain.isEmpty())
        domain = kDefaultDomain;
    RVPlatform::install({nullptr, std::make_shared<RVLinuxUserDefaults>(arguments, domain),
                         nullptr});
}
