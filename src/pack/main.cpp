// velmora-pack: one file to ship a product with its installer.
//
//   velmora-pack PRODUCT.app OUTPUT   writes OUTPUT: this program followed by the product.
//   OUTPUT                            (double-clicked, or started from a shell) unpacks the
//                                     product into a private temporary folder, checks it,
//                                     runs the installer inside it and removes the folder.
#include "RVPackage.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressDialog>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

const QString kInstaller = QStringLiteral("Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller");
constexpr int kProgressDelayMs = 500;

std::atomic<pid_t> g_installer{0};
std::atomic<bool> g_stopRequested{false};

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// A message for the user: a small dialog when there is a display, standard error always.
void tell(const QString& title, const QString& text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
    if (qobject_cast<QApplication*>(QCoreApplication::instance()))
        QMessageBox::critical(nullptr, title, text);
}

// A private folder for the product: mode 0700 under $XDG_RUNTIME_DIR, else /tmp. The
// product goes into its "AppTranslocation" folder, which marks the place as temporary: no
// installation goes there, and no copy there is one to replace.
QString makePrivateFolder()
{
    QString base = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (base.isEmpty() || !QFileInfo(base).isDir() || !QFileInfo(base).isWritable())
        base = QStringLiteral("/tmp");
    QByteArray pattern = QFile::encodeName(base + QStringLiteral("/velmora-XXXXXX"));
    if (!::mkdtemp(pattern.data()))
        return {};
    const QString folder = QFile::decodeName(pattern);
    if (::mkdir(QFile::encodeName(folder + QStringLiteral("/AppTranslocation")).constData(), 0700) != 0) {
        QDir(folder).removeRecursively();
        return {};
    }
    return folder;
}

// Signals to end reach the installer, which ends as its window would; before it runs they
// stop the unpacking. Either way the private folder is removed.
void forward(int signalNumber)
{
    g_stopRequested = true;
    if (const pid_t pid = g_installer)
        ::kill(pid, signalNumber);
}

int runInstaller(const QString& installer)
{
    const QByteArray path = QFile::encodeName(installer);
    char* argv[] = {const_cast<char*>(path.constData()), nullptr};
    pid_t pid = 0;
    if (::posix_spawn(&pid, path.constData(), nullptr, nullptr, argv, environ) != 0)
        return 127;
    g_installer = pid;
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    g_installer = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int pack(const QString& product, const QString& output)
{
    if (!QFileInfo(product + u'/' + kInstaller).isExecutable()) {
        std::fprintf(stderr, "velmora-pack: %s holds no %s: put the installer into the product first\n",
                     qPrintable(product), qPrintable(kInstaller));
        return 2;
    }
    const QString error = RVPackage::write(QStringLiteral("/proc/self/exe"), product, output);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "velmora-pack: %s\n", qPrintable(error));
        return 1;
    }
    return 0;
}

// Checks and unpacks on a thread of its own while the main thread shows how far it got,
// once it takes longer than a moment.
QString unpack(const QString& self, const RVPackage::Payload& payload, const QString& folder, QString* error)
{
    std::atomic<int> permille{0};
    std::atomic<bool> done{false};
    QString product;
    QThread* worker = QThread::create([&] {
        if (!RVPackage::verify(self, payload)) {
            *error = QStringLiteral("its checksum does not match");
        } else {
            product = RVPackage::extract(self, payload, folder + QStringLiteral("/AppTranslocation"),
                                         [&](double share) {
                                             permille = int(share * 1000);
                                             return !g_stopRequested;
                                         },
                                         error);
        }
        done = true;
    });
    std::unique_ptr<QProgressDialog> dialog;
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) {
        dialog = std::make_unique<QProgressDialog>(
            QStringLiteral("Unpacking %1…").arg(QFileInfo(self).fileName()), QString(), 0, 1000);
        dialog->setWindowTitle(QFileInfo(self).fileName());
        dialog->setMinimumDuration(kProgressDelayMs);
        dialog->setValue(0);
    }
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (dialog)
            dialog->setValue(permille);
        if (done)
            QCoreApplication::exit(0);
    });
    poll.start(30);
    worker->start();
    QCoreApplication::exec();
    worker->wait();
    delete worker;
    return product;
}

} // namespace

int main(int argc, char* argv[])
{
    const QString self = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    const auto payload = RVPackage::payloadOf(self);
    if (!payload && !RVPackage::carriesData(self)) {
        QCoreApplication application(argc, argv);
        if (argc != 3) {
            std::fprintf(stderr, "usage: velmora-pack PRODUCT.app OUTPUT\n");
            return 64;
        }
        return pack(QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]));
    }

    std::unique_ptr<QCoreApplication> application;
    if (hasDisplay()) {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
            qputenv("QT_QPA_PLATFORM", "wayland;xcb");
        application = std::make_unique<QApplication>(argc, argv);
    } else {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    const QString title = QFileInfo(self).fileName();

    for (const int s : {SIGTERM, SIGINT, SIGHUP})
        std::signal(s, forward);
    const QString folder = makePrivateFolder();
    if (folder.isEmpty()) {
        tell(title, QStringLiteral("%1 cannot be unpacked: no private temporary folder could be made.").arg(title));
        return 1;
    }
    QString error = QStringLiteral("it is cut short");
    const QString product = payload ? unpack(self, *payload, folder, &error) : QString();
    int status = 1;
    if (g_stopRequested) {
        status = 2; // ended before the installer ran, as a cancel
    } else if (product.isNull()) {
        tell(title, QStringLiteral("%1 is damaged or incomplete (%2). Download it again.").arg(title, error));
    } else if (!QFileInfo(product + u'/' + kInstaller).isExecutable()) {
        tell(title, QStringLiteral("%1 holds no installer.").arg(title));
    } else {
        status = runInstaller(product + u'/' + kInstaller);
    }
    QDir(folder).removeRecursively();
    return status;
}
