#include "ArgumentWords.h"
#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVInstallerInterface.h"
#include "RVProcess.h"
#include "TempDir.h"
#include "TestApps.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

class DestinationTest : public ::testing::Test
{
protected:
    void SetUp() override { RVProcess::resetCacheForTesting(); }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    void setArguments(std::initializer_list<const char*> words) { controller.setArguments(argumentsFromWords(words)); }

    TempDir tmp;
    FakePlatform platform;
    FakeFileManager& files = *platform.fileManager;
    LogCapture log;
    InstallerWinController controller;
};

TEST(UnsupportedFolder, OnlyTheNamedPlacesAndPairsCount)
{
    struct Case { const char* path; bool unsupported; } cases[] = {
        {"/Users/kol/build/Product.app", true},     {"/Users/other/build/Product.app", false},
        {"/home/kol/x/Product.app", false},          {"/Volumes/Product-Install/Product.app", true},
        {"/Volumes/Data/Product.app", false},        {"/media/Product-Install/Product.app", false},
        {"/Users/x/.Trash/Product.app", true},       {"/home/x/.local/share/Trash/files/P.app", true},
        {"/home/x/trash/P.app", false},              {"/Applications/Product.app", false},
        {"/run/user/1000/velmora-Ab12Cd/AppTranslocation/P.app", true}, // unpacked from one file to ship
        {"/home/x/AppTranslocation.app", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(InstallerWinController::isInUnsupportedFolder(QString::fromUtf8(c.path)), c.unsupported) << c.path;
}

TEST_F(DestinationTest, CanWriteToPathJudgesTheNearestExistingFolder)
{
    files.existing = {QStringLiteral("/"), QStringLiteral("/Applications"), QStringLiteral("/ro"),
                      QStringLiteral("/Applications/Locked.app")};
    files.writable = {QStringLiteral("/Applications")};
    struct Case { const char* path; bool expected; const char* line; } cases[] = {
        {"/Applications/Folder/Product.app", true, nullptr},
        {"/Applications/Product.app", true, nullptr},
        {"/a/b/c/Product.app", false, "Cannot write to folder /"},
        {"/ro/Product.app", false, "Cannot write to folder /ro"},
        {"/Applications/Locked.app", false, "Cannot write to item /Applications/Locked.app"},
    };
    for (const auto& c : cases) {
        const qsizetype before = log.lines().size();
        EXPECT_EQ(controller.canWriteToPath(QString::fromUtf8(c.path)), c.expected) << c.path;
        const QStringList lines = log.lines().mid(before);
        EXPECT_EQ(lines, c.line ? QStringList{QString::fromUtf8(c.line)} : QStringList()) << c.path;
    }
    files.writable.insert(QStringLiteral("/"));
    EXPECT_TRUE(controller.canWriteToPath(QStringLiteral("/a/b/c/Product.app")));
}

TEST_F(DestinationTest, ProbeFileIsNamedAfterTheRandomNumberAndRedrawnWhenTaken)
{
    files.existing = {QStringLiteral("/dir")};
    EXPECT_TRUE(controller.canWriteToDirectory(QStringLiteral("/dir")));
    ASSERT_EQ(files.probes.size(), 1);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^/dir/temp-[0-9A-F]+$")).match(files.probes[0]).hasMatch())
        << files.probes[0].toStdString();
    files.probeSucceeds = false;
    EXPECT_FALSE(controller.canWriteToDirectory(QStringLiteral("/dir")));
}

TEST_F(DestinationTest, ApplicationsDirectoryPrefersTheWritableFolder)
{
    FakeWorkspace& workspace = *platform.workspace;
    struct Case { bool localWritable, userExists, userWritable; const char* expected; int lines; } cases[] = {
        {true, true, true, "/Applications", 0},
        {false, true, true, "/home/u/Applications", 2},
        {false, false, false, "/Applications", 2},
        {false, true, false, "/Applications", 2},
    };
    for (const auto& c : cases) {
        files.existing = {workspace.local};
        files.writable.clear();
        if (c.localWritable)
            files.writable.insert(workspace.local);
        if (c.userExists)
            files.existing.insert(workspace.user);
        if (c.userWritable)
            files.writable.insert(workspace.user);
        const qsizetype before = log.lines().size();
        EXPECT_EQ(controller.applicationsDirectory(), QString::fromUtf8(c.expected));
        EXPECT_EQ(log.lines().size() - before, c.lines);
    }
    EXPECT_EQ(log.lines().mid(0, 2), (QStringList{QStringLiteral("Can't write to /Applications, checking ~/Applications"),
                                                  QStringLiteral("User applicationsDirectory: /home/u/Applications")}));
}

// A login item or a running application becomes the destination only when it is a copy of
// the product: the same identifier, or without one the same executable. Look-alikes ("Product
// Sync" for "Product", an impostor with the product's code) are passed over with a line.
TEST_F(DestinationTest, LoginItemWinsOverARunningCopyUnlessItIsInTheTrashOrNoCopy)
{
    const QString source = makeTestBundle(tmp.mkdir(QStringLiteral("src")),
                                          {QStringLiteral("Product"), QStringLiteral("product"), QStringLiteral("PROD"),
                                           QStringLiteral("com.example.product")});
    const QString loginCopy = makeTestBundle(tmp.mkdir(QStringLiteral("login")),
                                             {QStringLiteral("Product"), QStringLiteral("product"), {}, QStringLiteral("com.example.product")});
    const QString lookAlike = makeTestBundle(tmp.file(QStringLiteral("login")),
                                             {QStringLiteral("Product Sync"), QStringLiteral("product"), QStringLiteral("PROD"),
                                              QStringLiteral("com.example.sync")});
    const QString trashed = makeTestBundle(tmp.mkdir(QStringLiteral("home/.Trash")),
                                           {QStringLiteral("Product"), QStringLiteral("product"), {}, QStringLiteral("com.example.product")});
    const QVariantMap productInfo{{QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.product")}};
    FakeProcessTable& table = *platform.processTable;
    table.add(1, QStringLiteral("Installer"), "PROD").location = QStringLiteral("/Volumes/P/Product.app");
    table.current = 1;
    table.add(4, QStringLiteral("Impostor"), "PROD").location = QStringLiteral("/opt/Impostor.app");
    table.processes[4].info = {{QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.impostor")}};
    table.add(5, QStringLiteral("Product"), "PROD").location = QStringLiteral("/Users/kol/build/Product.app");
    table.processes[5].info = productInfo;
    table.add(6, QStringLiteral("Product"), "PROD").location = QStringLiteral("/opt/Product.app");
    table.processes[6].info = productInfo;
    table.add(7, QStringLiteral("Helper"), "HELP").location = QStringLiteral("/opt/Helper.app");
    table.processes[7].info = {{QStringLiteral("CFBundleExecutable"), QStringLiteral("product")}}; // no identifier
    const auto setCodes = [&](const QStringList& codes) {
        QStringList words{QStringLiteral("/prog"), QStringLiteral("-sourcePath"), source};
        if (!codes.isEmpty())
            words << QStringLiteral("-productCode") << codes;
        controller.setArguments(RVInstallerArguments::fromArgumentList(words));
    };
    setCodes({QStringLiteral("PROD"), QStringLiteral("HELP")});

    struct Case
    {
        QStringList loginItems;
        QString expected;
        QString line; // the last line logged
    } cases[] = {
        {{trashed, QStringLiteral("/opt/Other.app")}, QStringLiteral("/opt/Product.app"), QStringLiteral("autolaunch = ") + trashed},
        {{lookAlike, loginCopy}, loginCopy, QStringLiteral("autolaunch = ") + loginCopy},
        {{lookAlike}, QStringLiteral("/opt/Product.app"), QStringLiteral("autolaunch = (null)")},
        {{}, QStringLiteral("/opt/Product.app"), QStringLiteral("autolaunch = (null)")},
    };
    for (const Case& c : cases) {
        platform.workspace->login = c.loginItems;
        const qsizetype seen = log.lines().size();
        EXPECT_EQ(controller.findPreferredDestinationFor(QStringLiteral("Product")), c.expected) << c.loginItems.join(u' ').toStdString();
        EXPECT_TRUE(log.lines().mid(seen).contains(c.line)) << c.line.toStdString();
    }
    EXPECT_TRUE(log.lines().contains(QStringLiteral("login item %1 is no copy of Product; passed over").arg(lookAlike)));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("running application /opt/Impostor.app is no copy of the product; passed over")));
    platform.workspace->login = {loginCopy};
    EXPECT_EQ(controller.autoLaunchPathFor(QString()), QString()); // an empty name matches nothing

    // The second pass looks at every product code; a copy without identifier is known by its executable.
    table.processes[6].running = false;
    EXPECT_EQ(controller.pathToProcessToReplace(), QStringLiteral("/opt/Helper.app"));
    setCodes({QStringLiteral("PROD")});
    EXPECT_EQ(controller.pathToProcessToReplace(), QString()); // one code: one pass only
    setCodes({});
    EXPECT_EQ(controller.pathToProcessToReplace(), QString());
    // The unknown signature finds no running copy, however many applications carry it.
    table.add(8, QStringLiteral("Product"), "????").info = productInfo;
    setCodes({QStringLiteral("????")});
    EXPECT_EQ(controller.pathToProcessToReplace(), QString());
}

TEST_F(DestinationTest, LocalizedPathShowsHomeAsTildeAndBundlesWithoutSuffix)
{
    platform.facts->home = QStringLiteral("/home/anna");
    EXPECT_EQ(controller.localizedPath(QStringLiteral("/home/anna/Applications/Velmora Demo.app")),
              QStringLiteral("~/Applications/Velmora Demo"));
    EXPECT_EQ(controller.localizedPath(QStringLiteral("/Applications/Demo.app")), QStringLiteral("/Applications/Demo"));
    EXPECT_EQ(controller.recursiveLocalizedPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(controller.recursiveLocalizedPath(QStringLiteral("~")), QStringLiteral("~"));
    EXPECT_EQ(controller.localizedPath(QStringLiteral("/home/annabel/x")), QStringLiteral("/home/annabel/x"));
}

// Only applications a code really names are asked to quit, plus running copies of the
// product known by their bundle: "????" and codes that do not convert (0) name nobody.
TEST_F(DestinationTest, QuittingAsksEveryListedProcessButTheOwn)
{
    const QString source = makeTestBundle(tmp.mkdir(QStringLiteral("src")),
                                          {QStringLiteral("Product"), QStringLiteral("product"), {}, QStringLiteral("com.example.product")});
    FakeProcessTable& table = *platform.processTable;
    table.add(1, QStringLiteral("Installer"), "PROD");
    table.current = 1;
    table.add(3, QStringLiteral("Copy A"), "PROD").politeRequestsToEnd = -1;
    table.processes[3].forceRequestsToEnd = -1;
    platform.windowSystem->closeResult = RVWindowSystem::CloseResult::NoWindow;
    table.add(4, QStringLiteral("Editor"), "????");
    table.add(5, QStringLiteral("Other"), "OTHR");
    table.add(6, QStringLiteral("Unreadable"), "????").signature = 0;
    table.add(7, QStringLiteral("Copy C"), "????").info = {{QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.product")}};
    table.add(8, QStringLiteral("Copy D"), "????").location = QStringLiteral("/Applications/Product.app");
    controller.setArguments(RVInstallerArguments::fromArgumentList(
        {QStringLiteral("/prog"), QStringLiteral("-sourcePath"), source, QStringLiteral("-destinationPath"),
         QStringLiteral("/Applications/Product.app"), QStringLiteral("-quitCode"), QStringLiteral("PROD"), QStringLiteral("PROD"),
         QStringLiteral("????"), QStringLiteral("bad")}));

    EXPECT_EQ(controller.processToQuitStillRunning(), QStringLiteral("Copy A"));
    const double start = platform.clock->time;
    controller.quitProcesses();
    for (pid_t bystander : {1, 4, 5, 6})
        EXPECT_EQ(table.processes[bystander].politeRequests + table.processes[bystander].forceRequests, 0) << bystander;
    EXPECT_EQ(table.processes[7].politeRequests, 1);
    EXPECT_EQ(table.processes[8].politeRequests, 1);
    const QStringList lines = log.lines();
    EXPECT_TRUE(lines.contains(QStringLiteral("Still running 'PROD': Copy A")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Quitting 'PROD': Copy A")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Quitting '?\?\?\?': Copy C")));
    EXPECT_FALSE(lines.contains(QStringLiteral("Quitting '?\?\?\?': Editor")));
    // Copy A resists for 2 x 4 s; each process is followed by a 100 ms pause.
    EXPECT_NEAR(platform.clock->time - start, 8.3, 0.05);
    EXPECT_EQ(controller.processToQuitStillRunning(), QStringLiteral("Copy A"));

    const QStringList list{QStringLiteral("ABC"), QStringLiteral("WXYZ"), QStringLiteral("????")};
    EXPECT_FALSE(InstallerWinController::signatureIsInArray(0, &list)); // "ABC" does not convert: 0, which names nothing
    EXPECT_FALSE(InstallerWinController::signatureIsInArray(RVFourCC("????"), &list));
    EXPECT_TRUE(InstallerWinController::signatureIsInArray(RVFourCC("WXYZ"), &list));
    EXPECT_FALSE(InstallerWinController::signatureIsInArray(RVFourCC("ABCD"), nullptr));
    setArguments({});
    EXPECT_EQ(controller.processToQuitStillRunning(), QString());
}

} // namespace
