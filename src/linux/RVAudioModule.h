#pragma once

#include "RVAudio.h"

#include <QString>

#include <memory>
#include <mutex>

// The sound effects, loaded from their module on first use. Qt Multimedia and the sound
// libraries under it take longer to load than the rest of the program, and the installer
// only sounds at the end; linked in, they delayed the window by a third.
class RVAudioModule : public RVAudio
{
public:
    explicit RVAudioModule(QString modulePath);

    // Where a program of the installer bundle finds the module.
    static QString pathInBundleOf(const QString& executablePath);

    QString defaultSystemOutputDeviceIdentifier() override;
    std::shared_ptr<RVAudioPlayer> load(const QString& path) override;

private:
    // Null, after one logged line, when the module cannot be loaded.
    RVAudio* audio();

    const QString m_modulePath;
    std::once_flag m_loaded;
    std::unique_ptr<RVAudio> m_audio;
};
