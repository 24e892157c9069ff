#include "QtPrinters.h"
#include "RVNotificationCenter.h"
#include "TestApplication.h"

#include <QTimer>

#include <gtest/gtest.h>

namespace {

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
