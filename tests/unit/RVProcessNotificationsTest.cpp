#include "FakePlatform.h"
#include "RVNotificationCenter.h"
#include "RVProcess.h"
#include "TestApplication.h"

#include <QTimer>

#include <gtest/gtest.h>

namespace {

class ProcessNotificationsTest : public ::testing::Test
{
protected:
    ProcessNotificationsTest()
    {
        RVProcess::resetCacheForTesting();
        RVProcess::resetNotificationsForTesting();
        m_token = RVNotificationCenter::defaultCenter().addObserver(
            RVProcessChangeNotification, nullptr, [this](const RVNotification& n) {
                EXPECT_EQ(n.object, RVProcess::classObject());
                heard << n.userInfo.value(QStringLiteral("change")).toString();
            });
    }
    ~ProcessNotificationsTest() override
    {
        RVNotificationCenter::defaultCenter().removeObserver(m_token);
        RVProcess::resetCacheForTesting();
        RVProcess::resetNotificationsForTesting();
    }

    void fire(std::uint32_t kind)
    {
        ASSERT_TRUE(platform.applicationEvents->applications) << "the handler was never installed";
        platform.applicationEvents->applications(RVApplicationEvents::kClassApplication, kind);
    }
    void letTheLoopIdle()
    {
        QTimer::singleShot(20, [] { QCoreApplication::exit(0); });
        QCoreApplication::exec();
    }

    TestApplication app;
    FakePlatform platform;
    QStringList heard;

private:
    RVNotificationCenter::Token m_token = 0;
};

TEST_F(ProcessNotificationsTest, TwoLookUpsInstallTheHandlerOnce)
{
    platform.processTable->add(100, QStringLiteral("Alpha"), "ALPH");
    EXPECT_EQ(platform.applicationEvents->applicationWatches, 0);
    RVProcess::processWithPID(100);
    RVProcess::allProcesses();
    EXPECT_EQ(platform.applicationEvents->applicationWatches, 1);
}

TEST_F(ProcessNotificationsTest, EachKindHasItsEffectAndItsChangeValue)
{
    struct Case
    {
        std::uint32_t kind;
        const char* change;
        std::uint64_t countAfter;
    } cases[] = {{5, "started", 1}, {6, "ended", 2}, {7, "front", 2}, {42, "", 2}};
    RVProcess::installNotifications();
    for (const Case& c : cases) {
        heard.clear();
        fire(c.kind);
        EXPECT_TRUE(heard.isEmpty()) << "posted before the loop was idle";
        letTheLoopIdle();
        EXPECT_EQ(heard, QStringList{QString::fromLatin1(c.change)}) << c.kind;
        EXPECT_EQ(RVProcess::applicationLaunchEndCount(), c.countAfter) << c.kind;
    }
}

TEST_F(ProcessNotificationsTest, AnEndCleansTheCacheAndALaunchLeavesIt)
{
    platform.processTable->add(100, QStringLiteral("Alpha"), "ALPH");
    platform.processTable->add(200, QStringLiteral("Beta"), "BETA");
    EXPECT_FALSE(RVProcess::cachedProcessesEnumerator().has_value());
    RVProcess::allProcesses();
    ASSERT_EQ(RVProcess::cachedProcessesEnumerator()->size(), 2u);

    platform.processTable->processes[100].running = false;
    fire(RVApplicationEvents::kLaunched);
    EXPECT_EQ(RVProcess::cachedProcessesEnumerator()->size(), 2u);
    fire(RVApplicationEvents::kTerminated);
    const auto cached = RVProcess::cachedProcessesEnumerator();
    ASSERT_EQ(cached->size(), 1u);
    EXPECT_EQ(cached->front()->unixPID(), 200);
    EXPECT_EQ(RVProcess::applicationLaunchEndCount(), 2u);
}

TEST_F(ProcessNotificationsTest, ABurstOfEventsPostsOnceWithTheFirstChange)
{
    RVProcess::installNotifications();
    fire(RVApplicationEvents::kLaunched);
    fire(RVApplicationEvents::kTerminated);
    fire(RVApplicationEvents::kFrontSwitched);
    letTheLoopIdle();
    EXPECT_EQ(heard, QStringList{QStringLiteral("started")});
    EXPECT_EQ(RVProcess::applicationLaunchEndCount(), 2u);
}

} // namespace
