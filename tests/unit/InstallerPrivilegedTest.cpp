#include "ArgumentWords.h"
#include "FakePlatform.h"
#include "TestApplication.h"
#include "InstallFunction.h"
#include "InstallerWinController.h"
#include "InstallSignature.h"
#include "RVProcess.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

// Records the progress hand-offs the window would see.
class RecordingController : public InstallerWinController
{
public:
    QStringList progress;
    void animateProgress(const QString& flag) override { progress << (flag.isNull() ? QStringLiteral("stop") : flag); }
};

class PrivilegedTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RVProcess::resetCacheForTesting();
        platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
        files.existing = {QStringLiteral("/src/Product.app"), QStringLiteral("/Applications")};
        files.writable = {QStringLiteral("/Applications")};
        platform.processTable->add(1, QStringLiteral("Installer"), "VLMI");
        platform.processTable->current = 1;
        setArguments({"-sourcePath", "/src/Product.app", "-destinationPath", "/Applications/Product.app"});
    }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    void setArguments(std::initializer_list<const char*> words) { controller.setArguments(argumentsFromWords(words)); }
    QStringList deliveredProgress()
    {
        QCoreApplication::sendPostedEvents();
        return controller.progress;
    }

    TestApplication app;
    FakePlatform platform;
    FakeFileManager& files = *platform.fileManager;
    FakeWorkspace& workspace = *platform.workspace;
    FakeAuthorization& authorization = *platform.authorization;
    LogCapture log;
    RecordingController controller;
};

TEST_F(PrivilegedTest, WritableDestinationGetsThePlainCopyRegisteredAndLaunched)
{
    EXPECT_TRUE(controller.installMyselfInDestination().isNull());
    EXPECT_EQ(authorization.calls, 0);
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("/Applications/Product.app is not signed and names no key; installed unchecked"),
                                        QStringLiteral("successfully copied"),
                                        QStringLiteral("launching /Applications/Product.app"),
                                        QStringLiteral("registered app: 0"),
                                        QStringLiteral("launched immediately: 1")}));
    EXPECT_EQ(platform.windowSystem->calls.last(), QStringLiteral("activate 1 front-window-only"));
    EXPECT_TRUE(files.existing.contains(QStringLiteral("/Applications/Product.app")));
}

TEST_F(PrivilegedTest, OptionKeyForcesTheDialogAndTheToolGetsTwoArguments)
{
    platform.windowSystem->optionKeyDown = true;
    EXPECT_TRUE(controller.installMyselfInDestination().isNull());
    EXPECT_EQ(log.lines().first(), QStringLiteral("enforcing authorization"));
    EXPECT_EQ(authorization.calls, 1);
    EXPECT_TRUE(authorization.tool.endsWith(QStringLiteral("/Contents/Resources/train")));
    EXPECT_EQ(authorization.arguments, (QStringList{QStringLiteral("/src/Product.app"), QStringLiteral("/Applications/Product.app")}));
    EXPECT_EQ(deliveredProgress(), (QStringList{QStringLiteral("stop"), QStringLiteral("YES")}));
}

TEST_F(PrivilegedTest, PrivilegedOutcomesGiveTheirAnswersAndLines)
{
    using Kind = RVAuthorization::Outcome::Kind;
    files.writable.clear(); // not writable: the dialog is asked for
    struct Case
    {
        const char* name;
        RVAuthorization::Outcome outcome;
        const char* answer;
        QStringList lines;
        QStringList progress;
    } cases[] = {
        {"cancelled", {Kind::Cancelled, false, 0, 0}, "",
         {QStringLiteral("User canceled authorization")}, {QStringLiteral("stop")}},
        {"not authorized", {Kind::NotAuthorized, false, 0, 0}, "Authorized copying failed.",
         {QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization")}, {QStringLiteral("stop")}},
        {"tool exits 1", {Kind::Finished, true, 1, 0}, "Authorized copying failed.",
         {QStringLiteral("WEXITSTATUS"), QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization")},
         {QStringLiteral("stop"), QStringLiteral("YES")}},
        {"tool killed", {Kind::Finished, false, 9, 0}, "Authorized copying failed.",
         {QStringLiteral("!WIFEXITED"), QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization")},
         {QStringLiteral("stop"), QStringLiteral("YES")}},
        {"no agent", {Kind::NoAgent, false, 0, 0}, "Authorized copying failed.",
         {QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization")}, {QStringLiteral("stop")}},
        {"tool not started", {Kind::NotStarted, false, 0, 2}, "Authorized copying failed.",
         {QStringLiteral("AuthorizationExecuteWithPrivileges failed (" RV_INSTALLER_BUNDLE "/Contents/Resources/train)"),
          QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization")},
         {QStringLiteral("stop"), QStringLiteral("YES")}},
        {"the tool refuses the new copy", {Kind::Finished, true, kTrainExitUntrusted, 0}, kUntrustedCopyMessage,
         {QStringLiteral("WEXITSTATUS"), QStringLiteral("ERROR -- Could not copy myself to /Applications with authorization")},
         {QStringLiteral("stop"), QStringLiteral("YES")}},
        {"end not seen", {Kind::Unobserved, false, 0, 0}, nullptr, {QStringLiteral("no pid")}, {QStringLiteral("stop"), QStringLiteral("YES")}},
    };
    for (const auto& c : cases) {
        authorization.outcome = c.outcome;
        controller.progress.clear();
        const qsizetype before = log.lines().size();
        const QString answer = controller.installMyselfInDestination();
        EXPECT_EQ(answer.isNull(), c.answer == nullptr) << c.name;
        EXPECT_EQ(answer, QString::fromUtf8(c.answer)) << c.name;
        QStringList expected{QStringLiteral("Cannot write to folder /Applications")};
        expected << c.lines;
        EXPECT_EQ(log.lines().mid(before, expected.size()), expected) << c.name;
        EXPECT_EQ(deliveredProgress(), c.progress) << c.name;
    }
}

TEST_F(PrivilegedTest, EmptyPathsNeverReachTheDialog)
{
    bool canceled = true;
    EXPECT_FALSE(controller.authorizedInstallToWrapCanceled(QStringLiteral("/src/P.app"), QStringLiteral(" \t "), QString(), &canceled));
    EXPECT_FALSE(canceled);
    EXPECT_FALSE(controller.authorizedInstallToWrapCanceled(QString(), QStringLiteral("/A/P.app"), QString(), nullptr));
    EXPECT_EQ(authorization.calls, 0);
    EXPECT_TRUE(deliveredProgress().isEmpty());
    EXPECT_TRUE(controller.authorizedInstallToWrapCanceled(QStringLiteral("/s/P.app"), QStringLiteral("/A/P.app"),
                                                           QStringLiteral("/s/W"), nullptr));
    EXPECT_EQ(authorization.arguments.size(), 3);
}

TEST_F(PrivilegedTest, PlainCopyFailuresBecomeMessages)
{
    files.existing.insert(QStringLiteral("/Applications/Product.app"));
    files.writable.insert(QStringLiteral("/Applications/Product.app"));
    workspace.recycleSucceeds = false;
    EXPECT_EQ(controller.installMyselfInDestination(), QStringLiteral("Could not delete existing copy."));
    workspace.recycleSucceeds = true;
    files.existing.insert(QStringLiteral("/Applications/Product.app"));
    setArguments({"-sourcePath", "/src/Product.app", "-destinationPath", "/src/Product.app/Contents/Product.app"});
    files.writable.insert(QStringLiteral("/src/Product.app"));
    EXPECT_EQ(controller.installMyselfInDestination(), QStringLiteral("Installation failed."));
    setArguments({"-sourcePath", "/src/Product.app", "-destinationPath", "/Applications/Product.app"});
    files.signedTree->namesKey = true; // and carries no signature
    EXPECT_EQ(controller.installMyselfInDestination(), QString::fromLatin1(kUntrustedCopyMessage));
    EXPECT_TRUE(log.lines().contains(
        QStringLiteral("ERROR -- Refusing the new copy for /Applications/Product.app: it carries no signature")));
}

TEST_F(PrivilegedTest, IconAndLaunchAreRetriedWithTheirLines)
{
    workspace.iconAnswersNullTimes = 2;
    workspace.failedLaunches = 100;
    workspace.registerStatus = 2;
    const double start = platform.clock->time;
    EXPECT_TRUE(controller.installMyselfInDestination().isNull());
    const QStringList lines = log.lines().mid(1);
    EXPECT_EQ(lines.mid(0, 6), (QStringList{QStringLiteral("successfully copied"),
                                            QStringLiteral("launching /Applications/Product.app"),
                                            QStringLiteral("registered app: 2"), QStringLiteral("did not get icon"),
                                            QStringLiteral("retry; failed"), QStringLiteral("launched immediately: 0")}));
    EXPECT_EQ(lines.count(QStringLiteral("retry opening")), 10);
    EXPECT_EQ(lines.count(QStringLiteral("launched: 0")), 10);
    EXPECT_NEAR(platform.clock->time - start, 0.5 + 0.1 + 1.0 + 10 * 0.5, 1e-6);
}

} // namespace
