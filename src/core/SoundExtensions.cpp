#include "SoundExtensions.h"

#include "RVBundle.h"
#include "RVLog.h"
#include "RVNumbers.h"
#include "RVPaths.h"
#include "RVPlatform.h"
#include "RVPropertyList.h"
#include "RVUtilities.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <thread>
#include <unistd.h>

namespace {

constexpr qint64 kWakeInterval = 25'000; // ms
const QString kSilence = QStringLiteral("SoundOfSilence");

std::atomic<qint64> g_lastSoundDate{0}; // ms since the epoch; 0 before the first sound
// The sound class's lock: silent runs take turns under it. The application's thread never
// takes it, so a run may wait for that thread while holding it.
std::recursive_mutex g_classLock;
// Released with the application that played it, from its thread, without the lock.
std::atomic<std::shared_ptr<RVSound>> g_silentSound;

RVAudio& audio()
{
    return RVPlatform::current().audio();
}

QString nameWithoutExtension(const QString& file)
{
    const qsizetype dot = file.lastIndexOf(u'.');
    return dot > 0 ? file.left(dot) : file;
}

QStringList soundNamesIn(const QString& folder)
{
    QStringList names;
    for (const QString& file : QDir(folder).entryList(QDir::Files | QDir::Hidden)) {
        if (RVSound::isSoundFileAtPath(file))
            names << nameWithoutExtension(file);
    }
    return names;
}

QStringList systemSoundFolders()
{
    const RVSystemFacts& facts = RVPlatform::current().systemFacts();
    return {facts.systemRoot() + QStringLiteral("/System/Library/Sounds"),
            facts.systemRoot() + QStringLiteral("/Library/Sounds"),
            facts.homeDirectory() + QStringLiteral("/Library/Sounds")};
}

QString findSound(const QString& folder, const QString& name)
{
    for (const QString& extension : RVSound::soundFileExtensions()) {
        const QString path = folder + u'/' + name + u'.' + extension;
        if (QFileInfo(path).isFile())
            return path;
    }
    return {};
}

} // namespace

RVSound RVSound::soundWithPath(const QString& path)
{
    RVSound sound;
    if (!path.isEmpty())
        sound.m_player = audio().load(path);
    return sound;
}

RVSound RVSound::soundNamed(const QString& name)
{
    QStringList folders;
    if (const auto bundle = RVBundle::mainBundle())
        folders << bundle->resourcePath();
    folders << systemSoundFolders();
    for (const QString& folder : folders) {
        const QString path = findSound(folder, name);
        if (!path.isNull())
            return soundWithPath(path);
    }
    return {};
}

void RVSound::setVolume(float volume)
{
    if (m_player)
        m_player->setVolume(volume);
}

QString RVSound::description() const
{
    return m_player ? m_player->description() : QString();
}

void RVSound::playAsSoundEffect()
{
    if (!m_player)
        return;
    const bool logging = RVPlatform::current().userDefaults().boolForKey(QStringLiteral("soundLog"));
    const QString device = systemAudioDeviceID();
    if (logging)
        RVLog(QStringLiteral("+SL: systemDeviceID=%@"), device);
    if (!device.isNull()) {
        if (logging)
            RVLog(QStringLiteral("+SL: setPlaybackDeviceIdentifier"));
        if (!m_player->setPlaybackDevice(device)) {
            if (logging)
                RVLog(QStringLiteral("+SL: exception %@"),
                      QStringLiteral("unknown playback device %1").arg(device));
            m_player->setPlaybackDevice(QString());
        }
    }
    if (logging)
        RVLog(QStringLiteral("+SL: play self (%@)"), description());
    m_player->duration(); // loads the sound before it plays
    m_player->play();
    setSoundDateNow();
}

QString RVSound::systemAudioDeviceID() const
{
    return audio().defaultSystemOutputDeviceIdentifier();
}

float RVSound::alertVolumeFor(double v)
{
    double mapped;
    if (v <= 0.35)
        mapped = 0.0;
    else if (v <= 0.47)
        mapped = (v - 0.35) / 0.12 * 0.25;
    else if (v <= 0.61)
        mapped = (v - 0.47) / 0.14 * 0.25 + 0.25;
    else if (v <= 0.78)
        mapped = (v - 0.61) / 0.17 * 0.25 + 0.5;
    else
        mapped = (v - 0.78) / 0.22 * 0.25 + 0.75;
    return std::min(float(mapped), 1.0f);
}

float RVSound::alertVolume()
{
    const QVariant value = RVPlatform::current().userDefaults().valueForKeyWithSuite(
        QStringLiteral("com.apple.sound.beep.volume"), QStringLiteral("com.apple.systemsound"));
    // Only numbers and text read as a number; anything else (absent, a date, raw data, a
    // list) leaves the full volume.
    switch (value.typeId()) {
    case QMetaType::QString: return alertVolumeFor(double(float(RVLeadingDouble(value.toString()))));
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double: return alertVolumeFor(double(float(value.toDouble())));
    default: return 1.0f;
    }
}

void RVSound::setSoundDateNow()
{
    g_lastSoundDate = QDateTime::currentMSecsSinceEpoch();
}

const QStringList& RVSound::soundFileExtensions()
{
    static const QStringList extensions{
        QStringLiteral("aiff"), QStringLiteral("AIFF"), QStringLiteral("'AIFF'"), QStringLiteral("aif"),
        QStringLiteral("AIF"),  QStringLiteral("aifc"), QStringLiteral("AIFC"),   QStringLiteral("wav"),
        QStringLiteral("WAV"),  QStringLiteral("'WAVE'"), QStringLiteral("snd"),  QStringLiteral("SND"),
        QStringLiteral("au"),   QStringLiteral("AU"),   QStringLiteral("'ULAW'"), QStringLiteral("'ALAW'"),
        QStringLiteral("mp3"),  QStringLiteral("MP3"),  QStringLiteral("'Mp3 '"), QStringLiteral("ulw"),
        QStringLiteral("ULW"),  QStringLiteral("m4p"),  QStringLiteral("m4a")};
    return extensions;
}

bool RVSound::isSoundFileAtPath(const QString& path)
{
    const QString last = RVPaths::lastPathComponent(path);
    const qsizetype dot = last.lastIndexOf(u'.');
    return dot >= 0 && soundFileExtensions().contains(last.mid(dot + 1));
}

QStringList RVSound::applicationSounds()
{
    const auto bundle = RVBundle::mainBundle();
    QStringList names = bundle ? soundNamesIn(bundle->resourcePath()) : QStringList();
    names.removeAll(kSilence);
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) { return a.compare(b) < 0; });
    return names;
}

QStringList RVSound::systemSounds()
{
    QSet<QString> names;
    names.reserve(20);
    for (const QString& folder : systemSoundFolders()) {
        if (QFileInfo(folder).isDir()) {
            for (const QString& name : soundNamesIn(folder))
                names.insert(name);
        }
    }
    QStringList sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end(), [](const QString& a, const QString& b) { return a.compare(b) < 0; });
    return sorted;
}

QString RVSound::soundEffectDeviceID() const
{
    QFile file(RVPlatform::current().systemFacts().systemRoot() +
               QStringLiteral("/Library/Preferences/Audio/com.apple.audio.SystemSettings.plist"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto list = RVPropertyList::fromData(file.readAll());
    if (!list.value)
        return {};
    const QVariantMap settings = list.value->toMap();
    if (RVUtilities::yosemiteOrNewer()) {
        const QVariantList outputs = settings.value(QStringLiteral("preferred devices")).toMap()
                                         .value(QStringLiteral("system output")).toList();
        return outputs.isEmpty() ? QString() : outputs.first().toMap().value(QStringLiteral("uid")).toString();
    }
    const QString key = QStringLiteral("current default system output device");
    const QVariantMap mine = settings.value(QString::number(::getuid())).toMap();
    if (mine.contains(key))
        return mine.value(key).toString();
    return settings.value(QStringLiteral("0")).toMap().value(key).toString();
}

void RVSound::playSilentSoundThread()
{
    std::lock_guard lock(g_classLock);
    std::shared_ptr<RVSound> silent = g_silentSound.load();
    if (!silent) {
        silent = std::make_shared<RVSound>(RVSound::soundNamed(kSilence));
        silent->setVolume(0.01f);
        g_silentSound = silent;
        if (QCoreApplication* application = QCoreApplication::instance())
            QObject::connect(application, &QObject::destroyed, [] { g_silentSound.store({}); });
    }
    silent->playAsSoundEffect();
}

void RVSound::prepareForSound()
{
    const qint64 last = g_lastSoundDate;
    if (last != 0 && QDateTime::currentMSecsSinceEpoch() - last <= kWakeInterval)
        return;
    setSoundDateNow();
    std::thread(playSilentSoundThread).detach();
}

void RVSound::resetForTesting()
{
    g_lastSoundDate = 0;
    g_silentSound.store({});
}
