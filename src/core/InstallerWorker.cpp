#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVInstallerView.h"
#include "RVLocalization.h"
#include "RVLog.h"
#include "RVNumbers.h"
#include "RVPlatform.h"
#include "SoundExtensions.h"

#include <QMetaObject>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr int kQuitRetries = 3;
} // namespace

void InstallerWinController::installThread()
{
    const QString name = argument(RVInstallerKeyProductName);
    RVLog(QStringLiteral("Install"));
    animateProgressOnMainThread(QStringLiteral("YES"));

    quitProcesses();
    QString running = isStopping() ? QString() : processToQuitStillRunning();
    if (!running.isNull()) {
        RVLog(QStringLiteral("%@ did not quit; will retry"), running);
        for (int attempt = 0; attempt < kQuitRetries && !isStopping(); ++attempt) {
            RVPlatform::current().clock().sleepMicroseconds(1'000'000);
            if (isStopping())
                break;
            quitProcesses();
            if (processToQuitStillRunning().isNull())
                break;
        }
    }

    QString outcome;
    if (isStopping()) {
        outcome = QStringLiteral(""); // the user quit before anything was copied
    } else if (running = processToQuitStillRunning(); !running.isNull()) {
        RVLog(QStringLiteral("%@ refused to quit; installation cancelled"), running);
        outcome = RVFormat(RVLocalizedString(QStringLiteral(
                               "%1$@ cannot be running during the installation.\rQuit %1$@, then click \"Install\" again.")),
                           {running});
    } else {
        outcome = installMyselfInDestination();
        if (!outcome.isEmpty()) {
            outcome = RVFormat(RVLocalizedString(outcome), {name});
            if (m_noAuthenticationAgent) {
                outcome += u' ' + RVLocalizedString(QStringLiteral(
                                      "No authentication agent is running in this session to ask for the administrator password."));
            }
            // Copying a refused bundle by hand is the one thing not to suggest.
            if (!m_arguments->contains(RVInstallerKeyWrapperPath) && !m_untrustedCopy) {
                outcome += RVFormat(QStringLiteral("\r%@"),
                                    {RVFormat(RVLocalizedString(QStringLiteral(
                                                  "Try installing %1$@ manually by copying it to the Applications folder.")),
                                              {name})});
            }
        }
    }
    if (beforeWorkerEndsForTesting)
        beforeWorkerEndsForTesting();
    workerEnded(outcome);
}

void InstallerWinController::workerEnded(const QString& outcome)
{
    // The outcome goes over and the flag comes down in one step: a completion delay that ran
    // out in between would find the worker still running and wait for an outcome already
    // shown. The main thread reads the flag under this lock, so it never sees the outcome
    // first. Once the flag is down the session may go away, so all of it is done under the lock.
    std::lock_guard lock(m_workerMutex);
    QMetaObject::invokeMethod(this, "installationFinished", Qt::QueuedConnection, Q_ARG(QString, outcome));
    m_workerRunning = false;
    m_workerEnd.notify_all();
}

bool InstallerWinController::isWorking() const
{
    std::lock_guard lock(m_workerMutex);
    return m_workerRunning;
}

InstallerWinController::~InstallerWinController()
{
    m_stopRequested = true;
    std::unique_lock lock(m_workerMutex);
    m_workerEnd.wait(lock, [this] { return !m_workerRunning; });
}

void InstallerWinController::animateProgress(const QString& flag)
{
    if (m_view)
        m_view->setProgressAnimating(!flag.isNull());
}

void InstallerWinController::installationFinished(const QString& outcome)
{
    m_exitStatus = outcome.isNull() ? ExitSucceeded : outcome.isEmpty() ? ExitCancelled : ExitFailed;
    if (!outcome.isNull()) {
        m_view->setFieldText(RVInstallerView::Field::Message, outcome);
        m_view->setButtonEnabled(RVInstallerView::Button::Cancel, true);
    } else {
        showFinalMessage(QStringLiteral("%@ was successfully installed."));
        m_view->setImageHidden(RVInstallerView::Image::Checkmark, false);
        m_view->setButtonHidden(RVInstallerView::Button::Cancel, true);
        m_view->setButtonEnabled(RVInstallerView::Button::Cancel, false);
        if (!RVPlatform::current().userDefaults().boolForKey(QStringLiteral("nosound")))
            playDoneSound();
    }
    m_view->setButtonEnabled(RVInstallerView::Button::Install, true);
    m_view->setProgressAnimating(false);
    if (m_terminateWhenWorkerEnds) {
        emit terminateRequested(); // the window was closed while the worker ran
        return;
    }

    const QString delayText = argument(RVInstallerCompletionQuit);
    if (delayText.isNull())
        return;
    const float seconds = float(RVLeadingDouble(delayText));
    RVLog(QStringLiteral("quit delay: %1.1f"), seconds);
    if (seconds > 0)
        terminateAfter(double(seconds) * 1000.0);
}

void InstallerWinController::terminateAfter(double milliseconds)
{
    // A timer counts at most ~24.8 days of milliseconds; a longer delay is taken in steps,
    // and an infinite one never ends.
    if (std::isinf(milliseconds))
        return;
    const double step = std::min(milliseconds, double(std::numeric_limits<int>::max()));
    QTimer::singleShot(int(step), this, [this, rest = milliseconds - step] {
        if (rest > 0)
            terminateAfter(rest);
        else
            terminate();
    });
}

void InstallerWinController::playDoneSound()
{
    if (argument(RVInstallerCompletionSound) != u"YES")
        return;
    RVSound done = RVSound::soundNamed(QStringLiteral("Done"));
    done.setVolume(RVSound::alertVolume());
    done.playAsSoundEffect();
}

void InstallerWinController::terminate()
{
    if (isWorking()) {
        // Never in the middle of a copy: the worker stops at its next safe point, and its
        // outcome ends the application.
        m_stopRequested = true;
        m_terminateWhenWorkerEnds = true;
        return;
    }
    emit terminateRequested();
}
