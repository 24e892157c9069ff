#include "FakePlatform.h"
#include "FakeProcessTable.h"
#include "LinuxTest.h"
#include "RVBundle.h"
#include "RVLinuxApplicationEvents.h"
#include "RVLinuxLaunchEnvironment.h"
#include "RVNotificationCenter.h"
#include "RVProcTable.h"
#include "RVProcess.h"
#include "RVUtilities.h"
#include "TempDir.h"
#include "TestApplication.h"
#include "TestApps.h"
#include "TmpfsMount.h"

#include <QImage>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

TEST(LinuxLaunchEnvironment, TheDeepestAndLatestMountHoldsAPath)
{
    const QByteArray table = "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                             "30 22 0:25 / /run rw - tmpfs tmpfs rw\n"
                             "31 22 0:26 / /home rw - btrfs /dev/sda2 rw\n"
                             "32 31 0:27 / /home/u/My\\040Disk rw shared:1 - vfat /dev/sdb1 rw\n"
                             "33 30 0:28 / /run rw - ramfs none rw\n"
                             "garbage line\n";
    const char* cases[][2] = {
        {"/", "ext4"},
        {"/etc/passwd", "ext4"},
        {"/run/lock", "ramfs"}, // mounted over the tmpfs
        {"/running", "ext4"},   // a prefix of the name is not the folder
        {"/home/u/My Disk/a", "vfat"},
        {"/home/u/My", "btrfs"},
    };
    for (const auto& [path, type] : cases)
        EXPECT_EQ(RVLinuxLaunchEnvironment::mountTypeFor(QString::fromUtf8(path), table), QString::fromLatin1(type)) << path;
}

TEST(LinuxLaunchEnvironment, ATmpfsMountIsNamedTmpfs)
{
    TempDir tmp;
    const QString folder = tmp.mkdir(u"mnt"_s);
    TmpfsMount mount(folder, "size=1m");
    ASSERT_TRUE(mount.mounted()) << "needs root to mount";
    FakePlatform platform;
    platform.launchEnvironment.reset();
    RVPlatform::install({.launchEnvironment = std::make_shared<RVLinuxLaunchEnvironment>(platform.processTable)});
    EXPECT_EQ(RVUtilities::fileSystemTypeFor(folder), u"tmpfs"_s);
    EXPECT_NE(RVUtilities::fileSystemTypeFor(tmp.path()), u"tmpfs"_s);
    EXPECT_EQ(RVUtilities::fileSystemTypeFor(folder + u"/missing"_s), u""_s);
}

TEST(LinuxLaunchEnvironment, SymbolicLinksAreFollowedToTheEnd)
{
    TempDir tmp;
    const QString target = tmp.write(u"target"_s, "x");
    QFile::link(target, tmp.file(u"one"_s));
    QFile::link(tmp.file(u"one"_s), tmp.file(u"two"_s));
    QFile::link(tmp.file(u"gone"_s), tmp.file(u"broken"_s));
    RVLinuxLaunchEnvironment environment(std::make_shared<RVProcTable>());
    EXPECT_EQ(environment.aliasTarget(tmp.file(u"two"_s)), target);
    EXPECT_EQ(environment.aliasTarget(target), std::nullopt);
    EXPECT_EQ(environment.aliasTarget(tmp.file(u"broken"_s)), std::nullopt);
}

// Run in a child under strace by the test below; the answer is its exit status.
// This test program's parent is no application: no launcher, unless the session manager
// marked it as started by the autostart.
TEST(LinuxLaunchEnvironment, TheAutostartIsTheLauncherOnlyWhenMarked)
{
    RVLinuxLaunchEnvironment environment(std::make_shared<RVProcTable>());
    qunsetenv("DESKTOP_AUTOSTART_ID");
    EXPECT_TRUE(environment.launcherCreator().isEmpty());
    qputenv("DESKTOP_AUTOSTART_ID", "velmora-test");
    EXPECT_EQ(environment.launcherCreator(), u"lgnw"_s);
    qunsetenv("DESKTOP_AUTOSTART_ID");
}

TEST(LinuxLaunchEnvironment, TracedChild)
{
    if (!qEnvironmentVariableIsSet("RV_TRACED_CHILD"))
        GTEST_SKIP() << "run by TracedOnlyUnderATracer";
    RVLinuxLaunchEnvironment environment(std::make_shared<RVProcTable>());
    EXPECT_TRUE(environment.isTraced());
}

TEST(LinuxLaunchEnvironment, TracedOnlyUnderATracer)
{
    RVLinuxLaunchEnvironment environment(std::make_shared<RVProcTable>());
    EXPECT_FALSE(environment.isTraced());
    // LeakSanitizer cannot run under a tracer and would fail the child at exit.
    const QString output = runProgram(u"strace"_s, {u"-f"_s, u"-o"_s, u"/dev/null"_s, QFileInfo(u"/proc/self/exe"_s).canonicalFilePath(),
                                                    u"--gtest_filter=LinuxLaunchEnvironment.TracedChild"_s},
                                      {u"RV_TRACED_CHILD=1"_s, u"ASAN_OPTIONS=detect_leaks=0"_s}, {}, true);
    EXPECT_TRUE(output.contains(u"[       OK ] LinuxLaunchEnvironment.TracedChild"_s)) << output.toStdString();
    EXPECT_TRUE(output.contains(u"[  PASSED  ] 1 test"_s)) << output.toStdString();
}

// A bundle process started and ended for real reaches an observer of the process
// notifications through the /proc watcher, the handler and the idle queue.
TEST(LinuxApplicationEvents, ALaunchedAndAnEndedBundleProcessReachAnObserver)
{
    TestApplication app;
    TempDir tmp;
    const QString bundle = makeTestBundle(tmp.path(), {.name = u"Watched"_s});
    FakePlatform platform;
    auto table = std::make_shared<RVProcTable>();
    auto events = std::make_shared<RVLinuxApplicationEvents>(table);
    RVPlatform::install({.processTable = table, .applicationEvents = events});
    RVProcess::resetCacheForTesting();
    RVProcess::resetNotificationsForTesting();
    QStringList heard;
    const auto token = RVNotificationCenter::defaultCenter().addObserver(
        RVProcessChangeNotification, RVProcess::classObject(),
        [&](const RVNotification& n) { heard << n.userInfo.value(u"change"_s).toString(); });
    RVProcess::installNotifications();
    const auto waitFor = [&](const QString& change) { return turnLoopUntil([&] { return heard.contains(change); }); };
    const std::uint64_t before = RVProcess::applicationLaunchEndCount();
    {
        RunningApp running(bundle, u"testapp"_s);
        EXPECT_TRUE(waitFor(u"started"_s)) << heard.join(u' ').toStdString();
    }
    EXPECT_TRUE(waitFor(u"ended"_s)) << heard.join(u' ').toStdString();
    // Runs alone, but a process left by an earlier test may still end while it watches.
    EXPECT_GE(RVProcess::applicationLaunchEndCount(), before + 2);
    RVNotificationCenter::defaultCenter().removeObserver(token);
    RVProcess::resetNotificationsForTesting();
}

// A process that execs into an application, however many passes after it appeared, is told
// launched once, and its end once; one that merely runs on is told nothing.
TEST(ApplicationEventsPass, AProcessThatBecomesAnApplicationByExecIsToldOnce)
{
    TestApplication app;
    TempDir proc;
    auto table = std::make_shared<FakeProcessTable>();
    RVLinuxApplicationEvents events(table, proc.path());
    QList<std::uint32_t> told;
    const auto runs = [&](const char* executable, const QByteArray& arguments) {
        QFile::remove(proc.file(u"200/exe"_s));
        QFile::link(QString::fromLatin1(executable), proc.mkdir(u"200"_s) + u"/exe"_s);
        proc.write(u"200/cmdline"_s, arguments);
    };
    runs("/bin/sh", QByteArrayLiteral("sh\0-c\0sleep 1; exec Late"));
    events.watchApplications([&](RVOSType, std::uint32_t kind) {
        if (kind != RVApplicationEvents::kFrontSwitched)
            told << kind;
        return 0;
    });
    for (int pass = 0; pass < 3; ++pass)
        events.comparePass();
    EXPECT_TRUE(told.isEmpty());
    table->add(200, u"Late"_s, "LATE");
    runs("/Applications/Late.app/Contents/MacOS/Late", "Late");
    events.comparePass();
    events.comparePass();
    EXPECT_EQ(told, QList<std::uint32_t>{RVApplicationEvents::kLaunched});
    QDir(proc.file(u"200"_s)).removeRecursively();
    table->processes[200].running = false;
    events.comparePass();
    events.comparePass();
    EXPECT_EQ(told, (QList<std::uint32_t>{RVApplicationEvents::kLaunched, RVApplicationEvents::kTerminated}));
}

// Every tint image the probe can name is in the built installer bundle and is a real image.
// Each tint image comes with a twice-as-dense one that Qt picks for a screen of density 2.
TEST(InstallerBundle, ShipsEveryTintImageAtBothDensities)
{
    const auto bundle = RVBundle::bundleWithPath(QStringLiteral(RV_INSTALLER_BUNDLE));
    ASSERT_TRUE(bundle);
    for (const char* style : {"tintMav", "tintYos", "tintYosDark"}) {
        for (const char* tint : {"Blue", "Graphite"}) {
            const QString name = QLatin1String(style) + QLatin1String(tint);
            const QString path = bundle->pathForResourceOfType(name, u"png"_s);
            ASSERT_FALSE(path.isEmpty()) << name.toStdString();
            const QImage single(path);
            QString dense = path;
            const QImage twice(dense.insert(dense.size() - 4, u"@2x"_s));
            EXPECT_EQ(single.size(), QSize(32, 32)) << path.toStdString();
            EXPECT_EQ(twice.size(), QSize(64, 64)) << dense.toStdString();
            // Drawn again at the density, not made by doubling each pixel.
            EXPECT_NE(twice.scaled(32, 32, Qt::IgnoreAspectRatio, Qt::FastTransformation), single) << name.toStdString();
        }
    }
}

} // namespace
