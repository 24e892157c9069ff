#pragma once

#include "FakeInstallServices.h"
#include "QtPrinters.h"
#include "FakeProcessTable.h"
#include "RVLog.h"
#include "RVPlatform.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QStringList>

#include <map>
#include <mutex>

// Facts the test decides. Gestalt answers are set per selector; an absent one fails.
class FakeSystemFacts : public RVSystemFacts
{
public:
    std::map<RVOSType, std::int32_t> gestaltAnswers;
    double appKit = 2487.0;
    QLocale locale = QLocale::c();
    QStringList arguments{QStringLiteral("/fake/VelmoraInstaller")};
    QString executable = QStringLiteral("/fake/VelmoraInstaller");
    QString home = QStringLiteral("/fake/home");
    QString opener = QStringLiteral("/usr/bin/xdg-open");

    std::optional<std::int32_t> gestalt(RVOSType selector) const override
    {
        const auto it = gestaltAnswers.find(selector);
        return it == gestaltAnswers.end() ? std::nullopt : std::optional(it->second);
    }
    double appKitVersionNumber() const override { return appKit; }
    QLocale currentLocale() const override { return locale; }
    QStringList processArguments() const override { return arguments; }
    QString executablePath() const override { return executable; }
    QString homeDirectory() const override { return home; }
    QString root;
    QString systemRoot() const override { return root; }
    QString openerPath() const override { return opener; }
    QStringList reopened; // "stream path mode" of each reopening
    QSet<QString> unopenable; // paths that cannot be opened
    bool reopenStandardStream(int stream, const QString& path, const char* mode) override
    {
        reopened << QStringLiteral("%1 %2 %3").arg(stream).arg(path, QString::fromLatin1(mode));
        return !unopenable.contains(path);
    }
};

class FakeUserDefaults : public RVUserDefaults
{
public:
    QHash<QString, QHash<QString, QVariant>> domains; // "" is the search list's result
    QVariant valueForKey(const QString& key) const override { return domains[{}].value(key); }
    QVariant valueForKeyWithSuite(const QString& key, const QString& suite) const override
    {
        const QVariant plain = valueForKey(key);
        return plain.isValid() ? plain : domains[suite].value(key);
    }
    QVariant valueForKeyInDomain(const QString& key, const QString& domain) const override
    {
        return domains[domain].value(key);
    }
    void setValueForKey(const QString& key, const QVariant& value) override
    {
        domains[{}].insert(key, value);
    }
};

// Records every launch and starts nothing.
class FakeLauncher : public RVLauncher
{
public:
    std::vector<RVLaunchRequest> requests;
    RVLaunchResult launch(const RVLaunchRequest& request) override
    {
        requests.push_back(request);
        return {nullptr, QStringLiteral("fake launcher")};
    }
};

// Application events fired by the test.
class FakeApplicationEvents : public RVApplicationEvents
{
public:
    int applicationWatches = 0;
    int menuBarWatches = 0;
    bool menuBarWatchSucceeds = true;
    Handler applications;
    Handler menuBar;

    bool watchApplications(Handler handler) override
    {
        ++applicationWatches;
        applications = std::move(handler);
        return true;
    }
    bool watchMenuBar(Handler handler) override
    {
        ++menuBarWatches;
        menuBar = std::move(handler);
        return menuBarWatchSucceeds;
    }
};

class FakeLaunchEnvironment : public RVLaunchEnvironment
{
public:
    QString creator;
    FileSystemInfo fileSystem;
    std::optional<std::uint64_t> idle;
    int tint = 1;
    bool traced = false;
    QMap<QString, QString> links;

    QString launcherCreator() override { return creator; }
    FileSystemInfo fileSystemInfo(const QString&) override { return fileSystem; }
    std::optional<std::uint64_t> idleNanoseconds() override { return idle; }
    int controlTint() override { return tint; }
    bool isTraced() override { return traced; }
    std::optional<QString> aliasTarget(const QString& path) override
    {
        return links.contains(path) ? std::optional<QString>(links.value(path)) : std::nullopt;
    }
};

// Accessible applications by pid; observers record what they are asked and let the test fire.
class FakeAccessibility : public RVAccessibility
{
public:
    class Observer : public RVAccessibilityObserver
    {
    public:
        Observer(FakeAccessibility& owner, Callback fire) : callback(std::move(fire)), m_owner(owner) {}
        ~Observer() override
        {
            if (m_owner.onDestroy)
                m_owner.onDestroy();
            std::erase(m_owner.observers, this);
        }
        bool addNotification(const QString& notification) override
        {
            if (m_owner.refusedNotifications.contains(notification))
                return false;
            notifications << notification;
            return true;
        }
        void removeNotification(const QString& notification) override { notifications.removeAll(notification); }

        QStringList notifications;
        Callback callback;

    private:
        FakeAccessibility& m_owner;
    };

    QMap<pid_t, RVAccessibleElement> applications;
    bool observersFail = false;
    QSet<QString> refusedNotifications;
    std::vector<Observer*> observers; // live ones
    std::function<void()> onDestroy;   // runs in an observer's destructor
    int elementRequests = 0;

    std::optional<RVAccessibleElement> applicationElement(pid_t pid) override
    {
        ++elementRequests;
        return applications.contains(pid) ? std::optional(applications.value(pid)) : std::nullopt;
    }
    std::unique_ptr<RVAccessibilityObserver> createObserver(const RVAccessibleElement& /*application*/,
                                                            RVAccessibilityObserver::Callback callback) override
    {
        if (observersFail)
            return nullptr;
        auto observer = std::make_unique<Observer>(*this, std::move(callback));
        observers.push_back(observer.get());
        return observer;
    }
};

// Installs fresh fakes for the duration of a test and puts the previous services back.
class FakePlatform
{
public:
    FakePlatform()
        : facts(std::make_shared<FakeSystemFacts>()),
          defaults(std::make_shared<FakeUserDefaults>()),
          launcher(std::make_shared<FakeLauncher>()), clock(std::make_shared<FakeClock>()),
          processTable(std::make_shared<FakeProcessTable>()),
          windowSystem(std::make_shared<FakeWindowSystem>()),
          fileManager(std::make_shared<FakeFileManager>()), workspace(std::make_shared<FakeWorkspace>()),
          authorization(std::make_shared<FakeAuthorization>()), audio(std::make_shared<FakeAudio>()),
          applicationEvents(std::make_shared<FakeApplicationEvents>()),
          launchEnvironment(std::make_shared<FakeLaunchEnvironment>()),
          accessibility(std::make_shared<FakeAccessibility>()), m_saved(RVPlatform::current().services())
    {
        RVPlatform::install({facts, defaults, launcher, clock, processTable, windowSystem, fileManager,
                             workspace, authorization, audio, applicationEvents, launchEnvironment, accessibility});
    }
    ~FakePlatform() { RVPlatform::install(m_saved); }

    std::shared_ptr<FakeSystemFacts> facts;
    std::shared_ptr<FakeUserDefaults> defaults;
    std::shared_ptr<FakeLauncher> launcher;
    std::shared_ptr<FakeClock> clock;
    std::shared_ptr<FakeProcessTable> processTable;
    std::shared_ptr<FakeWindowSystem> windowSystem;
    std::shared_ptr<FakeFileManager> fileManager;
    std::shared_ptr<FakeWorkspace> workspace;
    std::shared_ptr<FakeAuthorization> authorization;
    std::shared_ptr<FakeAudio> audio;
    std::shared_ptr<FakeApplicationEvents> applicationEvents;
    std::shared_ptr<FakeLaunchEnvironment> launchEnvironment;
    std::shared_ptr<FakeAccessibility> accessibility;

private:
    RVPlatform::Services m_saved;
};

// Collects log lines (the text after the line's prefix) while it lives.
class LogCapture
{
public:
    LogCapture()
    {
        RVLogging::setSink([this](const QString& line) {
            std::lock_guard lock(m_mutex);
            const qsizetype text = line.indexOf(QStringLiteral("] "));
            m_lines << (text < 0 ? line : line.mid(text + 2));
        });
    }
    ~LogCapture() { RVLogging::setSink(nullptr); }

    QStringList lines() const
    {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_lines;
};
