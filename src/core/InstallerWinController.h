#pragma once

#include "RVBundle.h"
#include "RVCoreOnly.h"
#include "RVFourCharCode.h"
#include "RVInstallerArguments.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class RVInstallerView;
class RVProcess;

// The session object: owns one installation from start-up to the final page. Its
// operations are split over files by concern: arguments, quitting running copies,
// destination, privileged copy.
class InstallerWinController : public QObject
{
    Q_OBJECT

public:
    explicit InstallerWinController(QObject* parent = nullptr) : QObject(parent) {}
    // Waits for a worker that still runs: it reads the arguments to its end.
    ~InstallerWinController() override;
    // The window whose controls the session fills; set before awakeFromNib.
    void setView(RVInstallerView* view) { m_view = view; }

    // Start-up (InstallerStartup.cpp)
    void awakeFromNib();

    // Pages and dialogs (InstallerPages.cpp)
    void selectTab(int page);
    void showSetupError(const QString& message);
    void systemVersionAlertDidEnd(int returnCode);
    static bool applicationShouldTerminateAfterLastWindowClosed() { return true; }
    void showFinalMessage(const QString& format);
    void install();
    void cancel();
    void openDocumentation();
    bool finished() const { return m_finished; }

    // Worker and completion (InstallerWorker.cpp)
    void installThread();
    Q_INVOKABLE void installationFinished(const QString& outcome);
    void playDoneSound();
    // Quits the application. While a worker runs it is asked to stop at its next safe
    // point (between quitting attempts, or after the copy) and the application ends when
    // its outcome arrives; the window stays responsive meanwhile.
    Q_INVOKABLE void terminate();
    // What the application's exit status tells a calling program.
    enum ExitStatus { ExitSucceeded = 0, ExitFailed = 1, ExitCancelled = 2, ExitSetupError = 3, ExitSystemTooOld = 4 };
    int exitStatus() const { return m_exitStatus; }
    // Whether an installation worker runs (tests wait for it).
    bool isWorking() const;
    // Tests: called on the worker as its last step, to hold it there.
    static inline std::function<void()> beforeWorkerEndsForTesting;

    // Arguments (InstallerArguments.cpp)
    void extractArguments();
    // Null (empty) before extractArguments.
    const std::optional<RVInstallerArguments>& arguments() const { return m_arguments; }
    void setArguments(const RVInstallerArguments& arguments) { m_arguments = arguments; }

    // Quitting running copies (InstallerQuit.cpp)
    // The unknown signature "????" and the code 0 match nothing.
    static bool signatureIsInArray(RVOSType code, const QStringList* list);
    // The applications to quit are those of the quit list and running copies of the
    // product, known by its bundle identifier or by running from the destination.
    QString processToQuitStillRunning();
    // Stops before the next request once the session is asked to stop.
    void quitProcesses();

    // Destination (InstallerDestination.cpp)
    bool canWriteToFile(const QString& path);
    bool canWriteToDirectory(const QString& path);
    bool canWriteToFileOrDirectory(const QString& path);
    bool canWriteToPath(const QString& path);
    static bool isInUnsupportedFolder(const QString& path);
    QString applicationsDirectory();
    QString autoLaunchPathFor(const QString& productName);
    QString pathToProcessToReplace();
    QString findPreferredDestinationFor(const QString& productName);
    // Whether a bundle's information dictionary is that of a copy of the product: the same
    // bundle identifier, or where one of them has none, the same executable name.
    bool isCopyOfProduct(const QVariantMap& info) const;
    QString localizedPath(const QString& path);
    QString recursiveLocalizedPath(const QString& path);

    // Privileged copy and self-installation (InstallerPrivileged.cpp)
    QString installMyselfInDestination();
    bool authorizedInstallToWrapCanceled(const QString& source, const QString& destination,
                                         const QString& wrapper, bool* canceled);

    // Starts (non-null) or stops (null) the progress animation; called on the main thread
    // through a queued hand-off.
    Q_INVOKABLE virtual void animateProgress(const QString& flag);

signals:
    // The application should end now; the window's owner quits the event loop.
    void terminateRequested();

private:
    QString argument(const QString& key) const;
    // The information dictionary of the bundle at the source path; empty when none.
    QVariantMap productInfo() const;
    void dropCodesThatNameNoApplication();
    bool mustQuit(const std::shared_ptr<RVProcess>& process, const QStringList& quitCodes,
                  const QString& productIdentifier);
    void animateProgressOnMainThread(const QString& flag);

    QString localizedWithProductName(const QString& key) const;
    bool redirectLogIfStartedWithArguments();
    bool completeSourcePath();
    void showProductIcon(const std::optional<RVBundle>& product);
    void fillPageTexts(const QString& version, bool hasDocumentation);
    void bringWindowToFront();
    void showSystemVersionAlert(const QString& version, const QString& minimum);

    std::optional<RVInstallerArguments> m_arguments;
    RVInstallerView* m_view = nullptr;
    bool m_finished = false;
    int m_exitStatus = ExitCancelled; // until an installation has an outcome
    bool m_noAuthenticationAgent = false; // worker thread: why the last privileged copy failed
    bool m_untrustedCopy = false;         // the same: root's tool refused the new copy's signature
    bool isStopping() const { return m_stopRequested; }
    void workerEnded(const QString& outcome);
    void terminateAfter(double milliseconds);

    mutable std::mutex m_workerMutex;
    std::condition_variable m_workerEnd;
    bool m_workerRunning = false;
    std::atomic<bool> m_stopRequested{false};
    bool m_terminateWhenWorkerEnds = false; // main thread only
};

// The statuses of asking for administrator rights, as the security services number them.
constexpr int kAuthorizationCanceled = -60006;
constexpr int kAuthorizationDenied = -60005;
constexpr int kAuthorizationInteractionNotAllowed = -60007;
constexpr int kAuthorizationToolExecuteFailure = -60031;

// Asks for administrator rights, runs tool with them and waits for it: 0 on success (or
// when its end cannot be seen), kAuthorizationCanceled or kAuthorizationDenied when the
// rights were not given, kAuthorizationInteractionNotAllowed when nothing could ask the
// user, the start failure's status when it could not be started, -1 when the tool failed.
// toolStarted is called while the tool works; exitStatus, when given, gets the status the
// tool exited with.
int AuthorizedExecute(const QString& tool, const QStringList& arguments,
                      const std::function<void()>& toolStarted = [] {}, int* exitStatus = nullptr);
