// The installer's entry: the application, the window from the interface file, the session
// and its start-up.
#include "InstallerWinController.h"
#include "InstallerWindow.h"
#include "RVBundle.h"
#include "RVLinuxPlatform.h"
#include "RVLocalization.h"
#include "RVPlatform.h"
#include "RVTerminationSignal.h"
#include "RVUtilities.h"

#include <QApplication>
#include <QStringList>

#include <future>

#include <unistd.h>

namespace {

// A bundle that carries Qt (a qt.conf beside the program) loads plugins from itself only:
// the host's, built for another Qt, would not load or would crash.
void keepPluginsInsideTheBundle()
{
    char program[4096];
    const ssize_t length = ::readlink("/proc/self/exe", program, sizeof program - 1);
    const QByteArray folder = QByteArray(program, length > 0 ? length : 0);
    if (::access(folder.left(folder.lastIndexOf('/')) + "/qt.conf", R_OK) == 0) {
        qunsetenv("QT_PLUGIN_PATH");
        qunsetenv("QT_QPA_PLATFORM_PLUGIN_PATH");
    }
}

} // namespace

int main(int argc, char* argv[])
{
    keepPluginsInsideTheBundle();
    RVLinuxPlatform::chooseWindowSystem();
    RVLinuxPlatform::prepareDisplayInBackground();
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QApplication application(argc, argv);
    RVLinuxPlatform::install(arguments);
    // The desktop's colour scheme is a round trip to the settings portal: asked on the spare
    // core while the string table loads.
    std::future<bool> dark = std::async(std::launch::async, RVUtilities::darkMenuTheme);
    if (const auto bundle = RVBundle::mainBundle())
        RVLocalization::load(RVPlatform::current().systemFacts().preferredLanguages(),
                             bundle->resourcePath() + QStringLiteral("/translations"));
    RVLocalization::installIntoApplication();
    InstallerWindow::followLanguageDirection();
    InstallerWindow::followColourScheme(dark.get());

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
