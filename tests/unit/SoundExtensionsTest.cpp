#include "FakePlatform.h"
#include "RVWaveHeader.h"
#include "SoundExtensions.h"
#include "TempDir.h"
#include "TestApplication.h"

#include <QDateTime>
#include <QMetaObject>

#include <QThread>

#include <atomic>
#include <thread>

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
    // What does not read as a number leaves the full volume.
    for (const QVariant& other : {QVariant(QVariantList{1}), QVariant(QDateTime::fromSecsSinceEpoch(0)),
                                  QVariant(QByteArray("\x3f\x00"))}) {
        domain.insert(QStringLiteral("com.apple.sound.beep.volume"), other);
        EXPECT_EQ(RVSound::alertVolume(), 1.0f) << other.typeName();
    }
    domain.insert(QStringLiteral("com.apple.sound.beep.volume"), 0.47);
    EXPECT_NEAR(RVSound::alertVolume(), 0.25f, 1e-4);
    domain.insert(QStringLiteral("com.apple.sound.beep.volume"), QStringLiteral("loud"));
    EXPECT_EQ(RVSound::alertVolume(), 0.0f); // text reads as 0, which is silent
    // The usual search comes first: an argument or the program's own value wins.
    platform.defaults->setValueForKey(QStringLiteral("com.apple.sound.beep.volume"), QStringLiteral("0.61"));
    EXPECT_NEAR(RVSound::alertVolume(), 0.5f, 1e-4);
}

TEST(WaveHeader, TheDataChunkOverTheByteRateIsTheDuration)
{
    const auto chunk = [](const char* id, const QByteArray& body) {
        QByteArray out(id, 4);
        const quint32 size = quint32(body.size());
        out.append(reinterpret_cast<const char*>(&size), 4);
        return out + body + (size & 1 ? QByteArray(1, '\0') : QByteArray());
    };
    QByteArray format(16, '\0');
    format[8] = char(0x80), format[9] = char(0x3e); // 16000 bytes a second
    const QByteArray riff("RIFF\0\0\0\0WAVE", 12);
    const struct
    {
        QByteArray head;
        double seconds;
    } cases[] = {{riff + chunk("fmt ", format) + chunk("data", QByteArray(8000, 'x')), 0.5},
                 {riff + chunk("LIST", "odd") + chunk("fmt ", format) + chunk("data", QByteArray(32000, 'x')), 2.0},
                 {riff + chunk("data", QByteArray(10, 'x')), 0.0},           // no format before the data
                 {riff + chunk("fmt ", format).left(20), 0.0},                // cut short
                 {"RIFX" + riff.mid(4) + chunk("fmt ", format), 0.0},
                 {QByteArray(), 0.0}};
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(RVWaveDuration(c.head), c.seconds) << c.head.left(24).toHex().toStdString();
}

TEST(SoundFiles, ExtensionsMatchExactly)
{
    EXPECT_EQ(RVSound::soundFileExtensions().size(), 23);
    struct Case
    {
        const char* path;
        bool sound;
    } cases[] = {{"x.aif", true}, {"x.Wav", false}, {"x.M4A", false}, {"x.m4a", true}, {"/a.b/x.'AIFF'", true},
                 {"/a.wav/x", false}, {"x", false}, {"x.mp3", true}, {"/a/x.wav/", true}};
    for (const auto& c : cases)
        EXPECT_EQ(RVSound::isSoundFileAtPath(QString::fromUtf8(c.path)), c.sound) << c.path;
}

// A name in two system folders is one system sound; the application's own list keeps each
// file, so a sound in two formats is there twice; the silence is never offered.
TEST_F(SoundTest, ApplicationSoundsKeepEachFileAndSystemSoundsAreListedOnce)
{
    EXPECT_EQ(RVSound::applicationSounds(), QStringList{QStringLiteral("Done")});
    platform.facts->root = tmp.mkdir(QStringLiteral("root"));
    platform.facts->home = tmp.mkdir(QStringLiteral("home"));
    for (const char* file : {"root/System/Library/Sounds/Ping.aiff", "root/Library/Sounds/Ping.wav",
                             "root/Library/Sounds/Glass.aiff", "home/Library/Sounds/Basso.wav",
                             "home/Library/Sounds/Ping.mp3", "home/Library/Sounds/readme.txt"})
        tmp.write(QString::fromLatin1(file), "x");
    EXPECT_EQ(RVSound::systemSounds(), (QStringList{QStringLiteral("Basso"), QStringLiteral("Glass"), QStringLiteral("Ping")}));

    for (const char* file : {"Own.app/Contents/Resources/Done.wav", "Own.app/Contents/Resources/Done.aiff",
                             "Own.app/Contents/Resources/Chime.m4a", "Own.app/Contents/Resources/SoundOfSilence.wav"})
        tmp.write(QString::fromLatin1(file), "x");
    tmp.mkdir(QStringLiteral("Own.app/Contents/MacOS"));
    platform.facts->executable = tmp.file(QStringLiteral("Own.app/Contents/MacOS/Own"));
    EXPECT_EQ(RVSound::applicationSounds(), (QStringList{QStringLiteral("Chime"), QStringLiteral("Done"), QStringLiteral("Done")}));
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

// Wake-ups at the same moment take turns under the class's lock, and load the silence once.
TEST_F(SoundTest, SilentRunsTakeTurns)
{
    std::atomic<int> inside{0}, most{0};
    platform.audio->onPlay = [&] {
        const int now = ++inside;
        if (now > most)
            most = now;
        QThread::msleep(30);
        --inside;
    };
    std::thread first(RVSound::playSilentSoundThread), second(RVSound::playSilentSoundThread);
    first.join();
    second.join();
    platform.audio->onPlay = nullptr;
    EXPECT_EQ(most, 1);
    EXPECT_EQ(platform.audio->events().count(QStringLiteral("volume 0.01")), 1);
}

// The silent sound's thread waits for the application's thread while it plays; that thread
// must be free to reach for the silent sound meanwhile.
TEST_F(SoundTest, TheSilentSoundHoldsNoLockWhileItWaitsForTheApplicationThread)
{
    TestApplication app;
    std::atomic<bool> handingOff{false};
    platform.audio->onPlay = [&] {
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            return;
        handingOff = true;
        QMetaObject::invokeMethod(QCoreApplication::instance(), [] {}, Qt::BlockingQueuedConnection);
    };
    RVSound::prepareForSound();
    for (int i = 0; i < 400 && !handingOff; ++i)
        QThread::msleep(5);
    ASSERT_TRUE(handingOff);
    RVSound::resetForTesting(); // on the application's thread, while the hand-off waits
    const QString silence = QStringLiteral("play " RV_INSTALLER_BUNDLE "/Contents/Resources/SoundOfSilence.wav");
    EXPECT_TRUE(turnLoopUntil([&] { return platform.audio->events().contains(silence); }));
    platform.audio->onPlay = nullptr;
}

} // namespace
