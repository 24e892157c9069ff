#include "ArgumentWords.h"
#include "LinuxTest.h"
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
        QFile f(u"/proc/%1/stat"_s.arg(pid));
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
    const QString alpha = makeTestBundle(tmp.path(), {u"Alpha"_s, u"alpha"_s, u"ALFA"_s, u"com.example.alpha"_s, u"2.5.1"_s, u"251"_s});
    const QString beta = makeTestBundle(tmp.path(), {u"Beta Tool"_s, u"beta"_s, QString(), u"com.example.beta"_s, u"7"_s, u"700"_s});
    const double before = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
    RunningApp a(alpha, u"alpha"_s, {u"--busy"_s, u"300"_s});
    RunningApp b(beta, u"beta"_s);
    ASSERT_FALSE(a.waitForLine(u"ready"_s).isEmpty());
    ASSERT_FALSE(b.waitForLine(u"ready"_s).isEmpty());

    std::vector<pid_t> pids;
    for (const auto& p : RVProcess::allProcesses())
        pids.push_back(p->unixPID());
    EXPECT_TRUE(std::is_sorted(pids.begin(), pids.end()));
    for (const pid_t pid : {a.pid(), b.pid(), ::getpid()}) // and our own process
        EXPECT_NE(std::find(pids.begin(), pids.end(), pid), pids.end()) << pid;

    const auto pa = RVProcess::processWithPID(a.pid());
    ASSERT_TRUE(pa);
    EXPECT_EQ(pa->name(), u"Alpha"_s);
    EXPECT_EQ(pa->signatureString(), u"ALFA"_s);
    EXPECT_EQ(pa->path(), alpha);
    EXPECT_EQ(pa->version(), u"2.5.1"_s);
    EXPECT_EQ(pa->identifier(), u"com.example.alpha"_s);
    EXPECT_NEAR(double(pa->launchDate().toMSecsSinceEpoch()) / 1000.0, before, 2.0);
    EXPECT_GE(pa->cpuTime(), 0.2f);
    EXPECT_EQ(RVProcess::processWithSignature(RVFourCC("ALFA")), pa);
    EXPECT_EQ(pa->infoDictionary()->value(u"FileCreator"_s).toString(), u"ALFA"_s);
    EXPECT_EQ(pa->infoDictionary()->value(u"pid"_s).toLongLong(), a.pid());
    EXPECT_TRUE(pa->infoDictionary()->contains(u"ParentPSN"_s));
    EXPECT_EQ(pa->platform(), RVPlatformCarbon); // an ELF bundle without NSPrincipalClass

    const auto pb = RVProcess::processWithIdentifier(u"com.example.beta"_s);
    ASSERT_TRUE(pb);
    EXPECT_EQ(pb->signatureString(), u"????"_s);
    EXPECT_EQ(pb->version(), u"700"_s); // short version without a dot
    EXPECT_EQ(pb->displayName(), u"Beta Tool"_s);
}

TEST_F(ProcTableTest, GnustepBundlesAreApplicationsToo)
{
    const QString app = tmp.mkdir(u"Gnu.app/Resources"_s);
    tmp.write(u"Gnu.app/Resources/Info-gnustep.plist"_s,
              "{ NSExecutable = Gnu; CFBundleSignature = GNUS; CFBundleName = \"GNU Tool\"; }");
    QFile::copy(QStringLiteral(RV_TEST_APP), tmp.file(u"Gnu.app/Gnu"_s));
    QFile::setPermissions(tmp.file(u"Gnu.app/Gnu"_s), QFile::ReadOwner | QFile::ExeOwner);
    RunningApp gnu({}, {}, {}, tmp.file(u"Gnu.app/Gnu"_s));
    ASSERT_FALSE(gnu.waitForLine(u"ready"_s).isEmpty());
    const auto p = RVProcess::processWithPID(gnu.pid());
    ASSERT_TRUE(p);
    EXPECT_EQ(p->name(), u"GNU Tool"_s);
    EXPECT_EQ(p->signatureString(), u"GNUS"_s);
    EXPECT_EQ(p->path(), tmp.file(u"Gnu.app"_s));
}

// The first asks are polite; one that ignores them is force-quit after the timeout.
TEST_F(ProcTableTest, QuitIsPoliteFirstAndForcedAfterTheTimeout)
{
    const struct
    {
        const char* name;
        QStringList arguments;
        float timeout;
        const char* line;
    } cases[] = {{"Polite", {}, 4.0f, "quit Polite: terminated after "},
                 {"Stubborn", {u"--ignore-term"_s}, 0.3f, "force-quit Stubborn: terminated after "}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString name = QString::fromLatin1(c.name);
        RunningApp running(makeTestBundle(tmp.path(), {name, name.toLower(), name.left(4).toUpper()}), name.toLower(), c.arguments);
        ASSERT_FALSE(running.waitForLine(u"ready"_s).isEmpty());
        const auto p = RVProcess::processWithPID(running.pid());
        ASSERT_TRUE(p);
        const qsizetype mark = log.lines().size();
        EXPECT_TRUE(p->quitRunningApplicationWithTimeout(c.timeout));
        ASSERT_EQ(log.lines().size(), mark + 1);
        EXPECT_TRUE(log.lines().last().startsWith(QLatin1String(c.line))) << log.lines().last().toStdString();
        EXPECT_FALSE(p->isStillRunning());
        EXPECT_TRUE(running.waitForEnd(5000));
        EXPECT_EQ(running.process().exitStatus(), QProcess::CrashExit); // ended by the signal
    }
}

TEST_F(ProcTableTest, ZombieCountsAsTerminatedAndIsNotListed)
{
    const QString app = makeTestBundle(tmp.path(), {u"Parent"_s, u"parent"_s, u"PRNT"_s});
    RunningApp running(app, u"parent"_s, {u"--zombie-child"_s});
    const QString line = running.waitForLine(u"child "_s);
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
    const QString app = makeTestBundle(tmp.path(), {u"Foreign"_s, u"foreign"_s, u"FRGN"_s});
    QFile::setPermissions(tmp.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
    RunningApp foreign(app, QString(), TestUser{65534, 65534, {}}.drop() << app + u"/Contents/MacOS/foreign"_s, u"/usr/bin/setpriv"_s);
    ASSERT_FALSE(foreign.waitForLine(u"ready"_s).isEmpty());
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
    const QString tool = tmp.write(u"tool"_s, "#!/bin/sh\n");
    const QByteArray fork = resourceForkWith("vers", 1, QByteArray::fromHex("02201501"));
    if (::setxattr(QFile::encodeName(tool).constData(), "user.com.apple.ResourceFork", fork.constData(),
                   size_t(fork.size()), 0) != 0)
        GTEST_SKIP() << "the file system of " << tmp.path().toStdString() << " keeps no user attributes";
    RVProcTable table;
    const auto record = table.resourceData(tool, RVFourCC("vers"), 1);
    ASSERT_TRUE(record);
    EXPECT_EQ(versionFromVersRecord(*record), u"1.1.5d2"_s);
    EXPECT_FALSE(table.resourceData(tmp.file(u"missing"_s), RVFourCC("vers"), 1));
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
        const QString app = tmp.mkdir(name + u".app/Contents/MacOS"_s);
        tmp.write(name + u".app/Contents/Info.plist"_s,
                  "{ CFBundleExecutable = run; CFBundleSignature = " + name.left(4).toUpper().toLatin1() + "; }");
        tmp.write(name + u".app/Contents/MacOS/run"_s, script,
                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return tmp.file(name + u".app"_s);
    };
    struct Case
    {
        QString bundle;
        QString program; // started directly when empty
        QStringList arguments;
        bool application;
    };
    std::vector<Case> cases{
        {scriptBundle(u"Shell"_s, "#!/bin/sh\necho ready\nwhile :; do sleep 1; done\n"), {}, {}, true},
        {scriptBundle(u"Snake"_s, "#!/usr/bin/python3 -u\nimport time\nprint('ready')\ntime.sleep(60)\n"), {}, {}, true},
    };
    const QString pager = scriptBundle(u"Paged"_s, "#!/bin/sh\nexit 0\n");
    cases.push_back({pager, u"/usr/bin/tail"_s,
                     {u"-f"_s, pager + u"/Contents/MacOS/run"_s}, false});
    const QString viewer = scriptBundle(u"Viewed"_s, "#!/bin/sh\nexit 0\n");
    cases.push_back({viewer, u"/bin/sh"_s,
                     {u"-c"_s, u"echo ready; sleep 60"_s, viewer + u"/Contents/MacOS/run"_s},
                     false});
    const QString javac = QStandardPaths::findExecutable(u"javac"_s);
    const QString jarTool = QStandardPaths::findExecutable(u"jar"_s);
    if (!javac.isEmpty() && !jarTool.isEmpty()) {
        const QString java = scriptBundle(u"Javan"_s, "#!/bin/sh\nexec java -jar \"$(dirname \"$0\")/../Resources/app.jar\"\n");
        tmp.write(u"src/Main.java"_s,
                  "public class Main { public static void main(String[] a) throws Exception {"
                  " System.out.println(\"ready\"); Thread.sleep(60000); } }");
        QProcess::execute(javac, {u"-d"_s, tmp.file(u"classes"_s), tmp.file(u"src/Main.java"_s)});
        tmp.mkdir(u"Javan.app/Contents/Resources"_s);
        QProcess::execute(jarTool, {u"cfe"_s, java + u"/Contents/Resources/app.jar"_s, u"Main"_s,
                                    u"-C"_s, tmp.file(u"classes"_s), u"."_s});
        cases.push_back({java, {}, {}, true});
    } else {
        ADD_FAILURE() << "no JDK here to build a jar"; // the machine's JDK is part of the set-up
    }
    for (const Case& c : cases) {
        const std::string name = QFileInfo(c.bundle).fileName().toStdString();
        RunningApp running(c.bundle, u"run"_s, c.arguments, c.program);
        if (c.program != u"/usr/bin/tail")
            ASSERT_FALSE(running.waitForLine(u"ready"_s, 20000).isEmpty()) << name;
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
    const QString source = makeTestBundle(tmp.mkdir(u"src"_s),
                                          {u"Foo"_s, u"foo"_s, {}, u"com.example.bystanders.foo"_s});
    const QString apps = tmp.mkdir(u"apps"_s);
    std::vector<std::unique_ptr<RunningApp>> bystanders;
    for (const TestBundle& bundle : {TestBundle{u"Editor"_s, u"editor"_s},
                                     TestBundle{u"Tool"_s, u"tool"_s, u"TOOL"_s},
                                     TestBundle{u"Trap"_s, u"trap"_s},
                                     TestBundle{u"Piped"_s, u"piped"_s},
                                     TestBundle{u"Huge"_s, u"huge"_s}}) {
        bystanders.push_back(std::make_unique<RunningApp>(makeTestBundle(apps, bundle), bundle.executable,
                                                          QStringList{u"--trap-term"_s}));
        ASSERT_FALSE(bystanders.back()->waitForLine(u"ready"_s).isEmpty());
    }
    const QByteArray piped = QFile::encodeName(apps + u"/Piped.app/Contents/Info.plist"_s);
    ASSERT_EQ(::unlink(piped.constData()), 0);
    ASSERT_EQ(::mkfifo(piped.constData(), 0644), 0);
    const QString huge = apps + u"/Huge.app/Contents/Info.plist"_s;
    ASSERT_TRUE(QFile::resize(huge, 64 * 1024 * 1024)); // sparse

    for (const char* code : {"????", "", "FOOS"}) {
        const QString copy = makeTestBundle(tmp.mkdir(u"Applications"_s),
                                            {u"Foo"_s, u"foo"_s, {}, u"com.example.bystanders.foo"_s});
        RunningApp running(copy, u"foo"_s);
        ASSERT_FALSE(running.waitForLine(u"ready"_s).isEmpty());
        InstallerWinController controller;
        controller.setArguments(RVInstallerArguments::fromArgumentList(
            {u"/prog"_s, u"-sourcePath"_s, source, u"-destinationPath"_s,
             tmp.file(u"elsewhere/Foo.app"_s), u"-quitCode"_s, QString::fromLatin1(code)}));
        controller.quitProcesses();
        EXPECT_TRUE(running.waitForEnd(5000)) << code; // the copy, known by its identifier
        EXPECT_EQ(controller.processToQuitStillRunning(), QString()) << code;
    }
    QThread::msleep(100);
    for (auto& bystander : bystanders) {
        EXPECT_EQ(bystander->process().state(), QProcess::Running);
        EXPECT_EQ(bystander->waitForLine(u"term"_s, 10), QString()) << "SIGTERM reached a bystander";
    }
    EXPECT_TRUE(log.lines().contains(u"cannot read property list %1: not a regular file"_s.arg(QFile::decodeName(piped))));
    EXPECT_TRUE(log.lines().contains(u"cannot read property list %1: larger than 8388608 bytes"_s.arg(huge)));
}

// Closing the window while a copy that ignores SIGTERM is being asked to quit: nothing more
// is sent, above all no SIGKILL once the polite phase is over.
TEST_F(ProcTableTest, CancelDuringTheQuitPhaseSendsNoKill)
{
    TestApplication application;
    const QString copy = makeTestBundle(tmp.mkdir(u"Applications"_s),
                                        {u"Stays"_s, u"stays"_s, u"STAY"_s});
    RunningApp running(copy, u"stays"_s, {u"--ignore-term"_s});
    ASSERT_FALSE(running.waitForLine(u"ready"_s).isEmpty());
    FakeInstallerView view;
    view.page = 1;
    InstallerWinController controller;
    controller.setView(&view);
    controller.setArguments(argumentsFromWords({"-sourcePath", "/nonexistent/Stays.app", "-productName", "Stays",
                                                "-destinationPath", "/nonexistent/Applications/Stays.app", "-quitCode", "STAY"}));
    controller.install();
    EXPECT_TRUE(turnLoopUntil([&] { return log.lines().contains(u"Quitting 'STAY': Stays"_s); }));
    controller.terminate();
    EXPECT_TRUE(turnLoopUntil([&] { return !controller.isWorking(); }, 2000)); // well before the 4 s polite phase ends
    EXPECT_FALSE(running.waitForEnd(5000)); // longer than both phases: no SIGKILL came
    EXPECT_TRUE(log.lines().contains(u"quit Stays: given up, as the installer is quitting"_s));
}

} // namespace
