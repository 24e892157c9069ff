#pragma once

#include "RVAuthorization.h"
#include "RVFileManager.h"
#include "RVWorkspace.h"

#include <QSet>
#include <QStringList>

#include <functional>
#include <mutex>

// A file system of paths only: what exists and what may be written.
class FakeFileManager : public RVFileManager
{
public:
    QSet<QString> existing;
    QSet<QString> writable;
    QStringList probes; // probe files created
    bool probeSucceeds = true;

    bool fileExists(const QString& path) override { return existing.contains(path); }
    bool itemExists(const QString& path) override { return existing.contains(path); }
    std::optional<QStringList> contentsOfDirectory(const QString&) override { return std::nullopt; }
    bool removeItem(const QString& path) override { return existing.remove(path); }
    QString stageCopy(const QString&, const QString& target) override
    {
        const QString staged = target + QStringLiteral(".staged");
        existing.insert(staged);
        return staged;
    }
    bool moveIntoPlace(const QString& staged, const QString& target) override
    {
        if (existing.contains(target) || !existing.remove(staged))
            return false;
        existing.insert(target);
        return true;
    }
    QString exchangeIntoPlace(const QString& staged, const QString& target) override
    {
        if (!existing.contains(target) || !existing.remove(staged))
            return {};
        existing.insert(target + QStringLiteral(".previous"));
        return target + QStringLiteral(".previous");
    }
    bool putBackExchanged(const QString& previous, const QString&) override { return existing.remove(previous); }
    void discardStaged(const QString& staged) override { existing.remove(staged); }
    void removeAbandonedStaging(const QString&) override {}
    std::shared_ptr<void> lockFolder(const QString& folder) override { return std::make_shared<QString>(folder); }
    bool isFolder(const QString& path) override { return existing.contains(path); }
    QString resolvedPath(const QString& path) override { return path; }
    bool isWritable(const QString& path) override { return existing.contains(path) && writable.contains(path); }
    QString displayName(const QString& path) override
    {
        QString name = path.section(u'/', -1);
        if (name.endsWith(QStringLiteral(".app")))
            name.chop(4);
        return name;
    }
    bool isSameItem(const QString& a, const QString& b) override { return a == b; }
    bool canOpenForReadingAndWriting(const QString& path) override { return isWritable(path); }
    bool createAndRemoveProbeFile(const QString& path) override
    {
        probes << path;
        return probeSucceeds;
    }
    std::optional<RVBundleSignature::Tree> signedTree = RVBundleSignature::Tree(); // unsigned, naming no key
    std::optional<RVBundleSignature::Tree> readSignedTree(const QString&, bool) override { return signedTree; }
};

class FakeWorkspace : public RVWorkspace
{
public:
    QStringList calls;
    QStringList login;
    QString local = QStringLiteral("/Applications");
    QString user = QStringLiteral("/home/u/Applications");
    bool recycleSucceeds = true;
    int registerStatus = 0;
    int iconAnswersNullTimes = 0; // the first calls find no icon
    int failedLaunches = 0;       // the first launches fail

    bool recycle(const QString& folder, const QStringList& names) override
    {
        calls << QStringLiteral("recycle %1 %2").arg(folder, names.join(u','));
        return recycleSucceeds;
    }
    bool recycleReplaced(const QString& path, const QString& originalPath) override
    {
        calls << QStringLiteral("recycle %1 as %2").arg(path, originalPath);
        return recycleSucceeds;
    }
    void noteFileSystemChanged(const QString& path) override { calls << QStringLiteral("changed ") + path; }
    QString iconForFile(const QString& path) override
    {
        calls << QStringLiteral("icon ") + path;
        return iconAnswersNullTimes-- > 0 ? QString() : path + QStringLiteral("/icon.png");
    }
    bool openApplication(const QString& path) override
    {
        calls << QStringLiteral("open ") + path;
        return failedLaunches-- <= 0;
    }
    int registerApplication(const QString& path) override
    {
        calls << QStringLiteral("register ") + path;
        return registerStatus;
    }
    QStringList loginItems() override { return login; }
    QString localApplicationsDirectory() override { return local; }
    QString userApplicationsDirectory() override { return user; }
    QString homeDirectory() override { return QStringLiteral("/home/u"); }
};

class FakeAuthorization : public RVAuthorization
{
public:
    Outcome outcome{Outcome::Kind::Finished, true, 0, 0};
    QString tool;
    QStringList arguments;
    int calls = 0;
    Outcome executeWithPrivileges(const QString& t, const QStringList& a, const std::function<void()>& started) override
    {
        ++calls;
        tool = t;
        arguments = a;
        if (outcome.kind == Outcome::Kind::Finished || outcome.kind == Outcome::Kind::Unobserved)
            started();
        return outcome;
    }
};

#include "RVAudio.h"

// Sounds that record what is done with them.
class FakeAudio : public RVAudio
{
public:
    struct Player : RVAudioPlayer
    {
        QString path;
        FakeAudio* audio;
        QStringList refused;
        bool setPlaybackDevice(const QString& id) override
        {
            audio->record(QStringLiteral("device %1").arg(id.isNull() ? QStringLiteral("(default)") : id));
            return !refused.contains(id);
        }
        void setVolume(float v) override { audio->record(QStringLiteral("volume %1").arg(double(v))); }
        double duration() override { return 0.5; }
        void play() override
        {
            if (audio->onPlay)
                audio->onPlay();
            audio->record(QStringLiteral("play ") + path);
        }
        QString description() const override { return QStringLiteral("<sound %1>").arg(path); }
    };
    QString device = QStringLiteral("alsa:default");
    QStringList refusedDevices;
    std::function<void()> onPlay; // runs on the playing thread before the play is recorded
    // The silent wake-up plays on a thread of its own: the record is guarded.
    void record(const QString& event)
    {
        std::lock_guard lock(m_mutex);
        m_events << event;
    }
    QStringList events() const
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    QString defaultSystemOutputDeviceIdentifier() override { return device; }
    std::shared_ptr<RVAudioPlayer> load(const QString& path) override
    {
        auto player = std::make_shared<Player>();
        player->path = path;
        player->audio = this;
        player->refused = refusedDevices;
        record(QStringLiteral("load ") + path);
        return player;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_events;
};
