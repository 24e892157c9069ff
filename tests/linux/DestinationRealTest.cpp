#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVAutostart.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxWorkspace.h"
#include "TempDir.h"
#include "TestApps.h"

#include <QCoreApplication>
#include <QProcess>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace {

TEST(Autostart, EntriesResolveToTheirBundlesInNameOrderWithUserShadowing)
{
    TempDir tmp;
    const QString alpha = makeTestBundle(tmp.mkdir(QStringLiteral("Apps")), {QStringLiteral("Alpha"), QStringLiteral("alpha")});
    const QString beta = makeTestBundle(tmp.file(QStringLiteral("Apps")), {QStringLiteral("Beta Two"), QStringLiteral("beta two")});
    const QString gamma = makeTestBundle(tmp.file(QStringLiteral("Apps")), {QStringLiteral("Gamma"), QStringLiteral("gamma")});
    const QString user = tmp.mkdir(QStringLiteral("config/autostart"));
    const QString system = tmp.mkdir(QStringLiteral("xdg/autostart"));
    auto entry = [&](const QString& folder, const QString& name, const QString& lines) {
        tmp.write(folder.mid(tmp.path().size() + 1) + u'/' + name,
                  (QStringLiteral("[Desktop Entry]\nType=Application\nName=x\n") + lines).toUtf8());
    };
    entry(system, QStringLiteral("a.desktop"), QStringLiteral("Exec=") + alpha + QStringLiteral("/Contents/MacOS/alpha --start\n"));
    entry(user, QStringLiteral("b.desktop"), QStringLiteral("Exec=\"") + beta + QStringLiteral("/Contents/MacOS/beta two\" %U\n"));
    entry(system, QStringLiteral("b.desktop"), QStringLiteral("Exec=") + gamma + QStringLiteral("/Contents/MacOS/gamma\n"));
    entry(system, QStringLiteral("c.desktop"), QStringLiteral("Exec=") + gamma + QStringLiteral("/Contents/MacOS/gamma\nHidden=true\n"));
    entry(user, QStringLiteral("d.desktop"), QStringLiteral("Exec=missing-program\nTryExec=") + gamma + QStringLiteral("/Contents/MacOS/gamma\n"));
    entry(user, QStringLiteral("e.desktop"), QStringLiteral("Exec=/bin/true\n"));
    EXPECT_EQ(RVAutostart::loginItems(tmp.file(QStringLiteral("config")), {tmp.file(QStringLiteral("xdg"))}),
              (QStringList{alpha, beta, gamma}));
}

// "Not writable" needs a user that permissions stop; root is not one, so the check runs in
// a copy of this test program started as nobody.
// A bundle folder is shown by its name alone; a file named like one keeps its extension.
TEST(DisplayName, OnlyABundleFolderLosesItsExtension)
{
    TempDir tmp;
    RVLinuxFileManager files;
    struct Case
    {
        QString path;
        const char* shown;
    } cases[] = {{tmp.mkdir(QStringLiteral("Acme.app")), "Acme"},
                 {tmp.write(QStringLiteral("Notes.app"), "not a bundle"), "Notes.app"},
                 {tmp.mkdir(QStringLiteral("Apps")), "Apps"},
                 {QStringLiteral("/"), "/"}};
    for (const Case& c : cases)
        EXPECT_EQ(files.displayName(c.path), QString::fromUtf8(c.shown)) << c.path.toStdString();
}

// Under pkexec (root, PKEXEC_UID set) the home is the asking user's; otherwise ours.
TEST(Workspace, TheHomeIsTheAskingUsersUnderPkexec)
{
    RVLinuxWorkspace workspace(nullptr, QStringLiteral("/Applications"));
    qunsetenv("PKEXEC_UID");
    EXPECT_EQ(workspace.homeDirectory(), QDir::homePath());
    if (::getuid() != 0)
        GTEST_SKIP() << "the pkexec case needs root";
    const struct passwd* nobody = ::getpwnam("nobody");
    ASSERT_TRUE(nobody);
    qputenv("PKEXEC_UID", QByteArray::number(nobody->pw_uid));
    EXPECT_EQ(workspace.homeDirectory(), QFile::decodeName(nobody->pw_dir));
    qunsetenv("PKEXEC_UID");
}

TEST(WriteChecks, UnwritableFolderAndItemForAnUnprivilegedUser)
{
    if (qEnvironmentVariableIsSet("RV_INNER_UNPRIVILEGED")) {
        FakePlatform platform;
        LogCapture log;
        RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>()});
        InstallerWinController controller;
        const QString root = qEnvironmentVariable("RV_INNER_UNPRIVILEGED");
        EXPECT_FALSE(controller.canWriteToPath(root + QStringLiteral("/Locked/New Folder/Product.app")));
        EXPECT_FALSE(controller.canWriteToPath(root + QStringLiteral("/Open/Product.app")));
        EXPECT_FALSE(controller.canWriteToDirectory(root + QStringLiteral("/Locked")));
        EXPECT_TRUE(controller.canWriteToDirectory(root + QStringLiteral("/Open")));
        EXPECT_TRUE(controller.canWriteToPath(root + QStringLiteral("/Open/Other.app")));
        EXPECT_FALSE(controller.canWriteToFile(root + QStringLiteral("/Open/Product.app/Contents/Info.plist")));
        EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("Cannot write to folder %1/Locked").arg(root),
                                            QStringLiteral("Cannot write to item %1/Open/Product.app").arg(root)}));
        EXPECT_TRUE(QDir(root + QStringLiteral("/Open")).entryList(QDir::Files | QDir::Hidden).isEmpty());
        return;
    }
    if (::getuid() != 0)
        GTEST_SKIP() << "starting the check as another user needs root";
    TempDir tmp;
    QFile::setPermissions(tmp.path(), QFile::permissions(tmp.path()) | QFile::ExeOther | QFile::ReadOther);
    tmp.mkdir(QStringLiteral("Locked"));
    const QString open = tmp.mkdir(QStringLiteral("Open"));
    ::chown(QFile::encodeName(open).constData(), 65534, 65534);
    tmp.write(QStringLiteral("Open/Product.app/Contents/Info.plist"), "{}"); // root's, inside nobody's folder

    QProcess inner;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("RV_INNER_UNPRIVILEGED"), tmp.path());
    inner.setProcessEnvironment(environment);
    inner.start(QStringLiteral("/usr/bin/setpriv"),
                {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups"),
                 QCoreApplication::applicationFilePath().isEmpty() ? QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath()
                                                                   : QCoreApplication::applicationFilePath(),
                 QStringLiteral("--gtest_filter=WriteChecks.UnwritableFolderAndItemForAnUnprivilegedUser")});
    ASSERT_TRUE(inner.waitForFinished(30000));
    EXPECT_EQ(inner.exitCode(), 0) << inner.readAllStandardOutput().toStdString();
}

} // namespace
