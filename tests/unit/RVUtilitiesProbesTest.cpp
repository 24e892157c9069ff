#include "FakePlatform.h"
#include "RVUtilities.h"
#include "TempDir.h"
#include "TestApps.h"

#include <gtest/gtest.h>

namespace {

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
