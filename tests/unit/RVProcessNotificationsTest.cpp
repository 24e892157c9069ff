#include "FakePlatform.h"
#include "QtPrinters.h"
#include "RVNotificationCenter.h"
#include "RVProcess.h"
#include "TestApplication.h"

#include <QThread>
#include <QTimer>

#include <atomic>
#include <future>
#include <thread>

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
    // Every look-up installs it, also one that finds no process to make.
    const std::function<void()> lookUps[] = {
        [] { RVProcess::processWithPID(999); }, [] { RVProcess::allProcesses(); },
        [] { RVProcess::frontProcess(); }, [] { RVProcess::currentProcess(); },
        [] { RVProcess::processWithSignature(RVFourCC("NONE")); },
        [] { RVProcess::processWithIdentifier(QStringLiteral("com.example.none")); }};
    platform.processTable->processes.clear();
    int installed = 1;
    for (const auto& lookUp : lookUps) {
        RVProcess::resetNotificationsForTesting();
        lookUp();
        EXPECT_EQ(platform.applicationEvents->applicationWatches, ++installed);
    }
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

// The interface-event observer over a faked accessibility service: what each failure logs,
// when the element is asked again, and what the callback posts.
class ProcessUINotificationsTest : public ProcessNotificationsTest
{
protected:
    ProcessUINotificationsTest()
    {
        platform.processTable->add(300, QStringLiteral("Gamma"), "GAMM");
        process = RVProcess::processWithPID(300);
        m_token = RVNotificationCenter::defaultCenter().addObserver(
            RVProcessUINotification, process.get(), [this](const RVNotification& n) { posted << n.userInfo; });
    }
    ~ProcessUINotificationsTest() override { RVNotificationCenter::defaultCenter().removeObserver(m_token); }

    const RVAccessibleElement application{QStringLiteral(":1.7"), QStringLiteral("/org/a11y/atspi/accessible/root")};
    RVProcess::Ptr process;
    QList<QVariantMap> posted;

private:
    RVNotificationCenter::Token m_token = 0;
};

TEST_F(ProcessUINotificationsTest, EachFailureLogsItsLineAndDecidesWhatIsTriedAgain)
{
    const QString who = QStringLiteral("Process \"Gamma\" (GAMM) 1.0");
    const QString addLine = QStringLiteral("AX Notifications: Could not add notification AXWindowCreated for ") + who;
    struct Case
    {
        const char* name;
        bool onTheBus;
        bool observerFails;
        bool refused;
        QStringList firstLog;
        int elementRequestsAfterTwoAdds;
    } cases[] = {
        {"not on the bus", false, false, false,
         {QStringLiteral("AX Notifications: Could not create application object for ") + who, addLine}, 2},
        {"observer fails", true, true, false,
         {QStringLiteral("AX Notifications: Could not create observer for ") + who, addLine}, 1},
        {"notification refused", true, false, true, {addLine}, 1},
        {"all well", true, false, false, {}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        process->unregisterAXNotifications();
        platform.accessibility->applications.clear();
        if (c.onTheBus)
            platform.accessibility->applications.insert(300, application);
        platform.accessibility->observersFail = c.observerFails;
        platform.accessibility->refusedNotifications.clear();
        if (c.refused)
            platform.accessibility->refusedNotifications << QStringLiteral("AXWindowCreated");
        platform.accessibility->elementRequests = 0;
        {
            LogCapture log;
            process->addAXNotification(QStringLiteral("AXWindowCreated"));
            EXPECT_EQ(log.lines(), c.firstLog);
        }
        LogCapture log;
        process->addAXNotification(QStringLiteral("AXWindowCreated"));
        // The add line comes back each time; the element is asked again only when it was never made.
        EXPECT_EQ(log.lines().size(), c.firstLog.isEmpty() ? 0 : 1 + (c.onTheBus ? 0 : 1));
        EXPECT_EQ(platform.accessibility->elementRequests, c.elementRequestsAfterTwoAdds);
    }
}

TEST_F(ProcessUINotificationsTest, CallbacksPostTheElementAndTheEventAndTheObserverGoesWithTheProcess)
{
    platform.accessibility->applications.insert(300, application);
    process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));
    process->addAXNotification(QStringLiteral("AXTitleChanged"));
    ASSERT_EQ(platform.accessibility->observers.size(), 1u);
    auto* observer = platform.accessibility->observers.front();
    process->removeAXNotification(QStringLiteral("AXTitleChanged"));
    EXPECT_EQ(observer->notifications, QStringList{QStringLiteral("AXFocusedWindowChanged")});

    const RVAccessibleElement window{application.busName, QStringLiteral("/org/a11y/atspi/accessible/3")};
    observer->callback(window, QStringLiteral("AXFocusedWindowChanged"));
    letTheLoopIdle();
    observer->callback(std::nullopt, QStringLiteral("AXFocusedWindowChanged"));
    letTheLoopIdle();
    ASSERT_EQ(posted.size(), 2);
    EXPECT_EQ(posted[0].value(QStringLiteral("element")).value<RVAccessibleElement>(), window);
    EXPECT_EQ(posted[0].value(QStringLiteral("event")).toString(), QStringLiteral("AXFocusedWindowChanged"));
    EXPECT_EQ(posted[1].value(QStringLiteral("element")).toString(), QStringLiteral(""));
    EXPECT_TRUE(posted[1].value(QStringLiteral("element")).canConvert<QString>());

    // The application ends in the turn its event came: the notification keeps the process
    // until every observer has heard it, and lets it go after.
    const std::weak_ptr<RVProcess> weak = process;
    bool aliveWhenHeard = false;
    const auto token = RVNotificationCenter::defaultCenter().addObserver(
        RVProcessUINotification, nullptr, [&](const RVNotification&) { aliveWhenHeard = !weak.expired(); });
    observer->callback(std::nullopt, QStringLiteral("AXFocusedWindowChanged"));
    RVProcess::resetCacheForTesting();
    process.reset();
    letTheLoopIdle();
    RVNotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_TRUE(aliveWhenHeard);
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(platform.accessibility->observers.empty());
}

// An observer made on a thread of its own: its events are posted on that thread even when
// reported from another (which wakes that thread's waiting loop), and it is destroyed there,
// never while the process cache is locked, wherever the process's last reference goes.
TEST_F(ProcessUINotificationsTest, AnObserverPostsAndIsTornDownOnTheThreadThatMadeIt)
{
    platform.accessibility->applications.insert(300, application);
    QThread home;
    QObject atHome;
    atHome.moveToThread(&home);
    home.start();
    std::atomic<QThread*> postedOn{nullptr}, destroyedOn{nullptr};
    std::atomic<bool> cacheFreeAtDestruction{false};
    const auto token = RVNotificationCenter::defaultCenter().addObserver(
        RVProcessUINotification, process.get(), [&](const RVNotification&) { postedOn = QThread::currentThread(); });
    platform.accessibility->onDestroy = [&] {
        auto probe = std::async(std::launch::async, [] { return RVProcess::cachedProcesses().size(); });
        cacheFreeAtDestruction = probe.wait_for(std::chrono::seconds(2)) == std::future_status::ready;
        destroyedOn = QThread::currentThread(); // last: the test reads both once this is set
    };
    // Made there; the promise tells this thread (in a way the race checker sees) that it is.
    std::promise<void> made;
    QMetaObject::invokeMethod(&atHome, [this, &made] {
        process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));
        made.set_value();
    });
    made.get_future().wait();
    ASSERT_EQ(platform.accessibility->observers.size(), 1u);

    platform.accessibility->observers.front()->callback(std::nullopt, QStringLiteral("AXFocusedWindowChanged"));
    const auto waitFor = [](const std::function<bool()>& condition) {
        for (int i = 0; i < 200 && !condition(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return condition();
    };
    EXPECT_TRUE(waitFor([&] { return postedOn == &home; })) << "posted on " << postedOn.load();

    platform.processTable->processes[300].running = false;
    RVProcess::cleanupCache();
    process.reset();
    EXPECT_TRUE(waitFor([&] { return destroyedOn != nullptr; }));
    EXPECT_EQ(destroyedOn.load(), &home);
    EXPECT_TRUE(cacheFreeAtDestruction);
    home.quit();
    home.wait();
    platform.accessibility->onDestroy = nullptr;
    RVNotificationCenter::defaultCenter().removeObserver(token);
}

TEST_F(ProcessUINotificationsTest, AProcessWithoutObserverIsDestroyedQuietly)
{
    LogCapture log;
    process->removeAXNotification(QStringLiteral("AXWindowCreated"));
    process->unregisterAXNotifications();
    RVProcess::resetCacheForTesting();
    process.reset();
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(platform.accessibility->elementRequests, 0);
}

TEST(NotificationCenter, ObserversHearTheirNameFromTheirObjectOrAnyObject)
{
    RVNotificationCenter center;
    int a = 0, b = 0;
    QStringList heard;
    const auto any = center.addObserver(QStringLiteral("Change"), nullptr,
                                        [&](const RVNotification& n) { heard << QStringLiteral("any ") + n.userInfo.value(QStringLiteral("change")).toString(); });
    center.addObserver(QStringLiteral("Change"), &a, [&](const RVNotification&) { heard << QStringLiteral("a"); });
    center.addObserver(QStringLiteral("Other"), nullptr, [&](const RVNotification&) { heard << QStringLiteral("other"); });

    center.post({QStringLiteral("Change"), &a, {{QStringLiteral("change"), QStringLiteral("started")}}});
    center.post({QStringLiteral("Change"), &b, {{QStringLiteral("change"), QStringLiteral("ended")}}});
    EXPECT_EQ(heard, (QStringList{QStringLiteral("any started"), QStringLiteral("a"), QStringLiteral("any ended")}));
    center.removeObserver(any);
    heard.clear();
    center.post({QStringLiteral("Change"), &a, {}});
    EXPECT_EQ(heard, QStringList{QStringLiteral("a")});
}

TEST(NotificationQueue, ABurstIsPostedOnceWhenIdleWithTheFirstUserInformation)
{
    TestApplication app;
    RVNotificationQueue& queue = RVNotificationQueue::defaultQueue();
    int object = 0;
    QStringList heard;
    const auto token = RVNotificationCenter::defaultCenter().addObserver(
        QStringLiteral("RVProcessChangeNotification"), nullptr,
        [&](const RVNotification& n) { heard << n.userInfo.value(QStringLiteral("change")).toString(); });
    for (const char* change : {"started", "ended", "front"})
        queue.enqueueWhenIdle({QStringLiteral("RVProcessChangeNotification"), &object,
                               {{QStringLiteral("change"), QString::fromLatin1(change)}}});
    queue.enqueueWhenIdle({QStringLiteral("RVProcessChangeNotification"), &heard, {{QStringLiteral("change"), QStringLiteral("other object")}}});
    EXPECT_TRUE(heard.isEmpty()); // nothing before the loop idles
    EXPECT_EQ(queue.pendingCount(), 2);

    QTimer::singleShot(50, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec(); // idles, so the queue posts
    EXPECT_EQ(heard, (QStringList{QStringLiteral("started"), QStringLiteral("other object")}));
    EXPECT_EQ(queue.pendingCount(), 0);
    RVNotificationCenter::defaultCenter().removeObserver(token);
}

} // namespace
