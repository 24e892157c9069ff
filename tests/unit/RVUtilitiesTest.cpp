#include "FakePlatform.h"
#include "RVUtilities.h"
#include "TempDir.h"
#include "TestApps.h"

#include <gtest/gtest.h>

namespace {

TEST(RVUtilitiesVersion, CompareVersionOrdersNumbersThenStagesThenStageNumbers)
{
    struct Case { const char* a; const char* b; int expected; } cases[] = {
        {"1.0", "1.0", 0},
        {"10.9", "10.10", -1},
        {"10.4", "10.4.1", -1},
        {"10.12", "10.12.0", -1},
        {"2.0b3", "2.0", -1},
        {"2.0a9", "2.0b1", -1}, {"1.0d9", "1.0a1", -1}, {"2.0b9", "2.0f1", -1}, // stages rank d a b f
        {"2.0b2", "2.0b10", -1},
        {"1.0", "1.0d1", 1},
        {"1.0x1", "1.0d1", 0},   // unknown letters rank like 'd'
        {"1.0D1", "1.0d1", 0},   // upper case is unknown
        {"1.0fc2", "1.0f2", 1},  // stage numbers "c2" and "2": 'c' sorts after '2'
        {"1.0f1", "1.0", -1},
        {"2", "10", -1},
        {"007", "7", 0},         // digit runs compare by value
        {"99999999999999999999", "100000000000000000000", -1}, // longer than 64 bits
        {"1.a", "1.b", -1},      // letter at index 2: numeric parts "1." equal, ranks 1 < 2
        {"", "0", -1},
        {"", "", 0},
        {"1.2.3", "1.2.3", 0},
        {"6.1.0", "6.1", 1},
        {"1.0\u00e91", "1.0d1", 0}, // a non-ASCII letter also starts a stage
        {"1-2", "1.2", -1},          // '-' (0x2d) before '.' (0x2e)
    };
    for (const auto& c : cases) {
        const QString a = QString::fromUtf8(c.a), b = QString::fromUtf8(c.b);
        EXPECT_EQ(RVUtilities::compareVersionWithVersion(a, b), c.expected) << c.a << " vs " << c.b;
        EXPECT_EQ(RVUtilities::compareVersionWithVersion(b, a), -c.expected) << c.b << " vs " << c.a;
    }
}

TEST(RVUtilitiesVersion, PlainVersionKeepsTheNumericPrefix)
{
    struct Case { const char* in; const char* out; } cases[] = {
        {"2.1b3", "2.1"}, {"2.1.4 (build 7)", "2.1.4"}, {"v2", ""}, {"", ""}, {"3.2.1", "3.2.1"},
        {"10..1x", "10..1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RVUtilities::plainVersionOf(QString::fromUtf8(c.in)), QString::fromUtf8(c.out));

    // A version that is all numeric comes back as the very same string.
    const QString whole = QStringLiteral("3.2.1");
    EXPECT_EQ(RVUtilities::plainVersionOf(whole).constData(), whole.constData());
}

class SystemVersionTest : public ::testing::Test
{
protected:
    void SetUp() override { RVUtilities::resetCachesForTesting(); }
    void TearDown() override { RVUtilities::resetCachesForTesting(); }
    FakePlatform platform;
    LogCapture log;
};

TEST_F(SystemVersionTest, ThreePartVersionFromGestaltAnswersAndFailures)
{
    struct Case
    {
        const char* name;
        std::map<RVOSType, std::int32_t> answers;
        RVThreePartVersion expected;
        QStringList lines;
        const char* versionString;
        unsigned hex; // the sysv answer, or 0
    } cases[] = {
        {"all parts", {{RVFourCC("sys1"), 6}, {RVFourCC("sys2"), 1}, {RVFourCC("sys3"), 55}},
         {6, 1, 55}, {}, "6.1.55", 0},
        {"no bugfix", {{RVFourCC("sys1"), 6}, {RVFourCC("sys2"), 1}},
         {6, 1, 0}, {QStringLiteral("cannot get bugfix version number")}, "6.1", 0},
        {"no minor", {{RVFourCC("sys1"), 6}, {RVFourCC("sys3"), 2}},
         {6, 0, 2}, {QStringLiteral("cannot get minor version number")}, "6.0.2", 0},
        {"truncated to 16 bits", {{RVFourCC("sys1"), 0x10006}, {RVFourCC("sys2"), 1}, {RVFourCC("sys3"), 0}},
         {6, 1, 0}, {}, "6.1", 0},
        {"packed BCD fallback", {{RVFourCC("sysv"), 0x1049}}, {10, 4, 9}, {}, "10.4.9", 0x1049},
        {"nothing known", {}, {0, 0, 0}, {}, "0.0", 0},
    };
    for (const auto& c : cases) {
        platform.facts->gestaltAnswers = c.answers;
        const qsizetype before = log.lines().size();
        EXPECT_EQ(RVUtilities::threePartVersion(), c.expected) << c.name;
        EXPECT_EQ(log.lines().mid(before), c.lines) << c.name;
        EXPECT_EQ(RVUtilities::systemVersionString(), QString::fromUtf8(c.versionString)) << c.name;
        EXPECT_EQ(RVUtilities::hexSystemVersion(), c.hex) << c.name;
    }
}

TEST_F(SystemVersionTest, DecimalSystemVersionIsCachedOnceKnown)
{
    // Unknown: 0 is stored, so the next call asks again.
    EXPECT_EQ(RVUtilities::decimalSystemVersion(), 0u);
    platform.facts->gestaltAnswers = {{RVFourCC("sys1"), 10}, {RVFourCC("sys2"), 12},
                                      {RVFourCC("sys3"), 6}};
    EXPECT_EQ(RVUtilities::decimalSystemVersion(), 101206u);
    platform.facts->gestaltAnswers = {{RVFourCC("sys1"), 11}, {RVFourCC("sys2"), 0},
                                      {RVFourCC("sys3"), 1}};
    EXPECT_EQ(RVUtilities::decimalSystemVersion(), 101206u);
    EXPECT_EQ(RVUtilities::systemVersionString(), QStringLiteral("11.0.1")); // never cached
}

TEST_F(SystemVersionTest, ReleaseTestsFollowTheirThresholds)
{
    using ReleaseTest = bool (*)();
    struct Case
    {
        const char* name;
        ReleaseTest test;
        double below; // false here
        double at;    // true here
    } cases[] = {
        {"leopard (strict, floored)", RVUtilities::leopardOrNewer, 824.9, 825},
        {"snow leopard (floored)", RVUtilities::snowleopardOrNewer, 1037.99, 1038},
        {"lion", RVUtilities::lionOrNewer, 1137.9, 1138},
        {"mountain lion", RVUtilities::mountainLionOrNewer, 1186.99, 1187},
        {"mavericks", RVUtilities::mavericksOrNewer, 1264.9, 1265},
        {"yosemite", RVUtilities::yosemiteOrNewer, 1342.99, 1343},
        {"el capitan", RVUtilities::elCapitanOrNewer, 1403.5, 1404},
        {"sierra", RVUtilities::sierraOrNewer, 1489.1, 1490},
    };
    for (const auto& c : cases) {
        platform.facts->appKit = c.below;
        EXPECT_FALSE(c.test()) << c.name;
        platform.facts->appKit = c.at;
        EXPECT_TRUE(c.test()) << c.name;
    }
    platform.facts->appKit = 743.9; // floored to 743
    EXPECT_TRUE(RVUtilities::pantherOrOlder());
    platform.facts->appKit = 744;
    EXPECT_FALSE(RVUtilities::pantherOrOlder());
}

TEST_F(SystemVersionTest, LocalizedDateUsesTheLocalesShortStyle)
{
    qputenv("TZ", "UTC");
    platform.facts->locale = QLocale(QLocale::German, QLocale::Germany);
    EXPECT_EQ(RVUtilities::localizedDateString(QStringLiteral("2024-03-07")), QStringLiteral("07.03.24"));
    platform.facts->locale = QLocale(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(RVUtilities::localizedDateString(QStringLiteral("2024-03-07")), QStringLiteral("3/7/24"));
    EXPECT_EQ(RVUtilities::localizedDateString(QStringLiteral("not a date")), QStringLiteral(""));
}

class ProbesTest : public ::testing::Test
{
protected:
    ProbesTest() { RVUtilities::resetCachesForTesting(); }
    ~ProbesTest() override { RVUtilities::resetCachesForTesting(); }

    void runFrom(const QString& bundlePath)
    {
        platform.facts->executable = bundlePath + QStringLiteral("/Contents/MacOS/Setup");
    }

    FakePlatform platform;
};

TEST_F(ProbesTest, DistributionDiskAndInstallationModeFollowTheBundlePath)
{
    struct Case
    {
        const char* bundle;
        const char* launchlock; // a file that exists, or null
        bool distributionDisk;
        bool installationMode;
    } cases[] = {
        {"/Volumes/Disk/Setup.app", "/Volumes/Disk/launchlock", true, true},
        {"/Volumes/Disk/Setup.app", nullptr, false, false},
        {"/Volumes/Disk/Setup.app", "/Volumes/Other/launchlock", false, false},
        {"/Volumes/Disk/Sub/Setup.app", "/Volumes/Disk/launchlock", true, true},
        {"/Applications/Setup.app", "/Volumes/Applications/launchlock", false, false},
        {"/private/var/tmp/X/Setup.app", nullptr, false, true},
        {"/private/var/folders/AppTranslocation/1234/d/Setup.app", nullptr, false, true},
        {"/home/u/Setup.app", nullptr, false, false},
    };
    for (const Case& c : cases) {
        runFrom(QString::fromLatin1(c.bundle));
        platform.fileManager->existing.clear();
        if (c.launchlock)
            platform.fileManager->existing.insert(QString::fromLatin1(c.launchlock));
        EXPECT_EQ(RVUtilities::runningFromDistributionDisk(), c.distributionDisk) << c.bundle;
        EXPECT_EQ(RVUtilities::installationMode(), c.installationMode) << c.bundle;
    }
}

TEST_F(ProbesTest, AnExecutableDirectlyUnderVolumesNeverCountsAsADisk)
{
    platform.facts->executable = QStringLiteral("/Volumes/setup");
    platform.fileManager->existing.insert(QStringLiteral("/Volumes/setup/launchlock"));
    EXPECT_FALSE(RVUtilities::runningFromDistributionDisk());
}

TEST_F(ProbesTest, TintImageNamesFollowTheSystemThemeAndTint)
{
    TempDir tmp;
    const QString app = makeTestBundle(tmp.path(), {.name = QStringLiteral("Setup")});
    for (const char* name : {"tintYosBlue", "tintYosGraphite", "tintYosDarkBlue", "tintYosDarkGraphite", "tintMavBlue"})
        tmp.write(QStringLiteral("Setup.app/Contents/Resources/%1.png").arg(QLatin1String(name)), "png");
    runFrom(app);
    struct Case
    {
        double appKit;
        const char* style; // AppleInterfaceStyle, or null
        int tint;
        const char* image; // expected file name, or null
        bool dark;         // the dark menu theme
    } cases[] = {
        {2487, nullptr, 1, "tintYosBlue.png", false},  {2487, nullptr, 6, "tintYosGraphite.png", false},
        {2487, "Dark", 1, "tintYosDarkBlue.png", true}, {2487, "Dark", 0, "tintYosDarkGraphite.png", true},
        {1343, "Dark", 1, "tintYosDarkBlue.png", true}, {1342.9, "Dark", 1, "tintMavBlue.png", false},
        {2487, "Light", 7, "tintYosGraphite.png", false}, {1265, "Dark", 1, "tintMavBlue.png", false},
        {1265, nullptr, 6, nullptr, false}, // tintMavGraphite is not in the bundle
    };
    for (const Case& c : cases) {
        platform.facts->appKit = c.appKit;
        platform.defaults->domains[{}].remove(QStringLiteral("AppleInterfaceStyle"));
        if (c.style)
            platform.defaults->domains[{}].insert(QStringLiteral("AppleInterfaceStyle"), QString::fromLatin1(c.style));
        platform.launchEnvironment->tint = c.tint;
        const QString image = RVUtilities::systemTintImage();
        if (c.image)
            EXPECT_EQ(image, app + QStringLiteral("/Contents/Resources/") + QLatin1String(c.image)) << c.appKit << c.tint;
        else
            EXPECT_TRUE(image.isNull()) << image.toStdString();
        EXPECT_EQ(RVUtilities::darkMenuTheme(), c.dark) << c.appKit << (c.style ? c.style : "");
    }
}

TEST_F(ProbesTest, FullScreenFollowsMenuBarEventsAfterTheFirstCall)
{
    EXPECT_FALSE(RVUtilities::fullScreenMode());
    ASSERT_TRUE(platform.applicationEvents->menuBar);
    const auto fire = [&](RVOSType eventClass, std::uint32_t kind) {
        EXPECT_EQ(platform.applicationEvents->menuBar(eventClass, kind), -9874);
    };
    fire(RVApplicationEvents::kClassMenu, RVApplicationEvents::kMenuBarHidden);
    EXPECT_TRUE(RVUtilities::fullScreenMode());
    fire(RVApplicationEvents::kClassApplication, RVApplicationEvents::kMenuBarShown); // another class
    fire(RVApplicationEvents::kClassMenu, 3);
    EXPECT_TRUE(RVUtilities::fullScreenMode());
    fire(RVApplicationEvents::kClassMenu, RVApplicationEvents::kMenuBarShown);
    EXPECT_FALSE(RVUtilities::fullScreenMode());
    EXPECT_EQ(platform.applicationEvents->menuBarWatches, 1);
}

TEST_F(ProbesTest, AMonitorThatCannotBeInstalledIsLoggedOnceAndNeverTriedAgain)
{
    LogCapture log;
    platform.applicationEvents->menuBarWatchSucceeds = false;
    EXPECT_FALSE(RVUtilities::fullScreenMode());
    EXPECT_FALSE(RVUtilities::fullScreenMode());
    EXPECT_EQ(platform.applicationEvents->menuBarWatches, 1);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("could not install menu bar visibility event handl)")});
}

TEST_F(ProbesTest, SmallProbesPassTheirAnswersOnOrTheirNeutralValue)
{
    LogCapture log;
    platform.launchEnvironment->fileSystem = {0, QStringLiteral("tmpfs")};
    EXPECT_EQ(RVUtilities::fileSystemTypeFor(QStringLiteral("/run/x")), QStringLiteral("tmpfs"));
    platform.launchEnvironment->fileSystem = {-1, QStringLiteral("ignored")};
    EXPECT_EQ(RVUtilities::fileSystemTypeFor(QStringLiteral("/nowhere")), QStringLiteral(""));
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("FS Info /run/x"), QStringLiteral("statfs err = 0"),
                                        QStringLiteral("FS Info /nowhere"), QStringLiteral("statfs err = -1")}));

    EXPECT_FLOAT_EQ(RVUtilities::idleTime(), -1.0f);
    platform.launchEnvironment->idle = 2500000000u;
    EXPECT_FLOAT_EQ(RVUtilities::idleTime(), 2.5f);

    EXPECT_FALSE(RVUtilities::wasLaunchedAsLoginItem());
    platform.launchEnvironment->creator = QStringLiteral("lgnw");
    EXPECT_TRUE(RVUtilities::wasLaunchedAsLoginItem());
    EXPECT_FALSE(RVUtilities::wasLaunchedByProcess(QStringLiteral("MACS")));
    EXPECT_FALSE(RVUtilities::wasLaunchedByProcess(QString()));

    platform.launchEnvironment->links.insert(QStringLiteral("/a"), QStringLiteral("/c"));
    EXPECT_EQ(RVUtilities::resolvedAlias(QStringLiteral("/a")), QStringLiteral("/c"));
    EXPECT_EQ(RVUtilities::resolvedAlias(QStringLiteral("/b")), QStringLiteral("/b"));

    EXPECT_FALSE(RVUtilities::debugging());
    platform.launchEnvironment->traced = true;
    EXPECT_TRUE(RVUtilities::debugging());
    EXPECT_FALSE(RVUtilities::displayIsZoomed());
}

} // namespace
