#include "RVQtAudio.h"

#include "RVWaveHeader.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QFile>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <QtEndian>

#include <atomic>
#include <functional>
#include <set>

namespace {

// Runs work on the application's thread and waits for it. False when it could not run
// there: no application, or the hand-off was dropped as the application went away. That
// thread may still run work once its application has gone (sounds released at exit).
bool onApplicationThread(const std::function<void()>& work)
{
    static std::atomic<QThread*> home{nullptr};
    QCoreApplication* application = QCoreApplication::instance();
    if (application)
        home = application->thread();
    if (QThread::currentThread() == home.load()) {
        work();
        return true;
    }
    if (!application)
        return false;
    bool ran = false;
    QMetaObject::invokeMethod(application, [&] { work(); ran = true; }, Qt::BlockingQueuedConnection);
    return ran;
}

// Seconds of sound in a RIFF/WAVE file; 0 for anything else.
double waveDuration(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? RVWaveDuration(file.read(4096)) : 0;
}

class QtPlayer;
// Sounds that play are kept until they end, as their owner may let go of them at once. Never
// destroyed: a sound still playing at exit must not outlive the application's objects.
std::set<std::shared_ptr<QtPlayer>>& playing() // application thread only
{
    static auto* sounds = new std::set<std::shared_ptr<QtPlayer>>;
    return *sounds;
}

// Every operation does nothing once the effect could not be made: a sound whose hand-off
// was dropped at shutdown is silent.
class QtPlayer : public RVAudioPlayer, public std::enable_shared_from_this<QtPlayer>
{
public:
    explicit QtPlayer(const QString& path) : m_path(path)
    {
        onApplicationThread([this] {
            m_effect = std::make_unique<QSoundEffect>();
            m_effect->setSource(QUrl::fromLocalFile(m_path));
        });
    }
    ~QtPlayer() override
    {
        // Without the application's thread the effect cannot be destroyed safely: the process
        // is ending, so it is left to it.
        if (m_effect && !onApplicationThread([this] { m_effect.reset(); }))
            (void)m_effect.release();
    }

    bool setPlaybackDevice(const QString& identifier) override
    {
        bool accepted = false;
        onApplicationThread([&] {
            if (!m_effect)
                return;
            if (identifier.isNull()) {
                m_effect->setAudioDevice(QMediaDevices::defaultAudioOutput());
                accepted = true;
                return;
            }
            for (const QAudioDevice& device : QMediaDevices::audioOutputs()) {
                if (QString::fromUtf8(device.id()) == identifier) {
                    m_effect->setAudioDevice(device);
                    accepted = true;
                }
            }
        });
        return accepted;
    }
    void setVolume(float volume) override
    {
        onApplicationThread([&] {
            if (m_effect)
                m_effect->setVolume(volume);
        });
    }
    double duration() override { return waveDuration(m_path); }
    void play() override
    {
        onApplicationThread([this] {
            if (!m_effect)
                return;
            playing().insert(shared_from_this());
            if (!m_watched)
                watchForTheEnd();
            m_effect->play();
        });
    }
    QString description() const override { return QStringLiteral("<sound %1>").arg(m_path); }

private:
    // Once per sound, however often it plays (application thread).
    void watchForTheEnd()
    {
        m_watched = true;
        // Released once it has played to its end, or when it cannot play at all; later, not
        // from inside the effect's own signal, which would delete it under itself.
        auto release = [weak = weak_from_this()] {
            QTimer::singleShot(0, [weak] {
                if (auto player = weak.lock())
                    playing().erase(player);
            });
        };
        QSoundEffect* effect = m_effect.get();
        QObject::connect(effect, &QSoundEffect::playingChanged, effect, [effect, release] {
            if (!effect->isPlaying())
                release();
        });
        QObject::connect(effect, &QSoundEffect::statusChanged, effect, [effect, release] {
            if (effect->status() == QSoundEffect::Error)
                release();
        });
    }

    QString m_path;
    std::unique_ptr<QSoundEffect> m_effect;
    bool m_watched = false; // application thread only
};

} // namespace

QString RVQtAudio::defaultSystemOutputDeviceIdentifier()
{
    QString identifier;
    onApplicationThread([&] {
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        if (!device.isNull())
            identifier = QString::fromUtf8(device.id());
    });
    return identifier;
}

std::shared_ptr<RVAudioPlayer> RVQtAudio::load(const QString& path)
{
    if (!QFile::exists(path))
        return nullptr;
    return std::make_shared<QtPlayer>(path);
}

// The module's one entry, found by name when the sound effects are first needed.
extern "C" Q_DECL_EXPORT RVAudio* rvCreateQtAudio()
{
    return new RVQtAudio;
}
