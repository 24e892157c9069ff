// The installer's entry: the application, the window from the interface file, the session
// and its start-up.
#include "InstallerWinController.h"
#include "InstallerWindow.h"
#include "RVBundle.h"
#include "RVLinuxPlatform.h"
#include "RVLocalization.h"
#include "RVPlatform.h"
#include "RVTerminationSignal.h"

#include <QApplication>
#include <QStringList>

int main(int argc, char* argv[])
{
    RVLinuxPlatform::chooseWindowSystem();
    RVLinuxPlatform::prepareDisplayInBackground();
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QApplication application(argc, argv);
    RVLinuxPlatform::prepareImageFormatsInBackground();
    RVLinuxPlatform::install(arguments);
    if (const auto bundle = RVBundle::mainBundle())
        RVLocalization::load(RVPlatform::current().systemFacts().preferredLanguages(),
                             bundle->resourcePath() + QStringLiteral("/translations"));
    RVLocalization::installIntoApplication();
    InstallerWindow::followLanguageDirection();
    InstallerWindow::followColourScheme(
        RVPlatform::current().userDefaults().valueForKeyInDomain(QStringLiteral("AppleInterfaceStyle"),
                                                                 QStringLiteral("NSGlobalDomain")).toString() == u"Dark");

    InstallerWindow window;
    InstallerWinController controller;
    controller.setView(&window);
    window.connectController(&controller);
    // exit, not quit: quit asks the windows to close first, and the window's close is itself
    // a request to terminate.
    QObject::connect(
        &controller, &InstallerWinController::terminateRequested, &application,
        [&controller] { QCoreApplication::exit(controller.exitStatus()); }, Qt::QueuedConnection);
    // A signal to end is a close of the window: a copy under way finishes first.
    RVTerminationSignal::install([&controller] { controller.terminate(); });
    controller.awakeFromNib();
    return application.exec();
}
