#include "FakePlatform.h"
#include "RVAtspiAccessibility.h"
#include "RVLinuxClock.h"
#include "RVNotificationCenter.h"
#include "RVProcTable.h"
#include "RVProcess.h"
#include "RVX11WindowSystem.h"
#include "TempDir.h"
#include "TestApplication.h"
#include "TestApps.h"

#include <QProcess>

#include <functional>

#include <gtest/gtest.h>

namespace {

constexpr int kBusPatienceMs = 10000;

class AccessibilityTest : public ::testing::Test
{
protected:
    AccessibilityTest()
    {
        RVProcess::resetCacheForTesting();
        RVPlatform::install({.clock = std::make_shared<RVLinuxClock>(),
                             .processTable = std::make_shared<RVProcTable>(),
                             .windowSystem = std::make_shared<RVX11WindowSystem>(),
                             .accessibility = accessibility});
    }
    ~AccessibilityTest() override { RVProcess::resetCacheForTesting(); }

    TestApplication app;
    TempDir tmp;
    FakePlatform platform;
    std::shared_ptr<RVAtspiAccessibility> accessibility = std::make_shared<RVAtspiAccessibility>();
};

// A Qt window on a running accessibility bus: its activation and a focus move inside it reach
// an observer of the process as interface notifications.
TEST_F(AccessibilityTest, AHelperWindowsActivationAndFocusReachTheObserver)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        GTEST_SKIP() << "needs a display and an accessibility bus: run under with-x11.sh with-atspi.sh";
    const QString helperBundle = makeTestBundle(
        tmp.path(), {.name = QStringLiteral("Helper"), .executable = QStringLiteral("helper"),
                     .signature = QStringLiteral("HELP"), .program = QStringLiteral(RV_QT_WINDOW)});
    RunningApp helper(helperBundle, QStringLiteral("helper"));
    ASSERT_FALSE(helper.waitForLine(QStringLiteral("accessible"), 10000).isEmpty());
    const QString otherBundle = makeTestBundle(tmp.path(), {QStringLiteral("Other"), QStringLiteral("other")});
    RunningApp other(otherBundle, QStringLiteral("other"), {QStringLiteral("--window"), QStringLiteral("Other")});
    ASSERT_FALSE(other.waitForLine(QStringLiteral("ready")).isEmpty());

    // The helper joins the accessibility bus a moment after its window shows.
    std::optional<RVAccessibleElement> application;
    ASSERT_TRUE(turnLoopUntil([&] { return (application = accessibility->applicationElement(helper.pid())).has_value(); }, kBusPatienceMs));
    EXPECT_FALSE(accessibility->applicationElement(other.pid()));

    const auto process = RVProcess::processWithPID(helper.pid());
    ASSERT_TRUE(process);
    QList<QVariantMap> heard;
    const auto token = RVNotificationCenter::defaultCenter().addObserver(
        RVProcessUINotification, process.get(), [&](const RVNotification& n) { heard << n.userInfo; });
    LogCapture log;
    process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));

    const auto otherProcess = RVProcess::processWithPID(other.pid());
    ASSERT_TRUE(otherProcess);
    const auto bringToFront = [&](const RVProcess::Ptr& p) {
        return turnLoopUntil([&] {
            p->setFrontProcess();
            return turnLoopUntil([&] { return RVProcess::frontProcess() == p; }, 300);
        }, kBusPatienceMs);
    };
    // An application learns of a new listener a moment later, so a switch may go unreported:
    // switch until one is heard.
    const auto heardWithin = [&](int milliseconds) {
        return turnLoopUntil([&] { return !heard.isEmpty(); }, milliseconds);
    };
    for (int attempt = 0; attempt < 10 && heard.isEmpty(); ++attempt) {
        // A switch back before the helper has noticed it lost the focus changes nothing for it.
        ASSERT_TRUE(bringToFront(otherProcess));
        helper.waitForLine(QStringLiteral("inactive"), 2000);
        heard.clear();
        ASSERT_TRUE(bringToFront(process));
        heardWithin(1000);
    }
    ASSERT_FALSE(heard.isEmpty());
    EXPECT_EQ(heard.front().value(QStringLiteral("event")).toString(), QStringLiteral("AXFocusedWindowChanged"));
    const auto element = heard.front().value(QStringLiteral("element")).value<RVAccessibleElement>();
    EXPECT_EQ(element.busName, application->busName);
    EXPECT_TRUE(element.path.startsWith(QStringLiteral("/org/a11y/atspi/accessible/"))) << element.path.toStdString();

    // Only the focus notification is left: a Tab inside the window moves the focus.
    process->removeAXNotification(QStringLiteral("AXFocusedWindowChanged"));
    process->addAXNotification(QStringLiteral("AXFocusedUIElementChanged"));
    heard.clear();
    for (int attempt = 0; attempt < 10 && heard.isEmpty(); ++attempt) {
        QProcess::execute(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Tab")});
        heardWithin(1000);
    }
    ASSERT_FALSE(heard.isEmpty());
    EXPECT_EQ(heard.front().value(QStringLiteral("event")).toString(), QStringLiteral("AXFocusedUIElementChanged"));
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join(u'\n').toStdString();
    RVNotificationCenter::defaultCenter().removeObserver(token);
}

// Without an accessibility bus the three steps fail in order and log, and nothing else happens.
TEST(AccessibilityWithoutBus, LogsTheFailureLinesAndGoesOn)
{
    TestApplication app;
    TempDir tmp;
    FakePlatform platform;
    qputenv("AT_SPI_BUS_ADDRESS", "unix:path=/nonexistent/at-spi-bus");
    auto accessibility = std::make_shared<RVAtspiAccessibility>();
    RVPlatform::install({.processTable = std::make_shared<RVProcTable>(), .accessibility = accessibility});
    RVProcess::resetCacheForTesting();
    const QString bundle = makeTestBundle(tmp.path(), {.name = QStringLiteral("Lonely"), .signature = QStringLiteral("LONE")});
    RunningApp running(bundle, QStringLiteral("testapp"));
    ASSERT_FALSE(running.waitForLine(QStringLiteral("ready")).isEmpty());
    const auto process = RVProcess::processWithPID(running.pid());
    ASSERT_TRUE(process);
    LogCapture log;
    process->addAXNotification(QStringLiteral("AXWindowCreated"));
    process->removeAXNotification(QStringLiteral("AXWindowCreated"));
    const QString who = process->description();
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("AX Notifications: Could not create application object for ") + who,
                                        QStringLiteral("AX Notifications: Could not add notification AXWindowCreated for ") + who}));
    RVProcess::resetCacheForTesting();
    qunsetenv("AT_SPI_BUS_ADDRESS");
}

TEST(AccessibilityEventTypes, UsualNamesMapAndBusTypesStandForThemselves)
{
    const std::pair<const char*, const char*> cases[] = {
        {"AXFocusedWindowChanged", "window:activate"},
        {"AXFocusedUIElementChanged", "object:state-changed:focused"},
        {"AXTitleChanged", "object:property-change:accessible-name"},
        {"window:create", "window:create"},
        {"focus:", "focus:"},
        {"object:state-changed:focused", "object:state-changed:focused"},
        {"AXNoSuchThing", ""},
        {"Window:Activate", ""},
        {"window", ""},
        {":activate", ""},
        {"a:b:c:d", ""},
        {"window:activate now", ""},
    };
    for (const auto& [name, type] : cases)
        EXPECT_EQ(RVAtspiAccessibility::eventTypeFor(QString::fromLatin1(name)), QString::fromLatin1(type)) << name;
}

} // namespace
