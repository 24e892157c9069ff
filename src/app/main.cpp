// The installer's entry. The window arrives with the session start-up; until then the
// program sets up the platform, its string table and its arguments.
#include "InstallerWinController.h"
#include "RVBundle.h"
#include "RVLinuxPlatform.h"
#include "RVLocalization.h"
#include "RVPlatform.h"

#include <QCoreApplication>
#include <QStringList>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    RVLinuxPlatform::install(arguments);

    if (const auto bundle = RVBundle::mainBundle())
        RVLocalization::load(RVPlatform::current().systemFacts().currentLocale(),
                             bundle->resourcePath() + QStringLiteral("/translations"));

    InstallerWinController controller;
    controller.extractArguments();
    return 0;
}
