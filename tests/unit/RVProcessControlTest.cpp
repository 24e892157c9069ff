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
    table.pidsNotFound.insert(10);
    EXPECT_FALSE(p->quitRunningApplicationWithTimeout(4.0f));
    table.processes[10].running = false;
    EXPECT_FALSE(p->quitRunningApplicationWithTimeout(4.0f));
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("cannot quit Product: no process found"),
                                        QStringLiteral("cannot quit Product: no pid")})); // the name is kept
    EXPECT_EQ(table.processes[10].politeRequests, 0);
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

// Quit waits for the end up to the time-out; reopen and activate bring the process to the
// front; the rest have no meaning here.
TEST_F(QuitTest, AppleEventsWithALinuxMeaningAreHonouredWithinTheTimeout)
{
    using Close = RVWindowSystem::CloseResult;
    struct Case
    {
        const char eventClass[5], eventID[5];
        Close close;
        bool endsOnClose, activates;
        float timeout;
        QStringList lines;
        double waited; // seconds at least
    } cases[] = {
        {"aevt", "quit", Close::Sent, true, true, 2.0f, {}, 0},
        {"aevt", "quit", Close::Sent, false, true, 2.0f, {QStringLiteral("*** event error: -1712")}, 2.0},
        {"aevt", "quit", Close::Sent, false, true, 0.01f, {QStringLiteral("*** event error: -1712")}, 0},
        {"aevt", "quit", Close::NoWindow, false, true, 2.0f, {QStringLiteral("*** event error: -2")}, 0},
        {"aevt", "quit", Close::NoDisplay, false, true, 2.0f, {QStringLiteral("*** event error: -1")}, 0},
        {"aevt", "rapp", Close::Sent, false, true, 2.0f, {}, 0},
        {"misc", "actv", Close::Sent, false, false, 2.0f, {QStringLiteral("*** event error: -2")}, 0},
        {"aevt", "odoc", Close::Sent, false, true, 2.0f, {QStringLiteral("*** event error: -1708")}, 0},
    };
    for (const auto& c : cases) {
        RVProcess::resetCacheForTesting();
        table.processes.clear();
        const auto p = app();
        ASSERT_TRUE(p);
        windows.closeResult = c.close;
        windows.activates = c.activates;
        windows.onClose = [&](pid_t pid) {
            if (c.endsOnClose)
                table.processes[pid].running = false;
        };
        windows.calls.clear();
        const qsizetype before = log.lines().size();
        const double start = clock.time;
        p->sendAppleEventClassEventIDTimeout(RVFourCC(c.eventClass), RVFourCC(c.eventID), c.timeout);
        const std::string name = std::string(c.eventClass) + "/" + c.eventID + " " + std::to_string(int(c.close));
        EXPECT_EQ(log.lines().mid(before), c.lines) << name;
        EXPECT_GE(clock.time - start, c.waited) << name;
        EXPECT_LT(clock.time - start, c.waited + 0.1) << name;
        EXPECT_EQ(windows.calls.size(), QString::fromLatin1(c.eventID) == u"odoc" ? 0 : 1) << name;
    }
    windows.onClose = nullptr;
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
