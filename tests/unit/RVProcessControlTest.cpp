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

// The two phases over one table: when the process ends or refuses, the one line it leaves,
// the time taken and the polite requests sent (one a millisecond).
TEST_F(QuitTest, EachPhaseEndsAsTheProcessObeysWithOneLine)
{
    struct Case
    {
        const char* name;
        int politeToEnd, forceToEnd; // -1 never
        bool refusesPolite, refusesForce;
        float timeout;
        bool quit;
        const char* line;
        double took;
        int politeRequests;
    } cases[] = {
        {"zero time-out", 1, 1, false, false, 0.0f, false, "quitting Product failed", 0.0, 0},
        {"obeys at once", 1, 1, false, false, 4.0f, true, "quit Product: terminated after 0.001s (1 attempts)", 0.001, 1},
        {"ignores the polite phase", -1, 3, false, false, 4.0f, true,
         "force-quit Product: terminated after 0.003s (3 attempts)", 4.003, 4000},
        {"had already stopped", 1, 1, true, false, 1.0f, true, "quit Product: process stopped after 0.000s (1 attempts)", 0.0, 0},
        {"stopped in the force phase (historic spelling)", -1, 1, false, true, 0.01f, true,
         "foce-quit Product: process stopped after 0.000s (1 attempts)", 0.01, 10},
        {"resists both", -1, -1, false, false, 0.5f, false, "quitting Product failed", 1.0, 500},
    };
    for (const Case& c : cases) {
        RVProcess::resetCacheForTesting();
        table.processes.clear();
        const auto p = app();
        auto& process = table.processes[10];
        process.politeRequestsToEnd = c.politeToEnd;
        process.forceRequestsToEnd = c.forceToEnd;
        process.refuseRequests = c.refusesPolite;
        process.refuseForceRequests = c.refusesForce;
        const qsizetype before = log.lines().size();
        const double start = clock.time;
        EXPECT_EQ(p->quitRunningApplicationWithTimeout(c.timeout), c.quit) << c.name;
        EXPECT_EQ(log.lines().mid(before), QStringList{QString::fromLatin1(c.line)}) << c.name;
        EXPECT_NEAR(clock.time - start, c.took, 0.005) << c.name;
        EXPECT_NEAR(process.politeRequests, c.politeRequests, 2) << c.name;
    }
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
    app(11)->quit(); // obeyed at once: no window is touched
    EXPECT_TRUE(windows.calls.isEmpty());
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
