#include "FakePlatform.h"
#include "RVProcess.h"

#include <gtest/gtest.h>

namespace {

class QuitTest : public ::testing::Test
{
protected:
    void SetUp() override { RVProcess::resetCacheForTesting(); }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    RVProcess::Ptr app(pid_t pid = 10)
    {
        table.add(pid, QStringLiteral("Product"), "PROD");
        return RVProcess::processWithPID(pid);
    }

    FakePlatform platform;
    FakeProcessTable& table = *platform.processTable;
    FakeClock& clock = *platform.clock;
    FakeWindowSystem& windows = *platform.windowSystem;
    LogCapture log;
};

TEST_F(QuitTest, ZeroTimeoutSendsNothingAndFails)
{
    const auto p = app();
    EXPECT_FALSE(p->quitRunningApplicationWithTimeout(0.0f));
    EXPECT_EQ(table.processes[10].politeRequests, 0);
    EXPECT_EQ(table.processes[10].forceRequests, 0);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("quitting Product failed")});
}

TEST_F(QuitTest, ProcessThatObeysAtOnceEndsInThePolitePhase)
{
    const auto p = app();
    EXPECT_TRUE(p->quitRunningApplicationWithTimeout(4.0f));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("quit Product: terminated after 0.001s (1 attempts)")});
}

TEST_F(QuitTest, ProcessThatIgnoresTheRequestIsForceQuitAfterTheTimeout)
{
    const auto p = app();
    table.processes[10].politeRequestsToEnd = -1;
    table.processes[10].forceRequestsToEnd = 3;
    EXPECT_TRUE(p->quitRunningApplicationWithTimeout(4.0f));
    // One request a millisecond for four seconds, then force.
    EXPECT_NEAR(table.processes[10].politeRequests, 4000, 2);
    EXPECT_EQ(table.processes[10].forceRequests, 3);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("force-quit Product: terminated after 0.003s (3 attempts)")});
}

TEST_F(QuitTest, RefusedRequestsMeanTheProcessHadStopped)
{
    const auto p = app();
    table.processes[10].refuseRequests = true;
    EXPECT_TRUE(p->quitRunningApplicationWithTimeout(1.0f));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("quit Product: process stopped after 0.000s (1 attempts)")});
}

TEST_F(QuitTest, ARefusalInTheForcePhaseKeepsItsHistoricSpelling)
{
    const auto p = app();
    table.processes[10].politeRequestsToEnd = -1;
    table.processes[10].refuseForceRequests = true;
    EXPECT_TRUE(p->quitRunningApplicationWithTimeout(0.01f));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("foce-quit Product: process stopped after 0.000s (1 attempts)")});
}

TEST_F(QuitTest, ProcessThatResistsBothPhasesFailsAfterTwiceTheTimeout)
{
    const auto p = app();
    table.processes[10].politeRequestsToEnd = -1;
    table.processes[10].forceRequestsToEnd = -1;
    const double start = clock.time;
    EXPECT_FALSE(p->quitRunningApplicationWithTimeout(0.5f));
    EXPECT_NEAR(clock.time - start, 1.0, 0.01);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("quitting Product failed")});
}

TEST_F(QuitTest, NoPidAndNoProcessAreReported)
{
    const auto p = app();
    table.processes[10].running = false;
    EXPECT_FALSE(p->quitRunningApplicationWithTimeout(4.0f));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("cannot quit (null): no pid")});
}

TEST_F(QuitTest, QuitFallsBackToClosingTheWindowsWithOneLinePerFailure)
{
    struct Case
    {
        RVWindowSystem::CloseResult result;
        const char* line; // empty: nothing after "quitting ... failed"
    } cases[] = {
        {RVWindowSystem::CloseResult::Sent, ""},
        {RVWindowSystem::CloseResult::NoDisplay, "quitting Product failed (-1; could not create descriptor)"},
        {RVWindowSystem::CloseResult::NoWindow, "quitting Product failed (-2; could not create event)"},
        {RVWindowSystem::CloseResult::SendFailed, "quitting Product failed (-3; could not send event)"},
    };
    pid_t pid = 20;
    for (const auto& c : cases) {
        const auto p = app(++pid);
        table.processes[pid].politeRequestsToEnd = -1;
        table.processes[pid].forceRequestsToEnd = -1;
        windows.closeResult = c.result;
        const qsizetype before = log.lines().size();
        p->quit();
        QStringList expected{QStringLiteral("quitting Product failed")};
        if (*c.line)
            expected << QString::fromLatin1(c.line);
        EXPECT_EQ(log.lines().mid(before), expected);
        EXPECT_EQ(windows.calls.last(), QStringLiteral("close %1").arg(pid));
    }
}

TEST_F(QuitTest, QuitThatSucceedsDoesNotTouchWindows)
{
    app()->quit();
    EXPECT_TRUE(windows.calls.isEmpty());
}

TEST_F(QuitTest, AppleEventsOtherThanQuitAreNotHandled)
{
    const auto p = app();
    p->sendAppleEventClassEventIDTimeout(RVFourCC("aevt"), RVFourCC("quit"), 1.0f);
    EXPECT_TRUE(log.lines().isEmpty());
    p->sendAppleEventClassEventIDTimeout(RVFourCC("misc"), RVFourCC("actv"), 1.0f);
    windows.closeResult = RVWindowSystem::CloseResult::NoWindow;
    p->sendAppleEventClassEventIDTimeout(RVFourCC("aevt"), RVFourCC("quit"), 1.0f);
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("*** event error: -1708"),
                                        QStringLiteral("*** event error: -2")}));
}

TEST_F(QuitTest, SteeringCallsReachTheWindowSystemInOrder)
{
    table.add(1, QStringLiteral("Installer"), "VLMI");
    table.current = 1;
    windows.active = 10;
    const auto p = app();
    EXPECT_EQ(RVProcess::frontProcess(), p);
    EXPECT_TRUE(p->isFrontProcess());
    p->temporarilySwitchOut();
    p->setHidden(true);
    p->setHidden(false);
    EXPECT_EQ(windows.calls, (QStringList{QStringLiteral("activate 1"),
                                          QStringLiteral("activate 10 front-window-only"),
                                          QStringLiteral("hide 10"), QStringLiteral("show 10")}));
    EXPECT_EQ(table.wokenUp, std::vector<pid_t>{10});
}

} // namespace
