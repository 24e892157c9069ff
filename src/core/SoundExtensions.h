#pragma once

#include "RVCoreOnly.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

class RVAudioPlayer;

// A sound with the sound-effect behaviour: played on the output for alerts at the user's
// alert volume, plus the lists of available sounds and the wake-up of the audio hardware.
class RVSound
{
public:
    // The sound named name among the application's resources, then the system's sounds;
    // a null sound (that does nothing) when there is none.
    static RVSound soundNamed(const QString& name);
    static RVSound soundWithPath(const QString& path);

    bool isNull() const { return !m_player; }
    void setVolume(float volume);
    QString description() const;

    void playAsSoundEffect();
    QString systemAudioDeviceID() const;

    static float alertVolume();
    // The volume a beep volume setting maps to.
    static float alertVolumeFor(double beepVolume);
    static void setSoundDateNow();
    static const QStringList& soundFileExtensions();
    static bool isSoundFileAtPath(const QString& path);
    static QStringList applicationSounds();
    static QStringList systemSounds();
    QString soundEffectDeviceID() const;
    static void playSilentSoundThread();
    static void prepareForSound();

    static void resetForTesting();

private:
    std::shared_ptr<RVAudioPlayer> m_player;
};
