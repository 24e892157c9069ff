#include "ArgumentWords.h"
#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVInstallerInterface.h"
#include "RVProcess.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

class DestinationTest : public ::testing::Test
{
protected:
    void SetUp() override { RVProcess::resetCacheForTesting(); }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    void setArguments(std::initializer_list<const char*> words) { controller.setArguments(argumentsFromWords(words)); }

    FakePlatform platform;
    FakeFileManager& files = *platform.fileManager;
    LogCapture log;
    InstallerWinController controller;
};

TEST(UnsupportedFolder, OnlyTheNamedPlacesAndPairsCount)
{
    struct Case
    {
        const char* path;
        bool unsupported;
    } cases[] = {
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
    struct Case
    {
        const char* path;
        bool expected;
        const char* line;
    } cases[] = {
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
    struct Case
    {
        bool localWritable, userExists, userWritable;
        const char* expected;
        int lines;
    } cases[] = {
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

TEST_F(DestinationTest, LoginItemWinsOverARunningCopyUnlessItIsInTheTrash)
{
    FakeProcessTable& table = *platform.processTable;
    table.add(1, QStringLiteral("Installer"), "PROD").location = QStringLiteral("/Volumes/P/Product.app");
    table.current = 1;
    table.add(5, QStringLiteral("Product"), "PROD").location = QStringLiteral("/Users/kol/build/Product.app");
    table.add(6, QStringLiteral("Product"), "PROD").location = QStringLiteral("/opt/Product.app");
    table.add(7, QStringLiteral("Helper"), "HELP").location = QStringLiteral("/opt/Helper.app");
    setArguments({"-productCode", "PROD", "HELP"});

    platform.workspace->login = {QStringLiteral("/home/u/.Trash/Product.app"), QStringLiteral("/opt/Other.app")};
    EXPECT_EQ(controller.findPreferredDestinationFor(QStringLiteral("Product")), QStringLiteral("/opt/Product.app"));
    EXPECT_EQ(log.lines().last(), QStringLiteral("autolaunch = /home/u/.Trash/Product.app"));

    platform.workspace->login = {QStringLiteral("/x/Product Helper.app")};
    EXPECT_EQ(controller.findPreferredDestinationFor(QStringLiteral("Product")), QStringLiteral("/x/Product Helper.app"));
    platform.workspace->login.clear();
    EXPECT_EQ(controller.autoLaunchPathFor(QStringLiteral("Product")), QString());
    controller.findPreferredDestinationFor(QStringLiteral("Product"));
    EXPECT_EQ(log.lines().last(), QStringLiteral("autolaunch = (null)"));

    // The second pass looks at every product code.
    table.processes[6].running = false;
    EXPECT_EQ(controller.pathToProcessToReplace(), QStringLiteral("/opt/Helper.app"));
    setArguments({"-productCode", "PROD"});
    EXPECT_EQ(controller.pathToProcessToReplace(), QString()); // one code: one pass only
    setArguments({});
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

TEST_F(DestinationTest, QuittingAsksEveryListedProcessButTheOwn)
{
    FakeProcessTable& table = *platform.processTable;
    table.add(1, QStringLiteral("Installer"), "PROD");
    table.current = 1;
    table.add(3, QStringLiteral("Copy A"), "PROD").politeRequestsToEnd = -1;
    table.processes[3].forceRequestsToEnd = -1;
    platform.windowSystem->closeResult = RVWindowSystem::CloseResult::NoWindow;
    table.add(4, QStringLiteral("Copy B"), "????");
    table.add(5, QStringLiteral("Other"), "OTHR");
    setArguments({"-quitCode", "PROD", "PROD", "????", "bad"});

    EXPECT_EQ(controller.processToQuitStillRunning(), QStringLiteral("Copy A"));
    const double start = platform.clock->time;
    controller.quitProcesses();
    EXPECT_EQ(table.processes[4].politeRequests, 1);
    EXPECT_EQ(table.processes[5].politeRequests, 0);
    EXPECT_FALSE(table.processes[1].politeRequests);
    const QStringList lines = log.lines();
    EXPECT_TRUE(lines.contains(QStringLiteral("Still running 'PROD': Copy A")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Quitting 'PROD': Copy A")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Quitting '?\?\?\?': Copy B")));
    EXPECT_FALSE(lines.contains(QStringLiteral("Quitting 'PROD': Installer")));
    // Copy A resists for 2 x 4 s; each process is followed by a 100 ms pause.
    EXPECT_NEAR(platform.clock->time - start, 8.2, 0.05);
    EXPECT_EQ(controller.processToQuitStillRunning(), QStringLiteral("Copy A"));

    const QStringList list{QStringLiteral("ABC"), QStringLiteral("WXYZ")};
    EXPECT_TRUE(InstallerWinController::signatureIsInArray(0, &list)); // "ABC" does not convert: 0
    EXPECT_FALSE(InstallerWinController::signatureIsInArray(RVFourCC("ABCD"), nullptr));
    setArguments({});
    EXPECT_EQ(controller.processToQuitStillRunning(), QString());
}

} // namespace
