#include "FakeInstallerView.h"
#include "FakePlatform.h"
#include "TestApplication.h"
#include "RVInstallerInterface.h"
#include "RVProcess.h"
#include "SoundExtensions.h"

#include <QSignalSpy>

#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

namespace {

using Field = RVInstallerView::Field;
using Button = RVInstallerView::Button;

void waitFor(const std::atomic<bool>& flag)
{
    while (!flag)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

class WorkerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RVProcess::resetCacheForTesting();
        RVSound::resetForTesting();
        platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
        files.existing = {QStringLiteral("/src/Product.app"), QStringLiteral("/Applications")};
        files.writable = {QStringLiteral("/Applications")};
        platform.processTable->add(1, QStringLiteral("VelmoraInstaller"), "VLMI");
        platform.processTable->current = 1;
        controller.setView(&view);
        view.page = 1;
    }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    void setArguments(QStringList words)
    {
        words.prepend(QStringLiteral("/prog"));
        words << QStringLiteral("-sourcePath") << QStringLiteral("/src/Product.app") << QStringLiteral("-destinationPath")
              << QStringLiteral("/Applications/Product.app") << QStringLiteral("-productName") << QStringLiteral("Product")
              << QStringLiteral("-quitCode") << QStringLiteral("PROD");
        controller.setArguments(RVInstallerArguments::fromArgumentList(words));
    }
    // Clicks Install and lets the worker run to its hand-off.
    void installAndWait()
    {
        controller.install();
        // The hand-off ends with the install button enabled again.
        turnLoopUntil([&] { return !controller.isWorking() && !view.disabledButtons.contains(Button::Install); }, 10000);
    }

    // A product that never quits, whatever it is asked.
    void addStubbornCopy()
    {
        auto& product = platform.processTable->add(7, QStringLiteral("Product"), "PROD");
        product.politeRequestsToEnd = product.forceRequestsToEnd = -1;
        platform.windowSystem->closeResult = RVWindowSystem::CloseResult::NoWindow;
    }

    TestApplication app;
    FakePlatform platform;
    FakeFileManager& files = *platform.fileManager;
    LogCapture log;
    FakeInstallerView view;
    InstallerWinController controller;
};

TEST_F(WorkerTest, SuccessShowsTheFinalPageAndPlaysTheSound)
{
    setArguments({QStringLiteral("-completionSound"), QStringLiteral("YES")});
    installAndWait();
    EXPECT_TRUE(controller.finished());
    EXPECT_EQ(controller.exitStatus(), InstallerWinController::ExitSucceeded);
    EXPECT_EQ(view.texts[Field::Intro], QStringLiteral("Product was successfully installed."));
    EXPECT_FALSE(view.hiddenImages.contains(RVInstallerView::Image::Checkmark));
    EXPECT_TRUE(view.hiddenButtons.contains(Button::Cancel));
    EXPECT_EQ(view.buttonTitles[Button::Install], QStringLiteral("OK"));
    EXPECT_FALSE(view.animating);
    EXPECT_EQ(log.lines().first(), QStringLiteral("Install"));
    EXPECT_TRUE(platform.audio->events().contains(QStringLiteral("play " RV_INSTALLER_BUNDLE "/Contents/Resources/Done.wav")));
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    controller.install(); // "OK"
    EXPECT_EQ(quits.count(), 1);
}

TEST_F(WorkerTest, SoundNeedsExactlyYesAndNoNosound)
{
    struct Case { const char* sound; bool nosound; bool plays; } cases[] = {
        {"YES", false, true}, {"yes", false, false}, {"YES", true, false}};
    for (const auto& c : cases) {
        const qsizetype before = platform.audio->events().size();
        platform.defaults->domains[{}].insert(QStringLiteral("nosound"), c.nosound ? QStringLiteral("YES") : QStringLiteral("NO"));
        FreshSession session({QStringLiteral("-productName"), QStringLiteral("P"), QStringLiteral("-completionSound"),
                              QString::fromLatin1(c.sound)});
        session.controller.installationFinished(QString());
        EXPECT_EQ(platform.audio->events().mid(before).filter(QStringLiteral("play")).size(), c.plays ? 1 : 0)
            << c.sound << c.nosound;
    }
}

TEST_F(WorkerTest, ACopyThatNeverQuitsCancelsWithTheHiddenMessage)
{
    addStubbornCopy();
    setArguments({});
    installAndWait();
    const QStringList lines = log.lines();
    EXPECT_EQ(lines.count(QStringLiteral("Product did not quit; will retry")), 1);
    EXPECT_EQ(lines.count(QStringLiteral("Quitting 'PROD': Product")), 4);
    EXPECT_TRUE(lines.contains(QStringLiteral("Product refused to quit; installation cancelled")));
    EXPECT_EQ(view.texts[Field::Message],
              QStringLiteral("Product cannot be running during the installation.\rQuit Product, then click \"Install\" again."));
    EXPECT_FALSE(view.disabledButtons.contains(Button::Install));
    EXPECT_FALSE(view.disabledButtons.contains(Button::Cancel));
    EXPECT_FALSE(controller.finished());
    EXPECT_FALSE(files.existing.contains(QStringLiteral("/Applications/Product.app")));
    EXPECT_EQ(controller.exitStatus(), InstallerWinController::ExitFailed);
}

TEST_F(WorkerTest, ACopyThatQuitsOnTheSecondAttemptLetsTheCopyGoOn)
{
    addStubbornCopy();
    auto& product = platform.processTable->processes[7];
    // Once the first pass has failed, the next polite request is the one it heeds.
    platform.clock->onSleep = [&] {
        if (product.politeRequestsToEnd < 0 && log.lines().contains(QStringLiteral("Product did not quit; will retry")))
            product.politeRequestsToEnd = product.politeRequests + 1;
    };
    setArguments({});
    installAndWait();
    platform.clock->onSleep = nullptr;
    const QStringList lines = log.lines();
    EXPECT_EQ(lines.count(QStringLiteral("Quitting 'PROD': Product")), 2);
    EXPECT_EQ(lines.count(QStringLiteral("Product did not quit; will retry")), 1);
    EXPECT_FALSE(lines.contains(QStringLiteral("Product refused to quit; installation cancelled")));
    EXPECT_TRUE(files.existing.contains(QStringLiteral("/Applications/Product.app")));
    EXPECT_EQ(controller.exitStatus(), InstallerWinController::ExitSucceeded);
}

// Each failure's message, with the hint to copy by hand unless a wrapper is used or the copy was
// refused for its signature; a cancelled dialog clears the message and leaves the buttons usable.
TEST_F(WorkerTest, FailuresShowTheirMessageAndExitStatus)
{
    using Kind = RVAuthorization::Outcome::Kind;
    const QString hint = QStringLiteral("\rTry installing Product manually by copying it to the Applications folder.");
    const QString deleteFailed = QStringLiteral("Could not delete existing copy.");
    const struct
    {
        const char* name;
        std::function<void()> arrange;
        QStringList words;
        QString message;
        InstallerWinController::ExitStatus status;
    } cases[] = {
        {"trash fails",
         [&] {
             files.existing.insert(QStringLiteral("/Applications/Product.app"));
             files.writable.insert(QStringLiteral("/Applications/Product.app"));
             platform.workspace->recycleSucceeds = false;
         },
         {}, deleteFailed + hint, InstallerWinController::ExitFailed},
        {"trash fails, wrapper", [&] { files.existing.insert(QStringLiteral("/src/W")); },
         {QStringLiteral("-wrapperPath"), QStringLiteral("/src/W")}, deleteFailed, InstallerWinController::ExitFailed},
        {"refused for its signature", [&] { platform.workspace->recycleSucceeds = true; files.signedTree->namesKey = true; },
         {}, QStringLiteral("This copy of Product was not installed: it is not from the maker of the installed copy, or it is damaged."),
         InstallerWinController::ExitFailed},
        {"no agent", [&] {
             files.signedTree->namesKey = false;
             files.writable.clear();
             platform.authorization->outcome = {Kind::NoAgent, false, 0, 0};
         }, {},
         QStringLiteral("Authorized copying failed. No authentication agent is running in this session to ask for the "
                        "administrator password.") + hint, InstallerWinController::ExitFailed},
        {"cancelled", [&] { files.writable.clear(); platform.authorization->outcome = {Kind::Cancelled, false, 0, 0}; },
         {}, QStringLiteral(""), InstallerWinController::ExitCancelled},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        c.arrange();
        setArguments(c.words);
        view.texts[Field::Message] = QStringLiteral("old");
        installAndWait();
        EXPECT_EQ(view.texts[Field::Message], c.message);
        EXPECT_TRUE(view.disabledButtons.isEmpty());
        EXPECT_EQ(controller.exitStatus(), c.status);
    }
}

TEST_F(WorkerTest, CompletionDelayQuitsOnlyForAPositiveNumber)
{
    struct Case { const char* value; const char* line; bool quits; } cases[] = {{"0.05", "quit delay: 0.1", true}, {"0", "quit delay: 0.0", false},
                 {"soon", "quit delay: 0.0", false}, {"0.2x", "quit delay: 0.2", true},
                 // Beyond a timer's ~24.8 days of milliseconds: still the value, not at once.
                 {"3000000", "quit delay: 3000000.0", false}, {"1e300", "quit delay: inf", false}};
    for (const auto& c : cases) {
        FreshSession session({QStringLiteral("-completionQuit"), QString::fromLatin1(c.value)});
        QSignalSpy quits(&session.controller, &InstallerWinController::terminateRequested);
        session.controller.installationFinished(QStringLiteral("failed"));
        EXPECT_EQ(log.lines().last(), QString::fromLatin1(c.line));
        EXPECT_EQ(quits.wait(c.quits ? 3000 : 300), c.quits) << c.value;
    }
}

// A completion delay that runs out while the worker is on its way out still quits: the
// outcome never arrives before the worker counts as ended.
TEST_F(WorkerTest, AShortCompletionDelayQuitsHoweverLateTheWorkerEnds)
{
    setArguments({QStringLiteral("-completionQuit"), QStringLiteral("0.001")});
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    std::atomic<bool> letGo{false};
    InstallerWinController::beforeWorkerEndsForTesting = [&] { waitFor(letGo); };
    controller.install();
    turnLoopUntil([] { return false; }, 300); // an outcome handed over meanwhile is shown, its delay ends
    letGo = true;
    EXPECT_TRUE(turnLoopUntil([&] { return quits.count() == 1; }));
    EXPECT_TRUE(turnLoopUntil([&] { return !controller.isWorking(); }));
    InstallerWinController::beforeWorkerEndsForTesting = nullptr;
}

TEST_F(WorkerTest, CancelQuitsWithoutARead)
{
    setArguments({});
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    controller.cancel();
    EXPECT_EQ(quits.count(), 1);
    view.page = 0;
    controller.install(); // first click on the read-me page only moves on
    EXPECT_EQ(view.page, 1);
    EXPECT_FALSE(controller.isWorking());
}

// Holds the staging copy until the test lets it go.
class SlowFileManager : public FakeFileManager
{
public:
    std::atomic<bool> started{false}, release{false};
    QString stageCopy(const QString& source, const QString& target) override
    {
        started = true;
        waitFor(release);
        return FakeFileManager::stageCopy(source, target);
    }
};

std::shared_ptr<SlowFileManager> installSlowCopy()
{
    auto slow = std::make_shared<SlowFileManager>();
    const auto& files = dynamic_cast<FakeFileManager&>(RVPlatform::current().fileManager());
    slow->existing = files.existing;
    slow->writable = files.writable;
    RVPlatform::install({.fileManager = slow});
    return slow;
}

// Closing the window (or SIGTERM, which main turns into the same call) while the worker
// runs: the main loop keeps turning, the application ends only with the worker's outcome,
// and a copy under way is finished, never cut.
TEST_F(WorkerTest, QuittingWhileTheWorkerRunsWaitsForASafePoint)
{
    const auto slow = installSlowCopy();
    setArguments({});
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    controller.install();
    waitFor(slow->started);
    controller.terminate(); // returns at once: the window stays responsive
    turnLoopUntil([] { return false; }, 50);
    EXPECT_EQ(quits.count(), 0);
    EXPECT_TRUE(controller.isWorking());
    slow->release = true;
    EXPECT_TRUE(turnLoopUntil([&] { return quits.count() == 1; }));
    ASSERT_TRUE(turnLoopUntil([&] { return !controller.isWorking(); })); // the worker's writes are done
    EXPECT_TRUE(slow->existing.contains(QStringLiteral("/Applications/Product.app")));
}

TEST_F(WorkerTest, QuittingBetweenQuitAttemptsStopsAtOnceWithoutCopying)
{
    addStubbornCopy();
    std::atomic<bool> sleeping{false}, closed{false};
    platform.clock->onSleep = [&] {
        if (!sleeping.exchange(true))
            waitFor(closed);
    };
    setArguments({});
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    controller.install();
    waitFor(sleeping);
    controller.terminate();
    closed = true;
    EXPECT_TRUE(turnLoopUntil([&] { return quits.count() == 1; }));
    EXPECT_FALSE(files.existing.contains(QStringLiteral("/Applications/Product.app")));
    EXPECT_EQ(log.lines().count(QStringLiteral("Quitting 'PROD': Product")), 1); // no further attempt
    // Nothing after the cancel: no further SIGTERM, above all no SIGKILL, no window closed.
    EXPECT_EQ(platform.processTable->processes[7].politeRequests, 1);
    EXPECT_EQ(platform.processTable->processes[7].forceRequests, 0);
    EXPECT_FALSE(platform.windowSystem->calls.contains(QStringLiteral("close 7")));
}

// The session object may go (main returns) while a worker still reads its arguments: it
// waits for the worker instead of leaving it a freed object.
TEST_F(WorkerTest, TheSessionOutlivesItsWorker)
{
    const auto slow = installSlowCopy();
    auto session = std::make_unique<FreshSession>(QStringList{
        QStringLiteral("-sourcePath"), QStringLiteral("/src/Product.app"), QStringLiteral("-destinationPath"),
        QStringLiteral("/Applications/Product.app"), QStringLiteral("-productName"), QStringLiteral("Product")});
    session->controller.install();
    waitFor(slow->started);
    std::thread releaser([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        slow->release = true;
    });
    session.reset();
    EXPECT_TRUE(slow->release);
    releaser.join();
    EXPECT_TRUE(slow->existing.contains(QStringLiteral("/Applications/Product.app")));
}

} // namespace
