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

using namespace Qt::StringLiterals;

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
        QSettings settings(tmp.file(domain + u".conf"_s), QSettings::IniFormat);
        settings.setValue(key, value);
    }
    TempDir tmp;
};

TEST_F(UserDefaultsTest, ArgumentsWinOverTheOwnDomainWhichWinsOverTheGlobalOne)
{
    writeDomain(u"com.velmora.test"_s, u"nosound"_s, u"NO"_s);
    writeDomain(u"com.velmora.test"_s, u"soundLog"_s, u"YES"_s);
    writeDomain(u"NSGlobalDomain"_s, u"AppleInterfaceStyle"_s, u"Dark"_s);
    writeDomain(u"NSGlobalDomain"_s, u"soundLog"_s, u"NO"_s);
    const RVLinuxUserDefaults defaults({u"/prog"_s, u"-nosound"_s, u"YES"_s, u"-flag"_s, u"-other"_s, u"1"_s}, u"com.velmora.test"_s);

    EXPECT_TRUE(defaults.boolForKey(u"nosound"_s));
    EXPECT_TRUE(defaults.boolForKey(u"soundLog"_s));
    EXPECT_TRUE(defaults.boolForKey(u"other"_s));
    EXPECT_FALSE(defaults.valueForKey(u"flag"_s).isValid());
    EXPECT_EQ(defaults.valueForKey(u"AppleInterfaceStyle"_s).toString(), u"Dark"_s);
    EXPECT_FALSE(defaults.valueForKeyInDomain(u"AppleInterfaceStyle"_s, u"com.velmora.test"_s).isValid());
    EXPECT_FALSE(defaults.valueForKeyInDomain(u"x"_s, u"../escape"_s).isValid());
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
        {"", "", "", "de_DE.UTF-8", {u"de_DE"_s, u"de"_s}},
        {"", "", "fr_CA.UTF-8", "de_DE.UTF-8", {u"fr_CA"_s, u"fr"_s}},
        {"", "ja_JP.UTF-8", "fr_CA", "de_DE", {u"ja_JP"_s, u"ja"_s}},
        {"pt_BR:es", "", "", "de_DE.UTF-8@euro", {u"pt_BR"_s, u"pt"_s, u"es"_s, u"de_DE"_s, u"de"_s}},
        {"", "", "", "C.UTF-8", {u"en"_s}},
        {"", "POSIX", "", "", {u"en"_s}},
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
    const QString key = u"com.apple.sound.beep.volume"_s;
    const QString suite = u"com.apple.systemsound"_s;
    const RVLinuxUserDefaults defaults({u"/prog"_s}, u"com.velmora.suite"_s);
    const RVLinuxUserDefaults withArgument({u"/prog"_s, u"-"_s + key, u"0.1"_s}, u"com.velmora.suite"_s);
    EXPECT_FALSE(defaults.valueForKeyWithSuite(key, suite).isValid());
    writeDomain(u"NSGlobalDomain"_s, key, u"0.4"_s);
    EXPECT_EQ(defaults.valueForKeyWithSuite(key, suite).toString(), u"0.4"_s);
    writeDomain(suite, key, u"0.6"_s);
    EXPECT_EQ(defaults.valueForKeyWithSuite(key, suite).toString(), u"0.6"_s);
    EXPECT_EQ(defaults.valueForKey(key).toString(), u"0.4"_s); // no suite, no suite's value
    writeDomain(u"com.velmora.suite"_s, key, u"0.8"_s);
    EXPECT_EQ(defaults.valueForKeyWithSuite(key, suite).toString(), u"0.8"_s);
    EXPECT_EQ(withArgument.valueForKeyWithSuite(key, suite).toString(), u"0.1"_s);
}

TEST_F(UserDefaultsTest, BoolForKeyReadsTheUsualSpellings)
{
    RVLinuxUserDefaults defaults({u"/prog"_s}, u"com.velmora.bools"_s);
    struct Case
    {
        const char* text;
        bool expected;
    } cases[] = {{"YES", true}, {"yes", true}, {"true", true}, {"1", true}, {"7", true},
                 {"NO", false}, {"0", false}, {"false", false}, {"", false}, {"maybe", false}};
    for (const auto& c : cases) {
        defaults.setValueForKey(u"k"_s, QString::fromUtf8(c.text));
        EXPECT_EQ(defaults.boolForKey(u"k"_s), c.expected) << c.text;
    }
    EXPECT_FALSE(defaults.boolForKey(u"absent"_s));
    EXPECT_TRUE(QFile::exists(tmp.file(u"com.velmora.bools.conf"_s)));
}

TEST(RVAudioModule, AMissingModuleIsLoggedOnceAndLeavesTheProgramSilent)
{
    LogCapture log;
    RVAudioModule audio(u"/nonexistent/libvelmora-audio.so"_s);
    EXPECT_EQ(audio.load(u"/nonexistent/Done.wav"_s), nullptr);
    EXPECT_TRUE(audio.defaultSystemOutputDeviceIdentifier().isNull());
    ASSERT_EQ(log.lines().size(), 1) << log.lines().join(u'\n').toStdString();
    EXPECT_TRUE(log.lines().first().startsWith(u"sound module not loaded: "_s));
}

// A sound made on another thread as the application goes away: the hand-off to the
// application's thread goes with it, and the sound is silent from then on, never a crash.
TEST(RVAudioModule, ASoundWhoseApplicationWentAwayIsSilent)
{
    // The bundle keeps the module beside its programs.
    EXPECT_EQ(RVAudioModule::pathInBundleOf(u"/Applications/A.app/Contents/MacOS/A"_s),
              u"/Applications/A.app/Contents/PlugIns/libvelmora-audio.so"_s);
    RVAudioModule module(RVAudioModule::pathInBundleOf(u"" RV_INSTALLER_BUNDLE "/Contents/MacOS/X"_s));
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
