#include "FakePlatform.h"
#include "RVLinuxClock.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVProcTable.h"
#include "RVProcess.h"
#include "RVLinuxApplicationEvents.h"
#include "RVLinuxLaunchEnvironment.h"
#include "RVX11ActiveWindowWatcher.h"
#include "RVNotificationCenter.h"
#include "RVUtilities.h"
#include "RVX11Connection.h"
#include "RVX11WindowSystem.h"
#include "TestApplication.h"
#include "TempDir.h"
#include "TestApps.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <functional>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

bool eventually(const std::function<bool()>& condition, int milliseconds = 3000)
{
    for (int waited = 0; waited < milliseconds; waited += 20) {
        if (condition())
            return true;
        QThread::msleep(20);
    }
    return condition();
}

QString property(const QString& window, const QString& name)
{
    QProcess xprop;
    xprop.start(u"xprop"_s, {u"-id"_s, window, name});
    xprop.waitForFinished(5000);
    return QString::fromUtf8(xprop.readAllStandardOutput());
}

class X11Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            GTEST_SKIP() << "needs a display: run under tests/x11/with-x11.sh";
        RVProcess::resetCacheForTesting();
        RVPlatform::install({.clock = std::make_shared<RVLinuxClock>(),
                             .processTable = std::make_shared<RVProcTable>(),
                             .windowSystem = windows});
    }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    // Starts a bundle application with a window and waits until the window manager has it.
    std::unique_ptr<RunningApp> windowApp(const QString& name, QString& window)
    {
        const QString app = makeTestBundle(tmp.path(), {name, name.toLower(), u"WNDW"_s});
        auto running = std::make_unique<RunningApp>(app, name.toLower(), QStringList{u"--window"_s, name});
        const QString ready = running->waitForLine(u"ready"_s);
        window = ready.mid(6);
        // Settle the window manager's own handling of the new window first: once it lists
        // the window and the window has been active, later requests meet a quiet manager.
        const pid_t pid = running->pid();
        const bool settled = eventually([&] {
            return windows->activateProcess(pid, false) &&
                   eventually([&] { return windows->activeWindowProcess() == pid; }, 200);
        });
        if (!settled) {
            QProcess xprop;
            xprop.start(u"xprop"_s, {u"-root"_s});
            xprop.waitForFinished(5000);
            ADD_FAILURE() << "window " << window.toStdString() << " of " << pid << " never became active:\n"
                          << xprop.readAllStandardOutput().toStdString();
        }
        return running;
    }

    TempDir tmp;
    FakePlatform platform;
    std::shared_ptr<RVX11WindowSystem> windows = std::make_shared<RVX11WindowSystem>();
};

// Showing brings the windows back without taking the front from the active process; a
// close request reaches the window and the program ends.
TEST_F(X11Test, HideShowAndClose)
{
    QString window, otherWindow;
    auto a = windowApp(u"Hidey"_s, window);
    auto other = windowApp(u"Other"_s, otherWindow);
    const auto p = RVProcess::processWithPID(a->pid());
    ASSERT_TRUE(p);
    p->setHidden(true);
    EXPECT_TRUE(eventually([&] { return property(window, u"_NET_WM_STATE"_s).contains(u"HIDDEN"_s); }))
        << property(window, u"_NET_WM_STATE"_s).toStdString();
    ASSERT_TRUE(eventually([&] { return windows->activateProcess(other->pid(), false) && windows->activeWindowProcess() == other->pid(); }));
    p->setHidden(false);
    EXPECT_TRUE(eventually([&] { return !property(window, u"_NET_WM_STATE"_s).contains(u"HIDDEN"_s); }));
    QThread::msleep(200); // time for the window manager to act on everything asked
    EXPECT_EQ(windows->activeWindowProcess(), other->pid());

    EXPECT_EQ(windows->closeProcessWindows(a->pid()), RVWindowSystem::CloseResult::Sent);
    EXPECT_FALSE(a->waitForLine(u"closed"_s).isEmpty());
    EXPECT_TRUE(a->waitForEnd(5000));
    EXPECT_EQ(a->process().exitCode(), 0);
}

TEST_F(X11Test, ProcessWithoutWindowsHasNothingToClose)
{
    const QString app = makeTestBundle(tmp.path(), {u"Blind"_s, u"blind"_s, u"BLND"_s});
    RunningApp running(app, u"blind"_s);
    ASSERT_FALSE(running.waitForLine(u"ready"_s).isEmpty());
    EXPECT_EQ(windows->closeProcessWindows(running.pid()), RVWindowSystem::CloseResult::NoWindow);
    EXPECT_FALSE(windows->activateProcess(running.pid(), false));
}

// Activation moves the front, which arrives as an event, as full screen does.
TEST_F(X11Test, FrontFollowsActivationAndSwitchesAndFullScreenArriveAsEvents)
{
    TestApplication app;
    QString windowA, windowB;
    auto a = windowApp(u"Front"_s, windowA);
    auto b = windowApp(u"Back"_s, windowB);
    auto events = std::make_shared<RVLinuxApplicationEvents>(RVPlatform::current().services().processTable);
    RVPlatform::install({.applicationEvents = events});
    RVProcess::resetNotificationsForTesting();
    RVUtilities::resetCachesForTesting();
    QStringList heard;
    const auto token = RVNotificationCenter::defaultCenter().addObserver(
        RVProcessChangeNotification, nullptr, [&](const RVNotification& n) { heard << n.userInfo.value(u"change"_s).toString(); });
    RVProcess::installNotifications();
    EXPECT_FALSE(RVUtilities::fullScreenMode());

    const auto front = RVProcess::processWithPID(a->pid());
    ASSERT_TRUE(front);
    front->setFrontProcess();
    ASSERT_TRUE(eventually([&] { return windows->activeWindowProcess() == a->pid(); }));
    EXPECT_EQ(RVProcess::frontProcess(), front);
    EXPECT_TRUE(front->isFrontProcess());
    EXPECT_TRUE(turnLoopUntil([&] { return heard.contains(u"front"_s); })) << heard.join(u' ').toStdString();

    for (const char* change : {"add", "remove"}) {
        QProcess::execute(u"wmctrl"_s, {u"-i"_s, u"-r"_s, windowA, u"-b"_s, QLatin1String(change) + u",fullscreen"_s});
        EXPECT_TRUE(turnLoopUntil([&] { return RVUtilities::fullScreenMode() == (change[0] == 'a'); }))
            << change << property(windowA, u"_NET_WM_STATE"_s).toStdString();
    }
    RVProcess::processWithPID(b->pid())->setFrontProcessFrontWindowOnly();
    EXPECT_TRUE(eventually([&] { return windows->activeWindowProcess() == b->pid(); }));
    RVNotificationCenter::defaultCenter().removeObserver(token);
    RVProcess::resetNotificationsForTesting();
    RVUtilities::resetCachesForTesting();
}

// A switch that reaches the watcher while it is still asking about the one before lands in
// the connection's queue, not on its socket: it must still be told without waiting for
// some later event.
TEST_F(X11Test, ASwitchArrivingDuringTheWatchersOwnRequestsIsToldAtOnce)
{
    TestApplication app;
    QString windowA, windowB;
    auto a = windowApp(u"Early"_s, windowA);
    auto b = windowApp(u"Late"_s, windowB);
    RVX11ActiveWindowWatcher watcher;
    ASSERT_TRUE(watcher.start());
    std::vector<pid_t> fronts;
    QObject::connect(&watcher, &RVX11ActiveWindowWatcher::frontProcessChanged, [&](std::optional<pid_t> pid) {
        fronts.push_back(pid.value_or(0));
        if (pid == a->pid()) {
            // While the watcher is in the middle of its work, the front moves on (asked again
            // should the window manager let a request pass).
            ASSERT_TRUE(eventually([&] {
                return windows->activateProcess(b->pid(), false) &&
                       eventually([&] { return windows->activeWindowProcess() == b->pid(); }, 200);
            }));
        }
    });
    // The window manager may let a request pass (it may only take the focus away): ask until
    // the switch to a has been told.
    QElapsedTimer asked;
    ASSERT_TRUE(turnLoopUntil([&] {
        if (std::find(fronts.begin(), fronts.end(), a->pid()) != fronts.end())
            return true;
        if (!asked.isValid() || asked.elapsed() > 300) {
            windows->activateProcess(a->pid(), false);
            asked.restart();
        }
        return false;
    }));
    EXPECT_TRUE(turnLoopUntil([&] { return !fronts.empty() && fronts.back() == b->pid(); }, 3000))
        << fronts.size() << " switches told, the last to " << (fronts.empty() ? -1 : fronts.back()) << "; a " << a->pid()
        << ", b " << b->pid();
}

TEST_F(X11Test, IdleTimeGrowsAndAKeyPressResetsIt)
{
    RVPlatform::install({.launchEnvironment = std::make_shared<RVLinuxLaunchEnvironment>(
                             RVPlatform::current().services().processTable)});
    QProcess::execute(u"xdotool"_s, {u"key"_s, u"shift"_s});
    const float first = RVUtilities::idleTime();
    ASSERT_GE(first, 0.0f) << "no screensaver extension";
    QThread::msleep(400);
    const float later = RVUtilities::idleTime();
    EXPECT_GE(later - first, 0.3f) << first << " then " << later;
    QProcess::execute(u"xdotool"_s, {u"key"_s, u"shift"_s});
    EXPECT_LT(RVUtilities::idleTime(), later - 0.2f);
}

// A server without the screensaver extension: no idle time, and the shared connection
// stays usable for everything else.
TEST(X11WithoutScreensaver, IdleTimeIsUnknownAndTheConnectionLives)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        GTEST_SKIP() << "needs Xvfb: run under tests/x11/with-x11.sh";
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-extension"_s, u"MIT-SCREEN-SAVER"_s, u"-nolisten"_s, u"tcp"_s});
    ASSERT_TRUE(server.waitForReadyRead(10000));
    const QByteArray display = ":" + server.readLine().trimmed();
    const QByteArray saved = qgetenv("DISPLAY");
    qputenv("DISPLAY", display);
    FakePlatform platform;
    RVLinuxLaunchEnvironment environment(std::make_shared<RVProcTable>());
    xcb_connection_t* before = nullptr;
    {
        const auto lease = RVX11Connection::acquire();
        ASSERT_TRUE(lease);
        before = lease->xcb();
    }
    EXPECT_FALSE(environment.idleNanoseconds().has_value());
    {
        const auto lease = RVX11Connection::acquire();
        ASSERT_TRUE(lease);
        EXPECT_EQ(xcb_connection_has_error(lease->xcb()), 0);
        EXPECT_EQ(lease->xcb(), before) << "the connection was lost and made again";
    }
    qputenv("DISPLAY", saved);
    server.terminate();
    server.waitForFinished(5000);
}

TEST_F(X11Test, MicroTakesTheFrontForAMomentAndGivesItBack)
{
    QString window;
    auto keeper = windowApp(u"Keeper"_s, window);
    platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
    auto launcher = std::make_shared<RVLinuxLauncher>();
    RVPlatform::install({.launcher = launcher, .workspace = std::make_shared<RVLinuxWorkspace>(launcher, tmp.path())});
    RVUtilities::resetCachesForTesting();
    QElapsedTimer timer;
    timer.start();
    RVUtilities::launchMicro(false);
    const qint64 took = timer.elapsed();
    // The window manager hands the front back once Micro's window is gone, in its own time.
    for (int i = 0; i < 100 && windows->activeWindowProcess() != keeper->pid(); ++i)
        QThread::msleep(20);
    EXPECT_EQ(windows->activeWindowProcess(), keeper->pid());
    // Had Micro never taken the front, the first wait alone would have lasted half a second.
    EXPECT_LT(took, 500);
    RVUtilities::resetCachesForTesting();
}

TEST(X11WithoutDisplay, AnswersNeutralValues)
{
    const QByteArray saved = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    RVX11WindowSystem windows;
    EXPECT_FALSE(windows.activeWindowProcess().has_value());
    EXPECT_FALSE(windows.activateProcess(1, false));
    EXPECT_FALSE(windows.setProcessHidden(1, true));
    EXPECT_EQ(windows.closeProcessWindows(1), RVWindowSystem::CloseResult::NoDisplay);
    if (!saved.isEmpty())
        qputenv("DISPLAY", saved);
}

} // namespace
