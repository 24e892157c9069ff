#include "FakePlatform.h"
#include "SoundExtensions.h"
#include "TempDir.h"

#include <QThread>

#include <gtest/gtest.h>

namespace {

class SoundTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RVSound::resetForTesting();
        platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
        platform.facts->home = tmp.path();
    }
    void TearDown() override { RVSound::resetForTesting(); }

    TempDir tmp;
    FakePlatform platform;
    LogCapture log;
};

TEST(SoundVolume, BeepVolumeMapsThroughTheFivePoints)
{
    struct Case
    {
        double beep;
        float volume;
    } cases[] = {{0.0, 0.0f}, {0.35, 0.0f}, {0.41, 0.125f}, {0.47, 0.25f}, {0.5, 0.30357f}, {0.61, 0.5f},
                 {0.78, 0.75f}, {0.89, 0.875f}, {1.0, 1.0f}, {1.7, 1.0f}};
    for (const auto& c : cases)
        EXPECT_NEAR(RVSound::alertVolumeFor(c.beep), c.volume, 1e-4) << c.beep;
}

TEST_F(SoundTest, AlertVolumeReadsTheSystemSoundDomain)
{
    EXPECT_EQ(RVSound::alertVolume(), 1.0f); // absent
    auto& domain = platform.defaults->domains[QStringLiteral("com.apple.systemsound")];
    domain.insert(QStringLiteral("com.apple.sound.beep.volume"), QStringLiteral("0.61"));
    EXPECT_NEAR(RVSound::alertVolume(), 0.5f, 1e-4);
    domain.insert(QStringLiteral("com.apple.sound.beep.volume"), QVariantList{1});
    EXPECT_EQ(RVSound::alertVolume(), 1.0f);
    domain.insert(QStringLiteral("com.apple.sound.beep.volume"), QStringLiteral("loud"));
    EXPECT_EQ(RVSound::alertVolume(), 0.0f); // text reads as 0, which is silent
    // The usual search comes first: an argument or the program's own value wins.
    platform.defaults->setValueForKey(QStringLiteral("com.apple.sound.beep.volume"), QStringLiteral("0.61"));
    EXPECT_NEAR(RVSound::alertVolume(), 0.5f, 1e-4);
}

TEST(SoundFiles, ExtensionsMatchExactly)
{
    EXPECT_EQ(RVSound::soundFileExtensions().size(), 23);
    struct Case
    {
        const char* path;
        bool sound;
    } cases[] = {{"x.aif", true}, {"x.Wav", false}, {"x.M4A", false}, {"x.m4a", true}, {"/a.b/x.'AIFF'", true},
                 {"/a.wav/x", false}, {"x", false}, {"x.mp3", true}};
    for (const auto& c : cases)
        EXPECT_EQ(RVSound::isSoundFileAtPath(QString::fromUtf8(c.path)), c.sound) << c.path;
}

TEST_F(SoundTest, ApplicationSoundsLeaveOutTheSilenceAndSystemSoundsAreListedOnce)
{
    EXPECT_EQ(RVSound::applicationSounds(), QStringList{QStringLiteral("Done")});
    tmp.write(QStringLiteral("Library/Sounds/Ping.aiff"), "x");
    tmp.write(QStringLiteral("Library/Sounds/Basso.wav"), "x");
    tmp.write(QStringLiteral("Library/Sounds/readme.txt"), "x");
    EXPECT_EQ(RVSound::systemSounds(), (QStringList{QStringLiteral("Basso"), QStringLiteral("Ping")}));
}

TEST_F(SoundTest, PlayingLogsUnderSoundLogAndFallsBackFromARefusedDevice)
{
    platform.defaults->domains[{}].insert(QStringLiteral("soundLog"), QStringLiteral("YES"));
    platform.audio->refusedDevices = {QStringLiteral("alsa:default")};
    RVSound done = RVSound::soundNamed(QStringLiteral("Done"));
    ASSERT_FALSE(done.isNull());
    done.playAsSoundEffect();
    const QString path = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/Resources/Done.wav");
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("+SL: systemDeviceID=alsa:default"),
                                        QStringLiteral("+SL: setPlaybackDeviceIdentifier"),
                                        QStringLiteral("+SL: exception unknown playback device alsa:default"),
                                        QStringLiteral("+SL: play self (<sound %1>)").arg(path)}));
    EXPECT_EQ(platform.audio->events().mid(1), (QStringList{QStringLiteral("device alsa:default"),
                                                          QStringLiteral("device (default)"),
                                                          QStringLiteral("play ") + path}));

    // No output at all: the default output, and the null identifier in the log.
    platform.audio->device = QString();
    done.playAsSoundEffect();
    EXPECT_TRUE(log.lines().contains(QStringLiteral("+SL: systemDeviceID=(null)")));
    EXPECT_TRUE(RVSound::soundNamed(QStringLiteral("NoSuchSound")).isNull());
}

TEST_F(SoundTest, PrepareForSoundWakesTheOutputOnceIn25Seconds)
{
    RVSound::prepareForSound();
    RVSound::prepareForSound();
    const QString silence = QStringLiteral("play " RV_INSTALLER_BUNDLE "/Contents/Resources/SoundOfSilence.wav");
    for (int i = 0; i < 200 && !platform.audio->events().contains(silence); ++i)
        QThread::msleep(5);
    QThread::msleep(50);
    EXPECT_EQ(platform.audio->events().count(silence), 1);
    EXPECT_TRUE(platform.audio->events().contains(QStringLiteral("volume 0.01")));
}

} // namespace
