#include "InstallerWinController.h"

#include "RVInstallerInterface.h"
#include "RVInstallerView.h"
#include "RVLocalization.h"
#include "RVLog.h"
#include "RVPlatform.h"
#include "RVUtilities.h"

#include <thread>

namespace {
// The maker's software archive, for systems that are too old for the product.
const QString kArchiveAddress = QStringLiteral("http://www.velmora.com/downloads/archive/");
} // namespace

void InstallerWinController::selectTab(int page)
{
    m_view->selectPage(page);
    m_view->setButtonTitle(RVInstallerView::Button::Install,
                           RVLocalizedString(page == 0 ? QStringLiteral("Continue") : QStringLiteral("Install")));
    if (m_arguments && m_arguments->contains(RVInstallerKeyReadMePath)) {
        m_view->setButtonTitle(RVInstallerView::Button::Cancel,
                               RVLocalizedString(page == 0 ? QStringLiteral("Cancel") : QStringLiteral("Go Back")));
    }
}

void InstallerWinController::showSetupError(const QString& message)
{
    RVLog(QStringLiteral("%@"), message);
    m_exitStatus = ExitSetupError;
    showFinalMessage(message);
    // An error before the title was filled in leaves its placeholder; show no title then.
    if (m_view->windowTitle().contains(u'%'))
        m_view->setWindowTitle(QStringLiteral(""));
    // Start-up ends here: without the window the user would never see why, nor its "OK".
    bringWindowToFront();
}

void InstallerWinController::systemVersionAlertDidEnd(int returnCode)
{
    if (returnCode == 1001)
        RVUtilities::openFile(kArchiveAddress);
    terminate();
}

void InstallerWinController::showFinalMessage(const QString& format)
{
    m_view->setButtonHidden(RVInstallerView::Button::Cancel, true);
    m_view->setButtonTitle(RVInstallerView::Button::Install, RVLocalizedString(QStringLiteral("OK")));
    m_view->setFieldHidden(RVInstallerView::Field::Path, true);
    m_view->setFieldHidden(RVInstallerView::Field::Explanation, true);
    m_view->setFieldHidden(RVInstallerView::Field::Message, true);
    m_view->setButtonHidden(RVInstallerView::Button::Help, true);
    m_view->setFieldText(RVInstallerView::Field::Intro, localizedWithProductName(format));
    m_finished = true;
}

void InstallerWinController::install()
{
    if (m_finished) {
        terminate();
        return;
    }
    if (m_view->selectedPage() == 0) {
        selectTab(1);
        return;
    }
    m_view->setButtonEnabled(RVInstallerView::Button::Install, false);
    m_view->setButtonEnabled(RVInstallerView::Button::Cancel, false);
    {
        std::lock_guard lock(m_workerMutex);
        m_workerRunning = true;
    }
    m_stopRequested = false;
    std::thread([this] { installThread(); }).detach();
}

void InstallerWinController::cancel()
{
    if (m_arguments && m_arguments->contains(RVInstallerKeyReadMePath) && m_view->selectedPage() == 1) {
        selectTab(0);
        return;
    }
    terminate();
}

void InstallerWinController::openDocumentation()
{
    const QString documentation = argument(RVInstallerKeyDocumentationPath);
    if (documentation.isNull()) {
        RVLog(QStringLiteral("documentation path missing"));
        m_view->beep();
        return;
    }
    RVUtilities::openFile(documentation);
}
