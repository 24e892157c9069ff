#include "FakePlatform.h"
#include "RVAudioModule.h"
#include "RVLinuxSystemFacts.h"
#include "RVLinuxUserDefaults.h"
#include "TempDir.h"
#include "TestApplication.h"

#include <QSettings>

#include <thread>

#include <gtest/gtest.h>
#include <sys/utsname.h>

namespace {

TEST(RVLinuxSystemFacts, KernelReleaseGivesTheThreeParts)
{
    struct Case
    {
        const char* release;
        std::optional<int> major, minor, patch;
    } cases[] = {
        {"6.1.0-18-amd64", 6, 1, 0},
        {"5.15.153.1-microsoft-standard-WSL2", 5, 15, 153},
        {"6.8-rc3", 6, 8, std::nullopt},
        {"4", 4, std::nullopt, std::nullopt},
        {"weird", std::nullopt, std::nullopt, std::nullopt},
        {"99999999999.1.1", std::nullopt, 1, 1},
    };
    for (const auto& c : cases) {
        const auto v = RVLinuxSystemFacts::parseKernelRelease(QString::fromLatin1(c.release));
        EXPECT_EQ(v.major, c.major) << c.release;
        EXPECT_EQ(v.minor, c.minor) << c.release;
        EXPECT_EQ(v.patch, c.patch) << c.release;
    }
}

TEST(RVLinuxSystemFacts, GestaltAnswersTheRunningKernel)
{
    struct utsname name {};
    ASSERT_EQ(uname(&name), 0);
    const auto expected = RVLinuxSystemFacts::parseKernelRelease(QString::fromLatin1(name.release));
    const RVLinuxSystemFacts facts({});
    EXPECT_EQ(facts.gestalt(RVFourCC("sys1")), expected.major);
    EXPECT_EQ(facts.gestalt(RVFourCC("sys2")), expected.minor);
    EXPECT_EQ(facts.gestalt(RVFourCC("sys3")), expected.patch);
    EXPECT_FALSE(facts.gestalt(RVFourCC("what")).has_value());
    EXPECT_GE(facts.appKitVersionNumber(), 1490.0);
    EXPECT_TRUE(QFileInfo(facts.executablePath()).isFile());
}

class UserDefaultsTest : public ::testing::Test
{
protected:
    void SetUp() override { qputenv("XDG_CONFIG_HOME", tmp.path().toUtf8()); }
    void TearDown() override { qunsetenv("XDG_CONFIG_HOME"); }

    void writeDomain(const QString& domain, const QString& key, const QString& value)
    {
        QSettings settings(tmp.file(domain + QStringLiteral(".conf")), QSettings::IniFormat);
        settings.setValue(key, value);
    }
    TempDir tmp;
};

TEST_F(UserDefaultsTest, ArgumentsWinOverTheOwnDomainWhichWinsOverTheGlobalOne)
{
    writeDomain(QStringLiteral("com.velmora.test"), QStringLiteral("nosound"), QStringLiteral("NO"));
    writeDomain(QStringLiteral("com.velmora.test"), QStringLiteral("soundLog"), QStringLiteral("YES"));
    writeDomain(QStringLiteral("NSGlobalDomain"), QStringLiteral("AppleInterfaceStyle"), QStringLiteral("Dark"));
    writeDomain(QStringLiteral("NSGlobalDomain"), QStringLiteral("soundLog"), QStringLiteral("NO"));
    const RVLinuxUserDefaults defaults(
        {QStringLiteral("/prog"), QStringLiteral("-nosound"), QStringLiteral("YES"),
         QStringLiteral("-flag"), QStringLiteral("-other"), QStringLiteral("1")},
        QStringLiteral("com.velmora.test"));

    EXPECT_TRUE(defaults.boolForKey(QStringLiteral("nosound")));
    EXPECT_TRUE(defaults.boolForKey(QStringLiteral("soundLog")));
    EXPECT_TRUE(defaults.boolForKey(QStringLiteral("other")));
    EXPECT_FALSE(defaults.valueForKey(QStringLiteral("flag")).isValid());
    EXPECT_EQ(defaults.valueForKey(QStringLiteral("AppleInterfaceStyle")).toString(), QStringLiteral("Dark"));
    EXPECT_FALSE(defaults.valueForKeyInDomain(QStringLiteral("AppleInterfaceStyle"),
                                              QStringLiteral("com.velmora.test")).isValid());
    EXPECT_FALSE(defaults.valueForKeyInDomain(QStringLiteral("x"), QStringLiteral("../escape")).isValid());
}

// A suite is searched after the program's own domain and before the global one.
// LANGUAGE first, then the first of LC_ALL, LC_MESSAGES and LANG; regional then base.
TEST(RVLinuxSystemFacts, LanguagesAreReadAsGettextReadsThem)
{
    const struct
    {
        const char *language, *all, *messages, *lang;
        QStringList expected;
    } cases[] = {
        {"", "", "", "de_DE.UTF-8", {QStringLiteral("de_DE"), QStringLiteral("de")}},
        {"", "", "fr_CA.UTF-8", "de_DE.UTF-8", {QStringLiteral("fr_CA"), QStringLiteral("fr")}},
        {"", "ja_JP.UTF-8", "fr_CA", "de_DE", {QStringLiteral("ja_JP"), QStringLiteral("ja")}},
        {"pt_BR:es", "", "", "de_DE.UTF-8@euro",
         {QStringLiteral("pt_BR"), QStringLiteral("pt"), QStringLiteral("es"), QStringLiteral("de_DE"), QStringLiteral("de")}},
        {"", "", "", "C.UTF-8", {QStringLiteral("en")}},
        {"", "POSIX", "", "", {QStringLiteral("en")}},
        {"", "", "", "", {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RVLinuxSystemFacts::languagesFrom(QString::fromLatin1(c.language), QString::fromLatin1(c.all),
                                                    QString::fromLatin1(c.messages), QString::fromLatin1(c.lang)),
                  c.expected)
            << c.language << "/" << c.all << "/" << c.messages << "/" << c.lang;
}

TEST_F(UserDefaultsTest, ASuiteComesBetweenTheOwnAndTheGlobalDomain)
{
    const QString key = QStringLiteral("com.apple.sound.beep.volume");
    const QString suite = QStringLiteral("com.apple.systemsound");
    const RVLinuxUserDefaults defaults({QStringLiteral("/prog")}, QStringLiteral("com.velmora.suite"));
    const RVLinuxUserDefaults withArgument({QStringLiteral("/prog"), QStringLiteral("-") + key, QStringLiteral("0.1")},
                                           QStringLiteral("com.velmora.suite"));
    EXPECT_FALSE(defaults.valueForKeyWithSuite(key, suite).isValid());
    writeDomain(QStringLiteral("NSGlobalDomain"), key, QStringLiteral("0.4"));
    EXPECT_EQ(defaults.valueForKeyWithSuite(key, suite).toString(), QStringLiteral("0.4"));
    writeDomain(suite, key, QStringLiteral("0.6"));
    EXPECT_EQ(defaults.valueForKeyWithSuite(key, suite).toString(), QStringLiteral("0.6"));
    EXPECT_EQ(defaults.valueForKey(key).toString(), QStringLiteral("0.4")); // no suite, no suite's value
    writeDomain(QStringLiteral("com.velmora.suite"), key, QStringLiteral("0.8"));
    EXPECT_EQ(defaults.valueForKeyWithSuite(key, suite).toString(), QStringLiteral("0.8"));
    EXPECT_EQ(withArgument.valueForKeyWithSuite(key, suite).toString(), QStringLiteral("0.1"));
}

TEST_F(UserDefaultsTest, BoolForKeyReadsTheUsualSpellings)
{
    RVLinuxUserDefaults defaults({QStringLiteral("/prog")}, QStringLiteral("com.velmora.bools"));
    struct Case
    {
        const char* text;
        bool expected;
    } cases[] = {{"YES", true}, {"yes", true}, {"true", true}, {"1", true}, {"7", true},
                 {"NO", false}, {"0", false}, {"false", false}, {"", false}, {"maybe", false}};
    for (const auto& c : cases) {
        defaults.setValueForKey(QStringLiteral("k"), QString::fromUtf8(c.text));
        EXPECT_EQ(defaults.boolForKey(QStringLiteral("k")), c.expected) << c.text;
    }
    EXPECT_FALSE(defaults.boolForKey(QStringLiteral("absent")));
    EXPECT_TRUE(QFile::exists(tmp.file(QStringLiteral("com.velmora.bools.conf"))));
}

} // namespace

namespace {

TEST(RVAudioModule, TheBundleKeepsTheModuleBesideItsPrograms)
{
    EXPECT_EQ(RVAudioModule::pathInBundleOf(QStringLiteral("/Applications/A.app/Contents/MacOS/A")),
              QStringLiteral("/Applications/A.app/Contents/PlugIns/libvelmora-audio.so"));
}

TEST(RVAudioModule, AMissingModuleIsLoggedOnceAndLeavesTheProgramSilent)
{
    LogCapture log;
    RVAudioModule audio(QStringLiteral("/nonexistent/libvelmora-audio.so"));
    EXPECT_EQ(audio.load(QStringLiteral("/nonexistent/Done.wav")), nullptr);
    EXPECT_TRUE(audio.defaultSystemOutputDeviceIdentifier().isNull());
    ASSERT_EQ(log.lines().size(), 1) << log.lines().join(u'\n').toStdString();
    EXPECT_TRUE(log.lines().first().startsWith(QStringLiteral("sound module not loaded: ")));
}

// A sound made on another thread as the application goes away: the hand-off to the
// application's thread goes with it, and the sound is silent from then on, never a crash.
TEST(RVAudioModule, ASoundWhoseApplicationWentAwayIsSilent)
{
    RVAudioModule module(RVAudioModule::pathInBundleOf(QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/X")));
    const QString wave = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/Resources/SoundOfSilence.wav");
    std::shared_ptr<RVAudioPlayer> player;
    {
        auto app = std::make_unique<TestApplication>();
        ASSERT_TRUE(module.load(wave)); // the module is in, so the thread below only hands off
        std::thread maker([&] { player = module.load(wave); });
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        app.reset(); // while the hand-off waits for the loop this test never turns
        maker.join();
    }
    ASSERT_TRUE(player);
    player->setVolume(0.5f);
    EXPECT_FALSE(player->setPlaybackDevice(QString()));
    player->play();
    player.reset();
}

} // namespace
