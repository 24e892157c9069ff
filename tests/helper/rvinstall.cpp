// The installer's plain copy as its own process, so that tests can kill it at a chosen
// step: InstallApplication with the Linux services, links trusted as in the installer.
// rvinstall APPLICATIONS SOURCE DESTINATION [WRAPPER]; exits with the copy's result.
#include "InstallFunction.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVPlatform.h"

#include <QString>

int main(int argc, char* argv[])
{
    if (argc < 4 || argc > 5)
        return 64;
    RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(),
                         .workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(),
                                                                         QString::fromUtf8(argv[1]))});
    return InstallApplication(QString::fromUtf8(argv[2]), QString::fromUtf8(argv[3]),
                              argc > 4 ? QString::fromUtf8(argv[4]) : QString());
}
