#include "RVLinuxPlatform.h"

#include "RVAtspiAccessibility.h"
#include "RVAudioModule.h"
#include "RVBundle.h"
#include "RVLinuxApplicationEvents.h"
#include "RVLinuxClock.h"
#include "RVLinuxLaunchEnvironment.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxSystemFacts.h"
#include "RVLinuxUserDefaults.h"
#include "RVLinuxWorkspace.h"
#include "RVPkexecAuthorization.h"
#include "RVPlatform.h"
#include "RVProcTable.h"
#include "RVX11ActiveWindowWatcher.h"
#include "RVX11Connection.h"
#include "RVX11WindowSystem.h"

#include <X11/Xauth.h>
#include <fontconfig/fontconfig.h>

#include <cstdlib>
#include <thread>

namespace {

const QString kDefaultDomain = QStringLiteral("com.velmora.VelmoraInstaller");

// The demo and the end-to-end tests install into a folder of their own and put a stand-in
// for pkexec; a real session uses the defaults.
QString applicationsFolder()
{
    const QString folder = qEnvironmentVariable("VELMORA_APPLICATIONS_DIR");
    return folder.startsWith(u'/') ? folder : QStringLiteral("/Applications");
}

QString pkexecPath()
{
    const QString path = qEnvironmentVariable("VELMORA_PKEXEC");
    return path.startsWith(u'/') ? path : QStringLiteral("/usr/bin/pkexec");
}

} // namespace

void RVLinuxPlatform::install(const QStringList& arguments)
{
    auto launcher = std::make_shared<RVLinuxLauncher>();
    auto facts = std::make_shared<RVLinuxSystemFacts>(arguments);
    auto processTable = std::make_shared<RVProcTable>();
    const QString audioModule = RVAudioModule::pathInBundleOf(facts->executablePath());
    RVPlatform::install({.systemFacts = std::move(facts),
                         .launcher = launcher,
                         .clock = std::make_shared<RVLinuxClock>(),
                         .processTable = processTable,
                         .windowSystem = std::make_shared<RVX11WindowSystem>(),
                         .fileManager = std::make_shared<RVLinuxFileManager>(),
                         .workspace = std::make_shared<RVLinuxWorkspace>(launcher, applicationsFolder()),
                         .authorization = std::make_shared<RVPkexecAuthorization>(pkexecPath()),
                         .audio = std::make_shared<RVAudioModule>(audioModule),
                         .applicationEvents = std::make_shared<RVLinuxApplicationEvents>(processTable),
                         .launchEnvironment = std::make_shared<RVLinuxLaunchEnvironment>(processTable),
                         .accessibility = std::make_shared<RVAtspiAccessibility>()});
    // The own domain is the bundle identifier, which needs the facts installed first.
    const auto main = RVBundle::mainBundle();
    QString domain = main ? main->bundleIdentifier() : QString();
    if (domain.isEmpty())
        domain = kDefaultDomain;
    RVPlatform::install(
        {.userDefaults = std::make_shared<RVLinuxUserDefaults>(arguments, domain)});
}

void RVLinuxPlatform::chooseWindowSystem()
{
    // A Wayland session gets a native Wayland window; X (XWayland too) is the fallback when
    // the Wayland plugin cannot start. A choice the user made stands.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "wayland;xcb");
}

void RVLinuxPlatform::prepareDisplayInBackground()
{
    if (!std::getenv("DISPLAY"))
        return;
    // Every connection to the display asks libXau for the authority file's name, which it
    // keeps in a buffer it grows without a lock: the first call is made here, alone, so that
    // the connections made at once below and by the application only read it.
    XauFileName();
    // Both are process-wide and thread-safe: Qt's own FcInit later finds the configuration
    // loaded, and the window system finds the connection open.
    std::thread([] {
        FcInit();
        RVX11Connection::acquire();
    }).detach();
    RVX11ActiveWindowWatcher::prepareConnectionInBackground();
}
