#include "ArgumentWords.h"
#include "FakeInstallerView.h"
#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVLinuxClock.h"
#include "RVProcTable.h"
#include "RVProcess.h"
#include "TempDir.h"
#include "ResourceForkBuilder.h"
#include "TestApplication.h"
#include "TestApps.h"

#include <QDateTime>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

class ProcTableTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RVProcess::resetCacheForTesting();
        RVPlatform::install({.clock = std::make_shared<RVLinuxClock>(), .processTable = table});
    }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    std::optional<RVProcTable::Stat> stat(pid_t pid)
    {
        QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!f.open(QIODevice::ReadOnly))
            return std::nullopt;
        return RVProcTable::parseStat(f.readAll());
    }

    TempDir tmp;
    FakePlatform platform; // window system and the rest stay fakes
    std::shared_ptr<RVProcTable> table = std::make_shared<RVProcTable>();
    LogCapture log;
};

TEST_F(ProcTableTest, BundleProcessesAreEnumeratedInPidOrderWithTheirProperties)
{
    const QString alpha = makeTestBundle(tmp.path(), {QStringLiteral("Alpha"), QStringLiteral("alpha"),
                                                      QStringLiteral("ALFA"), QStringLiteral("com.example.alpha"),
                                                      QStringLiteral("2.5.1"), QStringLiteral("251")});
    const QString beta = makeTestBundle(tmp.path(), {QStringLiteral("Beta Tool"), QStringLiteral("beta"),
                                                     QString(), QStringLiteral("com.example.beta"),
                                                     QStringLiteral("7"), QStringLiteral("700")});
    const double before = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
    RunningApp a(alpha, QStringLiteral("alpha"), {QStringLiteral("--busy"), QStringLiteral("300")});
    RunningApp b(beta, QStringLiteral("beta"));
    ASSERT_FALSE(a.waitForLine(QStringLiteral("ready")).isEmpty());
    ASSERT_FALSE(b.waitForLine(QStringLiteral("ready")).isEmpty());

    std::vector<pid_t> pids;
    for (const auto& p : RVProcess::allProcesses())
        pids.push_back(p->unixPID());
    EXPECT_TRUE(std::is_sorted(pids.begin(), pids.end()));
    EXPECT_NE(std::find(pids.begin(), pids.end(), a.pid()), pids.end());
    EXPECT_NE(std::find(pids.begin(), pids.end(), b.pid()), pids.end());
    EXPECT_NE(std::find(pids.begin(), pids.end(), ::getpid()), pids.end()); // our own process

    const auto pa = RVProcess::processWithPID(a.pid());
    ASSERT_TRUE(pa);
    EXPECT_EQ(pa->name(), QStringLiteral("Alpha"));
    EXPECT_EQ(pa->signatureString(), QStringLiteral("ALFA"));
    EXPECT_EQ(pa->path(), alpha);
    EXPECT_EQ(pa->version(), QStringLiteral("2.5.1"));
    EXPECT_EQ(pa->identifier(), QStringLiteral("com.example.alpha"));
    EXPECT_NEAR(double(pa->launchDate().toMSecsSinceEpoch()) / 1000.0, before, 2.0);
    EXPECT_GE(pa->cpuTime(), 0.2f);
    EXPECT_EQ(RVProcess::processWithSignature(RVFourCC("ALFA")), pa);
    EXPECT_EQ(pa->infoDictionary()->value(QStringLiteral("FileCreator")).toString(), QStringLiteral("ALFA"));
    EXPECT_EQ(pa->infoDictionary()->value(QStringLiteral("pid")).toLongLong(), a.pid());
    EXPECT_TRUE(pa->infoDictionary()->contains(QStringLiteral("ParentPSN")));
    EXPECT_EQ(pa->platform(), RVPlatformCarbon); // an ELF bundle without NSPrincipalClass

    const auto pb = RVProcess::processWithIdentifier(QStringLiteral("com.example.beta"));
    ASSERT_TRUE(pb);
    EXPECT_EQ(pb->signatureString(), QStringLiteral("????"));
    EXPECT_EQ(pb->version(), QStringLiteral("700")); // short version without a dot
    EXPECT_EQ(pb->displayName(), QStringLiteral("Beta Tool"));
}

TEST_F(ProcTableTest, GnustepBundlesAreApplicationsToo)
{
    const QString app = tmp.mkdir(QStringLiteral("Gnu.app/Resources"));
    tmp.write(QStringLiteral("Gnu.app/Resources/Info-gnustep.plist"),
              "{ NSExecutable = Gnu; CFBundleSignature = GNUS; CFBundleName = \"GNU Tool\"; }");
    QFile::copy(QStringLiteral(RV_TEST_APP), tmp.file(QStringLiteral("Gnu.app/Gnu")));
    QFile::setPermissions(tmp.file(QStringLiteral("Gnu.app/Gnu")), QFile::ReadOwner | QFile::ExeOwner);
    RunningApp gnu({}, {}, {}, tmp.file(QStringLiteral("Gnu.app/Gnu")));
    ASSERT_FALSE(gnu.waitForLine(QStringLiteral("ready")).isEmpty());
    const auto p = RVProcess::processWithPID(gnu.pid());
    ASSERT_TRUE(p);
    EXPECT_EQ(p->name(), QStringLiteral("GNU Tool"));
    EXPECT_EQ(p->signatureString(), QStringLiteral("GNUS"));
    EXPECT_EQ(p->path(), tmp.file(QStringLiteral("Gnu.app")));
}

TEST_F(ProcTableTest, PlainProgramsAreNotApplications)
{
    QProcess sleeper;
    sleeper.start(QStringLiteral("/bin/sleep"), {QStringLiteral("30")});
    ASSERT_TRUE(sleeper.waitForStarted());
    EXPECT_EQ(RVProcess::processWithPID(pid_t(sleeper.processId())), nullptr);
    sleeper.kill();
    sleeper.waitForFinished();
}

TEST_F(ProcTableTest, ProcessThatObeysSigtermQuitsPolitely)
{
    const QString app = makeTestBundle(tmp.path(), {QStringLiteral("Polite"), QStringLiteral("polite"), QStringLiteral("POLI")});
    RunningApp running(app, QStringLiteral("polite"));
    ASSERT_FALSE(running.waitForLine(QStringLiteral("ready")).isEmpty());
    const auto p = RVProcess::processWithPID(running.pid());
    ASSERT_TRUE(p);
    EXPECT_TRUE(p->quitRunningApplicationWithTimeout(4.0f));
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("quit Polite: terminated after "))) << log.lines()[0].toStdString();
    EXPECT_FALSE(p->isStillRunning());
    EXPECT_TRUE(running.waitForEnd(5000));
    EXPECT_EQ(running.process().exitStatus(), QProcess::CrashExit); // ended by the signal
}

TEST_F(ProcTableTest, ProcessThatIgnoresSigtermIsForceQuitAfterTheTimeout)
{
    const QString app = makeTestBundle(tmp.path(), {QStringLiteral("Stubborn"), QStringLiteral("stubborn"), QStringLiteral("STUB")});
    RunningApp running(app, QStringLiteral("stubborn"), {QStringLiteral("--ignore-term")});
    ASSERT_FALSE(running.waitForLine(QStringLiteral("ready")).isEmpty());
    const auto p = RVProcess::processWithPID(running.pid());
    ASSERT_TRUE(p);
    EXPECT_TRUE(p->quitRunningApplicationWithTimeout(0.3f));
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("force-quit Stubborn: terminated after "))) << log.lines()[0].toStdString();
    EXPECT_TRUE(running.waitForEnd(5000));
}

TEST_F(ProcTableTest, ZombieCountsAsTerminatedAndIsNotListed)
{
    const QString app = makeTestBundle(tmp.path(), {QStringLiteral("Parent"), QStringLiteral("parent"), QStringLiteral("PRNT")});
    RunningApp running(app, QStringLiteral("parent"), {QStringLiteral("--zombie-child")});
    const QString line = running.waitForLine(QStringLiteral("child "));
    ASSERT_FALSE(line.isEmpty());
    const pid_t child = pid_t(line.mid(6).toInt());
    std::optional<RVProcTable::Stat> s;
    for (int i = 0; i < 500 && (!(s = stat(child)) || s->state != 'Z'); ++i)
        QThread::msleep(2);
    ASSERT_TRUE(s && s->state == 'Z');
    const RVSerialNumber psn{std::uint32_t(s->startTicks), std::uint32_t(child)};
    EXPECT_TRUE(table->isTerminated(psn));
    EXPECT_FALSE(table->pidOfProcess(psn));
    EXPECT_FALSE(table->processForPID(child));
    // A stale serial number of a live pid (wrong start time) is not that process either.
    EXPECT_TRUE(table->isTerminated({std::uint32_t(s->startTicks + 1), std::uint32_t(running.pid())}));
}

TEST_F(ProcTableTest, NeverSignalsAnotherUsersProcessNorItself)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "starting a process as another user needs root";
    const QString app = makeTestBundle(tmp.path(), {QStringLiteral("Foreign"), QStringLiteral("foreign"), QStringLiteral("FRGN")});
    QDir().mkpath(tmp.path());
    QFile::setPermissions(tmp.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
    RunningApp foreign(app, QString(), {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                                        QStringLiteral("--clear-groups"), app + QStringLiteral("/Contents/MacOS/foreign")},
                       QStringLiteral("/usr/bin/setpriv"));
    ASSERT_FALSE(foreign.waitForLine(QStringLiteral("ready")).isEmpty());
    const auto s = stat(foreign.pid());
    ASSERT_TRUE(s);
    const RVSerialNumber psn{std::uint32_t(s->startTicks), std::uint32_t(foreign.pid())};
    EXPECT_FALSE(table->processForPID(foreign.pid())); // not one of ours
    EXPECT_FALSE(table->terminate(psn));
    EXPECT_FALSE(table->forceTerminate(psn));
    QThread::msleep(50);
    EXPECT_FALSE(table->isTerminated(psn));

    const auto own = table->currentProcess();
    ASSERT_TRUE(own);
    EXPECT_FALSE(table->terminate(*own));
    EXPECT_FALSE(table->forceTerminate(*own));
}

TEST(ProcTableResources, VersionResourceComesFromTheForkAttribute)
{
    TempDir tmp;
    const QString tool = tmp.write(QStringLiteral("tool"), "#!/bin/sh\n");
    const QByteArray fork = resourceForkWith("vers", 1, QByteArray::fromHex("02201501"));
    if (::setxattr(QFile::encodeName(tool).constData(), "user.com.apple.ResourceFork", fork.constData(),
                   size_t(fork.size()), 0) != 0)
        GTEST_SKIP() << "the file system of " << tmp.path().toStdString() << " keeps no user attributes";
    RVProcTable table;
    const auto record = table.resourceData(tool, RVFourCC("vers"), 1);
    ASSERT_TRUE(record);
    EXPECT_EQ(versionFromVersRecord(*record), QStringLiteral("1.1.5d2"));
    EXPECT_FALSE(table.resourceData(tmp.file(QStringLiteral("missing")), RVFourCC("vers"), 1));
}

TEST(ProcTableParsing, StatFieldsAfterACommandWithParentheses)
{
    const QByteArray line = "4242 (odd) name) S 1 4242 4242 0 -1 4194560 100 0 0 0 "
                            "250 30 0 0 20 0 1 0 987654 1000 200 18446744073709551615";
    const auto s = RVProcTable::parseStat(line);
    ASSERT_TRUE(s);
    EXPECT_EQ(s->state, 'S');
    EXPECT_EQ(s->parent, 1);
    EXPECT_EQ(s->userTicks, 250u);
    EXPECT_EQ(s->startTicks, 987654u);
    EXPECT_FALSE(RVProcTable::parseStat("garbage"));
    EXPECT_FALSE(RVProcTable::parseStat("1 (x) S 1 2"));
}

} // namespace

namespace {

// A bundle whose main executable is a script run by an interpreter: sh that does not exec, a
// python3 script, a jar that java runs from the bundle. Each is found, named and asked to
// quit; a program that merely names the script (an editor, a pager) is no application.
TEST_F(ProcTableTest, InterpretedProductsAreApplicationsOfTheirBundle)
{
    const auto scriptBundle = [&](const QString& name, const QByteArray& script) {
        const QString app = tmp.mkdir(name + QStringLiteral(".app/Contents/MacOS"));
        tmp.write(name + QStringLiteral(".app/Contents/Info.plist"),
                  "{ CFBundleExecutable = run; CFBundleSignature = " + name.left(4).toUpper().toLatin1() + "; }");
        tmp.write(name + QStringLiteral(".app/Contents/MacOS/run"), script,
                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return tmp.file(name + QStringLiteral(".app"));
    };
    struct Case
    {
        QString bundle;
        QString program; // started directly when empty
        QStringList arguments;
        bool application;
    };
    std::vector<Case> cases{
        {scriptBundle(QStringLiteral("Shell"), "#!/bin/sh\necho ready\nwhile :; do sleep 1; done\n"), {}, {}, true},
        {scriptBundle(QStringLiteral("Snake"), "#!/usr/bin/python3 -u\nimport time\nprint('ready')\ntime.sleep(60)\n"), {}, {}, true},
    };
    const QString pager = scriptBundle(QStringLiteral("Paged"), "#!/bin/sh\nexit 0\n");
    cases.push_back({pager, QStringLiteral("/usr/bin/tail"),
                     {QStringLiteral("-f"), pager + QStringLiteral("/Contents/MacOS/run")}, false});
    const QString viewer = scriptBundle(QStringLiteral("Viewed"), "#!/bin/sh\nexit 0\n");
    cases.push_back({viewer, QStringLiteral("/bin/sh"),
                     {QStringLiteral("-c"), QStringLiteral("echo ready; sleep 60"), viewer + QStringLiteral("/Contents/MacOS/run")},
                     false});
    const QString javac = QStandardPaths::findExecutable(QStringLiteral("javac"));
    const QString jarTool = QStandardPaths::findExecutable(QStringLiteral("jar"));
    if (!javac.isEmpty() && !jarTool.isEmpty()) {
        const QString java = scriptBundle(QStringLiteral("Javan"), "#!/bin/sh\nexec java -jar \"$(dirname \"$0\")/../Resources/app.jar\"\n");
        tmp.write(QStringLiteral("src/Main.java"),
                  "public class Main { public static void main(String[] a) throws Exception {"
                  " System.out.println(\"ready\"); Thread.sleep(60000); } }");
        QProcess::execute(javac, {QStringLiteral("-d"), tmp.file(QStringLiteral("classes")), tmp.file(QStringLiteral("src/Main.java"))});
        tmp.mkdir(QStringLiteral("Javan.app/Contents/Resources"));
        QProcess::execute(jarTool, {QStringLiteral("cfe"), java + QStringLiteral("/Contents/Resources/app.jar"), QStringLiteral("Main"),
                                    QStringLiteral("-C"), tmp.file(QStringLiteral("classes")), QStringLiteral(".")});
        cases.push_back({java, {}, {}, true});
    } else {
        ADD_FAILURE() << "no JDK here to build a jar"; // the machine's JDK is part of the set-up
    }
    for (const Case& c : cases) {
        const std::string name = QFileInfo(c.bundle).fileName().toStdString();
        RunningApp running(c.bundle, QStringLiteral("run"), c.arguments, c.program);
        if (c.program != u"/usr/bin/tail")
            ASSERT_FALSE(running.waitForLine(QStringLiteral("ready"), 20000).isEmpty()) << name;
        else
            QThread::msleep(200);
        pid_t pid = running.pid();
        // java is a child of the bundle's script when the script does not exec; here it does.
        const auto process = RVProcess::processWithPID(pid);
        EXPECT_EQ(bool(process), c.application) << name;
        if (!process)
            continue;
        EXPECT_EQ(process->path(), c.bundle) << name;
        EXPECT_EQ(process->name(), QFileInfo(c.bundle).completeBaseName()) << name;
        EXPECT_EQ(process->signatureString(), QFileInfo(c.bundle).completeBaseName().left(4).toUpper()) << name;
        EXPECT_TRUE(process->quitRunningApplicationWithTimeout(4.0f)) << name;
        EXPECT_TRUE(running.waitForEnd(5000)) << name;
    }
}

// The unknown signature names no application: whatever codes a product brings ("????", an
// empty one, a real one), unrelated applications with or without a signature are never
// signalled, one whose Info.plist is a FIFO does not wedge the search, and a running copy of
// the product is still found by its bundle.
TEST_F(ProcTableTest, BystandersAreNeverSignalled)
{
    const QString source = makeTestBundle(tmp.mkdir(QStringLiteral("src")),
                                          {QStringLiteral("Foo"), QStringLiteral("foo"), {}, QStringLiteral("com.example.bystanders.foo")});
    const QString apps = tmp.mkdir(QStringLiteral("apps"));
    std::vector<std::unique_ptr<RunningApp>> bystanders;
    for (const TestBundle& bundle : {TestBundle{QStringLiteral("Editor"), QStringLiteral("editor")},
                                     TestBundle{QStringLiteral("Tool"), QStringLiteral("tool"), QStringLiteral("TOOL")},
                                     TestBundle{QStringLiteral("Trap"), QStringLiteral("trap")},
                                     TestBundle{QStringLiteral("Piped"), QStringLiteral("piped")},
                                     TestBundle{QStringLiteral("Huge"), QStringLiteral("huge")}}) {
        bystanders.push_back(std::make_unique<RunningApp>(makeTestBundle(apps, bundle), bundle.executable,
                                                          QStringList{QStringLiteral("--trap-term")}));
        ASSERT_FALSE(bystanders.back()->waitForLine(QStringLiteral("ready")).isEmpty());
    }
    const QByteArray piped = QFile::encodeName(apps + QStringLiteral("/Piped.app/Contents/Info.plist"));
    ASSERT_EQ(::unlink(piped.constData()), 0);
    ASSERT_EQ(::mkfifo(piped.constData(), 0644), 0);
    const QString huge = apps + QStringLiteral("/Huge.app/Contents/Info.plist");
    ASSERT_TRUE(QFile::resize(huge, 64 * 1024 * 1024)); // sparse

    for (const char* code : {"????", "", "FOOS"}) {
        const QString copy = makeTestBundle(tmp.mkdir(QStringLiteral("Applications")),
                                            {QStringLiteral("Foo"), QStringLiteral("foo"), {}, QStringLiteral("com.example.bystanders.foo")});
        RunningApp running(copy, QStringLiteral("foo"));
        ASSERT_FALSE(running.waitForLine(QStringLiteral("ready")).isEmpty());
        InstallerWinController controller;
        controller.setArguments(RVInstallerArguments::fromArgumentList(
            {QStringLiteral("/prog"), QStringLiteral("-sourcePath"), source, QStringLiteral("-destinationPath"),
             tmp.file(QStringLiteral("elsewhere/Foo.app")), QStringLiteral("-quitCode"), QString::fromLatin1(code)}));
        controller.quitProcesses();
        EXPECT_TRUE(running.waitForEnd(5000)) << code; // the copy, known by its identifier
        EXPECT_EQ(controller.processToQuitStillRunning(), QString()) << code;
    }
    QThread::msleep(100);
    for (auto& bystander : bystanders) {
        EXPECT_EQ(bystander->process().state(), QProcess::Running);
        EXPECT_EQ(bystander->waitForLine(QStringLiteral("term"), 10), QString()) << "SIGTERM reached a bystander";
    }
    EXPECT_TRUE(log.lines().contains(QStringLiteral("cannot read property list %1: not a regular file").arg(QFile::decodeName(piped))));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("cannot read property list %1: larger than 8388608 bytes").arg(huge)));
}

// Closing the window while a copy that ignores SIGTERM is being asked to quit: nothing more
// is sent, above all no SIGKILL once the polite phase is over.
TEST_F(ProcTableTest, CancelDuringTheQuitPhaseSendsNoKill)
{
    TestApplication application;
    const QString copy = makeTestBundle(tmp.mkdir(QStringLiteral("Applications")),
                                        {QStringLiteral("Stays"), QStringLiteral("stays"), QStringLiteral("STAY")});
    RunningApp running(copy, QStringLiteral("stays"), {QStringLiteral("--ignore-term")});
    ASSERT_FALSE(running.waitForLine(QStringLiteral("ready")).isEmpty());
    FakeInstallerView view;
    view.page = 1;
    InstallerWinController controller;
    controller.setView(&view);
    controller.setArguments(argumentsFromWords({"-sourcePath", "/nonexistent/Stays.app", "-productName", "Stays",
                                                "-destinationPath", "/nonexistent/Applications/Stays.app", "-quitCode", "STAY"}));
    controller.install();
    EXPECT_TRUE(turnLoopUntil([&] { return log.lines().contains(QStringLiteral("Quitting 'STAY': Stays")); }));
    controller.terminate();
    EXPECT_TRUE(turnLoopUntil([&] { return !controller.isWorking(); }, 2000)); // well before the 4 s polite phase ends
    EXPECT_FALSE(running.waitForEnd(5000)); // longer than both phases: no SIGKILL came
    EXPECT_TRUE(log.lines().contains(QStringLiteral("quit Stays: given up, as the installer is quitting")));
}

} // namespace
