#pragma once

#include "RVCoreOnly.h"
#include "RVAccessibility.h"
#include "RVBundle.h"
#include "RVFourCharCode.h"
#include "RVNotificationCenter.h"
#include "RVProcessTable.h"

#include <QDateTime>
#include <QThread>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

extern const QString RVPlatformCocoa;
extern const QString RVPlatformCarbon;
extern const QString RVPlatformJava;
extern const QString RVPlatformClassic;

// Posted when the main loop is idle. Object: RVProcess::classObject(); user information
// "change": "started", "ended", "front", or "" for any other event.
extern const QString RVProcessChangeNotification;
// Object: the RVProcess whose interface event it is; user information "element" and "event".
extern const QString RVProcessUINotification;

// One running application. Objects come only from the class look-ups, which go through a
// process-wide cache (most recently used first), so a process has at most one live object.
class RVProcess : public std::enable_shared_from_this<RVProcess>
{
public:
    using Ptr = std::shared_ptr<RVProcess>;
    static constexpr qsizetype kNotFound = std::numeric_limits<qint64>::max();

    // Look-ups (RVProcess.cpp)
    static std::vector<Ptr> allProcesses();
    static Ptr currentProcess();
    static Ptr frontProcess();
    static Ptr processWithSerialNumber(RVSerialNumber psn);
    static Ptr processWithPID(pid_t pid);
    static Ptr processWithSignature(RVOSType signature);
    static Ptr processWithIdentifier(const QString& identifier);
    static qsizetype indexOfCachedProcessWithSerialNumber(RVSerialNumber psn);
    static Ptr cachedProcessWithSerialNumber(RVSerialNumber psn);
    static void cleanupCache();
    static std::vector<Ptr> cachedProcesses();
    static void resetCacheForTesting();

    // Application events (RVProcessNotifications.cpp)
    static void installNotifications();
    static void applicationStarted();
    static void applicationEnded();
    static std::uint64_t applicationLaunchEndCount();
    // The cache in its current order; empty when no process was ever cached.
    static std::optional<std::vector<Ptr>> cachedProcessesEnumerator();
    // Stands for the class as the object of RVProcessChangeNotification.
    static const void* classObject();
    static void resetNotificationsForTesting();

    // Interface events of this process (RVProcessNotifications.cpp). The observer delivers on
    // the thread that made it, which must also be the one that unregisters.
    void installAXObserver();
    void addAXNotification(const QString& name);
    void removeAXNotification(const QString& name);
    void unregisterAXNotifications();

    bool getProcessInfo();
    RVSerialNumber serialNumber() const { return m_psn; }
    pid_t unixPID() const;
    bool isSameProcess(RVSerialNumber psn) const;
    bool isStillRunning() const;
    bool isEqual(const RVProcess* other) const;
    std::uint32_t hash() const;
    int compare(RVProcess& other);
    QString description();

    // Properties (RVProcessProperties.cpp)
    QString name();
    RVOSType signature();
    QString signatureString();
    QString signatureHexString();
    QString path();
    std::optional<QVariantMap> infoDictionary();
    // The bundle at path, read afresh on each call.
    std::optional<RVBundle> bundle();
    QString identifier();
    QString version();
    QString displayName();
    // The image file that shows the application (the workspace's icon for its path).
    QString icon();
    QString carbonVersion();
    int majorVersionNumber();
    bool isAtLeastVersion(const QString& other);
    bool isFrontProcess();
    bool isBackgroundOnly();
    bool isCocoa();
    bool isClassic();
    QString platform();
    QDateTime launchDate();
    float secondsRunning();
    float cpuTime();
    QVariant infoForKey(const QString& key);
    void setInfoForKey(const QVariant& value, const QString& key);
    QVariant info() { return infoForKey(QString("")); }
    void setInfo(const QVariant& value) { setInfoForKey(value, QString("")); }

    // Quitting and steering (RVProcessControl.cpp)
    // stop, when given, is asked before each request: once it answers yes, nothing more is
    // sent (no force-quit after a cancel).
    bool quitRunningApplicationWithTimeout(float timeout, const std::function<bool()>& stop = {});
    void quit(const std::function<bool()>& stop = {});
    void sendAppleEventClassEventIDTimeout(RVOSType eventClass, RVOSType eventID, float timeout);
    void wakeUp();
    void setHidden(bool hidden);
    void setFrontProcess();
    void setFrontProcessFrontWindowOnly();
    void temporarilySwitchOut();

    explicit RVProcess(RVSerialNumber psn); // for the cache only; use the look-ups
    ~RVProcess();
    RVProcess(const RVProcess&) = delete;
    RVProcess& operator=(const RVProcess&) = delete;

private:
    // Whether the process ended within seconds, looking every 10 ms.
    bool waitForEnd(double seconds);

    const RVSerialNumber m_psn;
    // Properties are filled lazily and may be asked from two threads.
    mutable std::recursive_mutex m_mutex;
    std::optional<QVariantMap> m_infoDictionary;
    RVOSType m_signature = 0;
    QString m_name;
    QString m_displayName;
    QString m_path;
    QString m_version;
    QString m_icon;
    std::optional<QDateTime> m_launchDate;
    int m_cocoaStatus = 0;
    int m_classicStatus = 0;
    std::optional<QVariantMap> m_customInfo;
    std::optional<RVAccessibleElement> m_axAppElem;
    std::unique_ptr<RVAccessibilityObserver> m_axObserver;
    QThread* m_axThread = nullptr; // where the observer was made, and must be destroyed
};

// The application-event handler: runs the effect of launches (5) and ends (6) and enqueues
// RVProcessChangeNotification. Always answers 0 (no error).
int ApplicationStartEndHandler(RVOSType eventClass, std::uint32_t kind);
// The interface-event callback: enqueues RVProcessUINotification for the process that
// registered, with the element ("" when none) and the notification's name, on the queue of
// the thread that made the observer. The notification holds the process until it is posted.
void notificationHandler(const std::optional<RVAccessibleElement>& element, const QString& name,
                         const RVProcess::Ptr& process, RVNotificationQueue& queue);

// Seconds since the epoch at which pid started; 0.0 when unknown.
double proc_start_time(pid_t pid);
// Processor seconds pid used in user mode; 0.0 when unknown.
float proc_cpu_time(pid_t pid);
// The version text of a 'vers' resource record (four bytes at least); null when shorter.
QString versionFromVersRecord(const QByteArray& record);
