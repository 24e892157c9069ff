#include "RVAudioModule.h"

#include "RVLog.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>

RVAudioModule::RVAudioModule(QString modulePath) : m_modulePath(std::move(modulePath)) {}

QString RVAudioModule::pathInBundleOf(const QString& executablePath)
{
    return QDir::cleanPath(QFileInfo(executablePath).absolutePath() +
                           QStringLiteral("/../PlugIns/libvelmora-audio.so"));
}

RVAudio* RVAudioModule::audio()
{
    std::call_once(m_loaded, [this] {
        // Never unloaded: players made by the module may live until the process ends.
        QLibrary library(m_modulePath);
        using Factory = RVAudio* (*)();
        const auto create = reinterpret_cast<Factory>(library.resolve("rvCreateQtAudio"));
        if (create)
            m_audio.reset(create());
        else
            RVLog(QStringLiteral("sound module not loaded: %@"), library.errorString());
    });
    return m_audio.get();
}

QString RVAudioModule::defaultSystemOutputDeviceIdentifier()
{
    RVAudio* sounds = audio();
    return sounds ? sounds->defaultSystemOutputDeviceIdentifier() : QString();
}

std::shared_ptr<RVAudioPlayer> RVAudioModule::load(const QString& path)
{
    RVAudio* sounds = audio();
    return sounds ? sounds->load(path) : nullptr;
}
