#pragma once

#include <QString>

#include <memory>

// One loaded sound, ready to play.
class RVAudioPlayer
{
public:
    virtual ~RVAudioPlayer() = default;
    // Plays on the output with this identifier (null: the default output); false when the
    // output refuses it.
    virtual bool setPlaybackDevice(const QString& identifier) = 0;
    virtual void setVolume(float volume) = 0;
    virtual double duration() = 0;
    // Starts playing and returns at once.
    virtual void play() = 0;
    virtual QString description() const = 0;
};

// The sound outputs of the system.
class RVAudio
{
public:
    virtual ~RVAudio() = default;
    // The identifier of the output for alerts and sound effects; null when there is none.
    virtual QString defaultSystemOutputDeviceIdentifier() = 0;
    // Null when the file holds no playable sound.
    virtual std::shared_ptr<RVAudioPlayer> load(const QString& path) = 0;
};
