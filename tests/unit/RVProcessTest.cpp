#include "FakePlatform.h"
#include "ResourceForkBuilder.h"
#include "RVProcess.h"
#include "RVResourceFork.h"
#include "TempDir.h"

#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace {

class ProcessTest : public ::testing::Test
{
protected:
    void SetUp() override { RVProcess::resetCacheForTesting(); }
    void TearDown() override { RVProcess::resetCacheForTesting(); }

    FakePlatform platform;
    FakeProcessTable& table = *platform.processTable;
    LogCapture log;
};

// Every look-up of one process gives the same object; by signature and identifier, the first
// readable process that carries it (identifiers compare exactly).
TEST_F(ProcessTest, LookUpsGiveTheSameObjectByEveryKey)
{
    table.add(5, QStringLiteral("Unreadable"), "BETA").informationReadable = false;
    table.add(10, QStringLiteral("Alpha"), "ALFA").info = {{QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.alpha")}};
    table.add(20, QStringLiteral("Beta"), "BETA");
    table.add(30, QStringLiteral("Second"), "BETA");
    const auto all = RVProcess::allProcesses();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(RVProcess::processWithPID(10), all[1]);
    EXPECT_EQ(RVProcess::processWithSerialNumber({1000, 20}), all[2]);
    EXPECT_EQ(RVProcess::processWithSignature(RVFourCC("BETA")), all[2]);
    EXPECT_EQ(RVProcess::processWithIdentifier(QStringLiteral("com.example.alpha")), all[1]);
    EXPECT_EQ(RVProcess::cachedProcesses().size(), 4u);
    EXPECT_EQ(RVProcess::processWithSignature(RVFourCC("NONE")), nullptr);
    EXPECT_EQ(RVProcess::processWithIdentifier(QStringLiteral("com.example.Alpha")), nullptr);
    EXPECT_EQ(RVProcess::processWithPID(99), nullptr);
}

TEST_F(ProcessTest, ACacheHitMovesToTheFrontAndKeepsTheOthersInOrder)
{
    for (pid_t pid = 1; pid <= 5; ++pid)
        RVProcess::processWithSerialNumber({7, std::uint32_t(pid)});
    // Inserted at the front each time: 5 4 3 2 1. Index 3 holds pid 2.
    ASSERT_EQ(RVProcess::indexOfCachedProcessWithSerialNumber({7, 2}), 3);
    RVProcess::cachedProcessWithSerialNumber({7, 2});
    std::vector<std::uint32_t> order;
    for (const auto& p : RVProcess::cachedProcesses())
        order.push_back(p->serialNumber().low);
    EXPECT_EQ(order, (std::vector<std::uint32_t>{2, 5, 4, 3, 1}));
    EXPECT_EQ(RVProcess::indexOfCachedProcessWithSerialNumber({8, 2}), RVProcess::kNotFound);
    EXPECT_EQ(RVProcess::cachedProcessWithSerialNumber({8, 2}), nullptr);
}

TEST_F(ProcessTest, CleanupRemovesEveryEndedEntryIncludingAdjacentOnes)
{
    for (pid_t pid = 1; pid <= 5; ++pid)
        table.add(pid, QStringLiteral("P%1").arg(pid), "????");
    RVProcess::allProcesses(); // cache: 5 4 3 2 1
    table.processes[4].running = false;
    table.processes[3].running = false;
    table.processes[1].running = false;
    RVProcess::cleanupCache();
    std::vector<std::uint32_t> left;
    for (const auto& p : RVProcess::cachedProcesses())
        left.push_back(p->serialNumber().low);
    EXPECT_EQ(left, (std::vector<std::uint32_t>{5, 2}));
}

TEST_F(ProcessTest, CurrentProcessAsksAgainAfterAFailureAndThenKeepsItsAnswer)
{
    table.add(42, QStringLiteral("Installer"), "VLMI");
    table.current = 42;
    table.currentProcessFailures = 1;
    EXPECT_EQ(RVProcess::currentProcess(), nullptr);
    const auto current = RVProcess::currentProcess();
    ASSERT_NE(current, nullptr);
    EXPECT_EQ(current->unixPID(), 42);
    table.current.reset();
    EXPECT_EQ(RVProcess::currentProcess(), current);
}

TEST_F(ProcessTest, IdentityHashOrderAndDescription)
{
    table.add(3, QStringLiteral("zeta"), "ZETA", 0xFFFFFFFF);
    table.add(4, QStringLiteral("Alpha"), "ALFA");
    table.add(6, QStringLiteral("Hidden"), "HIDE").informationReadable = false;
    const auto zeta = RVProcess::processWithPID(3), alpha = RVProcess::processWithPID(4);
    EXPECT_TRUE(zeta->isEqual(zeta.get()));
    EXPECT_FALSE(zeta->isEqual(alpha.get()));
    EXPECT_FALSE(zeta->isEqual(nullptr));
    EXPECT_EQ(zeta->hash(), 2u); // 0xFFFFFFFF + 3 wraps
    EXPECT_EQ(alpha->compare(*zeta), -1);
    EXPECT_EQ(zeta->compare(*alpha), 1);
    EXPECT_EQ(alpha->description(), QStringLiteral("Process \"Alpha\" (ALFA) 1.0"));
    EXPECT_EQ(RVProcess::processWithPID(6)->description(), QStringLiteral("Process \"\" () 1.0"));
}

TEST_F(ProcessTest, VersionFollowsTheBundleKeysAndKeepsItsFallback)
{
    TempDir tmp;
    struct Case
    {
        const char* name;
        QByteArray info; // empty: no Info.plist at all
        const char* expected;
    } cases[] = {
        {"Dotted", "{ CFBundleShortVersionString = \"2.1.4\"; CFBundleVersion = 900; }", "2.1.4"},
        {"NoDot", "{ CFBundleShortVersionString = 5; CFBundleVersion = 512; }", "512"},
        {"OnlyBundleVersion", "{ CFBundleVersion = \"77b\"; }", "77b"},
        {"NumberVersion", "<?xml version=\"1.0\"?><plist><dict><key>CFBundleVersion</key><integer>3</integer></dict></plist>", "1.0"},
        {"NoInfo", "", "1.0"},
    };
    pid_t pid = 100;
    for (const auto& c : cases) {
        const QString app = tmp.mkdir(QString::fromUtf8(c.name) + QStringLiteral(".app/Contents"));
        if (!c.info.isEmpty())
            tmp.write(QString::fromUtf8(c.name) + QStringLiteral(".app/Contents/Info.plist"), c.info);
        table.add(++pid, QString::fromUtf8(c.name), "????").location = tmp.file(QString::fromUtf8(c.name) + QStringLiteral(".app"));
        EXPECT_EQ(RVProcess::processWithPID(pid)->version(), QString::fromUtf8(c.expected)) << c.name;
    }
    // "1.0" is kept even when the process could later be read.
    table.add(200, QStringLiteral("Late"), "LATE").informationReadable = false;
    const auto late = RVProcess::processWithPID(200);
    EXPECT_EQ(late->version(), QStringLiteral("1.0"));
    table.processes[200].informationReadable = true;
    table.processes[200].location = tmp.file(QStringLiteral("Dotted.app"));
    EXPECT_EQ(late->version(), QStringLiteral("1.0"));
}

TEST_F(ProcessTest, CarbonVersionDecodesTheVersRecord)
{
    struct Case { QByteArray bytes; const char* expected; } cases[] = {
        {QByteArray::fromHex("00802101"), "1.2.1"}, {QByteArray::fromHex("00802012"), "12.2"},
        {QByteArray::fromHex("03601001"), "1.1b3"}, {QByteArray::fromHex("02201501"), "1.1.5d2"},
        {QByteArray::fromHex("05802301"), "1.2.35"}, {QByteArray::fromHex("01401001ffff"), "1.1a1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(versionFromVersRecord(c.bytes), QString::fromLatin1(c.expected)) << c.bytes.toHex().constData();
    EXPECT_TRUE(versionFromVersRecord(QByteArray::fromHex("008021")).isNull());

    // A program without a bundle takes its version from the record.
    auto& tool = table.add(300, QStringLiteral("tool"), "TOOL");
    tool.location = QStringLiteral("/usr/local/bin/tool");
    tool.versResource = QByteArray::fromHex("03601001");
    EXPECT_EQ(RVProcess::processWithPID(300)->version(), QStringLiteral("1.1b3"));
}

TEST_F(ProcessTest, SignatureTextsAndVersionTests)
{
    table.add(1, QStringLiteral("A"), "ABCD");
    auto& high = table.add(2, QStringLiteral("B"), "ABCD");
    high.signature = 0x80414243;
    const auto a = RVProcess::processWithPID(1), b = RVProcess::processWithPID(2);
    EXPECT_EQ(a->signatureHexString(), QStringLiteral("41424344"));
    EXPECT_EQ(b->signatureHexString(), QStringLiteral("FFFFFF80414243"));
    EXPECT_EQ(a->signatureString(), QStringLiteral("ABCD"));

    struct Case
    {
        const char* version;
        const char* other;
        bool expected;
    } cases[] = {{"2.0", "2.0.1", false}, {"2.0", "1.9.9", true}, {"2", "2.0", true},
                 {"2.0.1", "2.0", true}, {"10.0", "9.9", true}, {"1.2", "1.10", false},
                 {"1b3", "1", true}, {"1b3", "2", false}, {"2.0b1", "2.0", true}, {"2.0", "2.1a", false}};
    TempDir tmp;
    pid_t pid = 60;
    for (const auto& c : cases) {
        const QString name = QStringLiteral("V%1").arg(pid);
        tmp.write(name + QStringLiteral(".app/Contents/Info.plist"),
                  QStringLiteral("{ CFBundleShortVersionString = \"%1\"; CFBundleVersion = \"%1\"; }")
                      .arg(QString::fromLatin1(c.version)).toUtf8());
        table.add(++pid, name, "VVVV").location = tmp.file(name + QStringLiteral(".app"));
        EXPECT_EQ(RVProcess::processWithPID(pid)->isAtLeastVersion(QString::fromLatin1(c.other)), c.expected)
            << c.version << " >= " << c.other;
    }
}

// Cocoa is a native package whose principal class is named by text.
TEST_F(ProcessTest, CocoaNeedsAPrincipalClassNamedByText)
{
    const struct
    {
        const char* info;
        const char* platform;
    } cases[] = {{"<key>NSPrincipalClass</key><string>NSApplication</string>", "Cocoa"},
                 {"<key>NSPrincipalClass</key><integer>1</integer>", "Carbon"},
                 {"", "Carbon"}};
    TempDir tmp;
    pid_t pid = 80;
    for (const auto& c : cases) {
        const QString name = QStringLiteral("K%1").arg(++pid);
        tmp.write(name + QStringLiteral(".app/Contents/Info.plist"),
                  QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>") + c.info + "</dict></plist>");
        table.add(pid, name, "KKKK").location = tmp.file(name + QStringLiteral(".app"));
        EXPECT_EQ(RVProcess::processWithPID(pid)->platform(), QString::fromLatin1(c.platform)) << c.info;
    }
}

TEST_F(ProcessTest, KindStoreAndLaunchDate)
{
    auto& java = table.add(1, QStringLiteral("J"), "JAVA");
    java.info = {{QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.Tool.java")},
                 {QStringLiteral("LSUIElement"), true}};
    java.startTime = 1'700'000'000.5;
    java.userTime = 2.25;
    const auto p = RVProcess::processWithPID(1);
    EXPECT_EQ(p->platform(), RVPlatformJava); // no NSPrincipalClass, so not Cocoa
    platform.workspace->iconAnswersNullTimes = 1;
    EXPECT_TRUE(p->icon().isNull()); // not found: asked again next time
    EXPECT_EQ(p->icon(), QStringLiteral("/Applications/J.app/icon.png"));
    EXPECT_EQ(platform.workspace->calls.count(QStringLiteral("icon /Applications/J.app")), 2);
    p->icon();
    EXPECT_EQ(platform.workspace->calls.count(QStringLiteral("icon /Applications/J.app")), 2); // kept
    EXPECT_FALSE(p->isClassic());
    EXPECT_TRUE(p->isBackgroundOnly());
    // Property-list yes/no in every spelling a bundle uses; OpenStep lists store text.
    const std::pair<QVariant, bool> flags[] = {{QStringLiteral("NO"), false}, {QStringLiteral("YES"), true},
                                               {QStringLiteral("false"), false}, {QStringLiteral("0"), false},
                                               {QStringLiteral("1"), true}, {qlonglong(0), false}, {true, true}};
    pid_t flagged = 40;
    for (const auto& [value, expected] : flags) {
        table.add(++flagged, QStringLiteral("F"), "FFFF").info = {{QStringLiteral("LSUIElement"), value}};
        EXPECT_EQ(RVProcess::processWithPID(flagged)->isBackgroundOnly(), expected) << value.toString().toStdString();
    }
    EXPECT_EQ(p->launchDate(), QDateTime::fromMSecsSinceEpoch(1'700'000'000'500, Qt::UTC));
    EXPECT_FLOAT_EQ(p->cpuTime(), 2.25f);

    // An ended process has no pid: its launch date is now, with the line.
    table.add(2, QStringLiteral("Gone"), "GONE");
    const auto gone = RVProcess::processWithPID(2);
    table.processes[2].running = false;
    const QDateTime before = QDateTime::currentDateTimeUtc();
    EXPECT_GE(gone->launchDate(), before.addSecs(-1));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("*** Cannot get launch date for (null)")});
    EXPECT_EQ(gone->cpuTime(), 0.0f);
}

TEST(ProcessCacheThreads, TwoThreadsShareOneObjectPerProcess)
{
    FakePlatform platform;
    RVProcess::resetCacheForTesting();
    for (pid_t pid = 1; pid <= 40; ++pid)
        platform.processTable->add(pid, QStringLiteral("P%1").arg(pid), "????");
    auto work = [] {
        for (int round = 0; round < 50; ++round) {
            for (const auto& process : RVProcess::allProcesses())
                process->version();
            RVProcess::processWithPID(1 + round % 40)->name();
            RVProcess::cleanupCache();
        }
    };
    std::thread worker(work);
    work();
    worker.join();

    const auto cached = RVProcess::cachedProcesses();
    EXPECT_EQ(cached.size(), 40u);
    std::set<std::uint32_t> pids;
    for (const auto& p : cached)
        pids.insert(p->serialNumber().low);
    EXPECT_EQ(pids.size(), 40u);
    RVProcess::resetCacheForTesting();
}

TEST(ResourceFork, FindsTheResourceByTypeAndIdOnly)
{
    const QByteArray record = QByteArray::fromHex("03601001");
    const QByteArray fork = resourceForkWith("vers", 1, record);
    EXPECT_EQ(RVResourceFromFork(fork, RVFourCC("vers"), 1), record);
    EXPECT_FALSE(RVResourceFromFork(fork, RVFourCC("vers"), 2));
    EXPECT_FALSE(RVResourceFromFork(fork, RVFourCC("STR "), 1));
}

TEST(ResourceFork, TruncatedOrCorruptForksHaveNoResources)
{
    const QByteArray fork = resourceForkWith("vers", 1, QByteArray::fromHex("00802101"));
    for (qsizetype cut : {qsizetype(0), qsizetype(15), qsizetype(200), qsizetype(259), fork.size() - 1})
        EXPECT_FALSE(RVResourceFromFork(fork.left(cut), RVFourCC("vers"), 1)) << cut;
    QByteArray huge = fork;
    huge[256] = '\x7f'; // data length far beyond the fork
    EXPECT_FALSE(RVResourceFromFork(huge, RVFourCC("vers"), 1));
}

} // namespace
