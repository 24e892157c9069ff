#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "LinuxTest.h"
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
    const QString alpha = makeTestBundle(tmp.mkdir(u"Apps"_s), {u"Alpha"_s, u"alpha"_s});
    const QString beta = makeTestBundle(tmp.file(u"Apps"_s), {u"Beta Two"_s, u"beta two"_s});
    const QString gamma = makeTestBundle(tmp.file(u"Apps"_s), {u"Gamma"_s, u"gamma"_s});
    const QString user = tmp.mkdir(u"config/autostart"_s);
    const QString system = tmp.mkdir(u"xdg/autostart"_s);
    auto entry = [&](const QString& folder, const QString& name, const QString& lines) {
        tmp.write(folder.mid(tmp.path().size() + 1) + u'/' + name,
                  (u"[Desktop Entry]\nType=Application\nName=x\n"_s + lines).toUtf8());
    };
    entry(system, u"a.desktop"_s, u"Exec="_s + alpha + u"/Contents/MacOS/alpha --start\n"_s);
    entry(user, u"b.desktop"_s, u"Exec=\""_s + beta + u"/Contents/MacOS/beta two\" %U\n"_s);
    entry(system, u"b.desktop"_s, u"Exec="_s + gamma + u"/Contents/MacOS/gamma\n"_s);
    entry(system, u"c.desktop"_s, u"Exec="_s + gamma + u"/Contents/MacOS/gamma\nHidden=true\n"_s);
    entry(user, u"d.desktop"_s, u"Exec=missing-program\nTryExec="_s + gamma + u"/Contents/MacOS/gamma\n"_s);
    entry(user, u"e.desktop"_s, u"Exec=/bin/true\n"_s);
    EXPECT_EQ(RVAutostart::loginItems(tmp.file(u"config"_s), {tmp.file(u"xdg"_s)}),
              (QStringList{alpha, beta, gamma}));
}

// A bundle folder is shown by its name alone; a file named like one keeps its extension.
TEST(DisplayName, OnlyABundleFolderLosesItsExtension)
{
    TempDir tmp;
    RVLinuxFileManager files;
    struct Case
    {
        QString path;
        const char* shown;
    } cases[] = {{tmp.mkdir(u"Acme.app"_s), "Acme"},
                 {tmp.write(u"Notes.app"_s, "not a bundle"), "Notes.app"},
                 {tmp.mkdir(u"Apps"_s), "Apps"},
                 {u"/"_s, "/"}};
    for (const Case& c : cases)
        EXPECT_EQ(files.displayName(c.path), QString::fromUtf8(c.shown)) << c.path.toStdString();
}

// Under pkexec (root, PKEXEC_UID set) the home is the asking user's; otherwise ours.
TEST(Workspace, TheHomeIsTheAskingUsersUnderPkexec)
{
    RVLinuxWorkspace workspace(nullptr, u"/Applications"_s);
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

// "Not writable" needs a user that permissions stop; root is not one, so the check runs in
// a copy of this test program started as nobody.
TEST(WriteChecks, UnwritableFolderAndItemForAnUnprivilegedUser)
{
    if (qEnvironmentVariableIsSet("RV_INNER_UNPRIVILEGED")) {
        FakePlatform platform;
        LogCapture log;
        RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>()});
        InstallerWinController controller;
        const QString root = qEnvironmentVariable("RV_INNER_UNPRIVILEGED");
        EXPECT_FALSE(controller.canWriteToPath(root + u"/Locked/New Folder/Product.app"_s));
        EXPECT_FALSE(controller.canWriteToPath(root + u"/Open/Product.app"_s));
        EXPECT_FALSE(controller.canWriteToDirectory(root + u"/Locked"_s));
        EXPECT_TRUE(controller.canWriteToDirectory(root + u"/Open"_s));
        EXPECT_TRUE(controller.canWriteToPath(root + u"/Open/Other.app"_s));
        EXPECT_FALSE(controller.canWriteToFile(root + u"/Open/Product.app/Contents/Info.plist"_s));
        EXPECT_EQ(log.lines(), (QStringList{u"Cannot write to folder %1/Locked"_s.arg(root),
                                            u"Cannot write to item %1/Open/Product.app"_s.arg(root)}));
        EXPECT_TRUE(QDir(root + u"/Open"_s).entryList(QDir::Files | QDir::Hidden).isEmpty());
        return;
    }
    if (::getuid() != 0)
        GTEST_SKIP() << "starting the check as another user needs root";
    TempDir tmp;
    QFile::setPermissions(tmp.path(), QFile::permissions(tmp.path()) | QFile::ExeOther | QFile::ReadOther);
    tmp.mkdir(u"Locked"_s);
    const QString open = tmp.mkdir(u"Open"_s);
    ::chown(QFile::encodeName(open).constData(), 65534, 65534);
    tmp.write(u"Open/Product.app/Contents/Info.plist"_s, "{}"); // root's, inside nobody's folder

    const QString self = QCoreApplication::applicationFilePath().isEmpty() ? QFileInfo(u"/proc/self/exe"_s).canonicalFilePath()
                                                                         : QCoreApplication::applicationFilePath();
    const QString output = runProgram(u"/usr/bin/setpriv"_s, TestUser{65534, 65534, {}}.drop() << self
                                          << u"--gtest_filter=WriteChecks.UnwritableFolderAndItemForAnUnprivilegedUser"_s,
                                      {u"RV_INNER_UNPRIVILEGED="_s + tmp.path()}, {}, true);
    EXPECT_TRUE(output.contains(u"[  PASSED  ] 1 test"_s)) << output.toStdString();
}

} // namespace
