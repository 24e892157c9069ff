#pragma once

#include "RVAudio.h"

// Sound effects through Qt Multimedia. The effects live on the application's thread; calls
// from other threads are handed over to it.
class RVQtAudio : public RVAudio
{
public:
    QString defaultSystemOutputDeviceIdentifier() override;
    std::shared_ptr<RVAudioPlayer> load(const QString& path) override;
};
