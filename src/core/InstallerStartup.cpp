#include "InstallerWinController.h"

#include "RVFormat.h"
#include "RVInstallerInterface.h"
#include "RVInstallerView.h"
#include "RVLocalization.h"
#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"
#include "RVProcess.h"
#include "RVUtilities.h"


using RVPaths::lastPathComponent;
using RVPaths::standardizedPath;
using RVPaths::stringByAppendingPathComponent;
using RVPaths::stringByDeletingLastPathComponent;

namespace {

const QString kLogFile = QStringLiteral("~/Library/Logs/VelmoraInstaller.log");

QString infoString(const std::optional<RVBundle>& bundle, const QString& key)
{
    return bundle ? bundle->objectForInfoDictionaryKey(key).toString() : QString();
}

} // namespace

QString InstallerWinController::localizedWithProductName(const QString& key) const
{
    return RVFormat(RVLocalizedString(key), {argument(RVInstallerKeyProductName)});
}

bool InstallerWinController::redirectLogIfStartedWithArguments()
{
    RVSystemFacts& facts = RVPlatform::current().systemFacts();
    const QStringList processArguments = facts.processArguments();
    if (processArguments.size() < 3 || processArguments[1] == u"-AppleLanguages") {
        RVLog(QStringLiteral("direct invocation"));
        return false;
    }
    // The folder is never made: without it the log of this run goes to /dev/null.
    const QString path = facts.homeDirectory() + kLogFile.mid(1);
    for (int stream : {1, 2}) {
        if (!facts.reopenStandardStream(stream, path, "a+"))
            facts.reopenStandardStream(stream, QStringLiteral("/dev/null"), "a+");
    }
    return true;
}

bool InstallerWinController::completeSourcePath()
{
    if (m_arguments->contains(RVInstallerKeySourcePath))
        return true;
    const auto own = RVBundle::mainBundle();
    QString folder = own ? stringByDeletingLastPathComponent(standardizedPath(own->bundlePath())) : QString();
    if (folder.size() >= 2) {
        while (!folder.endsWith(QStringLiteral(".app"))) {
            folder = stringByDeletingLastPathComponent(folder);
            RVLog(QStringLiteral("shortened path = %@"), folder);
            if (folder.size() <= 1)
                break;
        }
    }
    if (!folder.endsWith(QStringLiteral(".app"))) {
        playDoneSound();
        showSetupError(QStringLiteral("missing source path"));
        return false;
    }
    m_arguments->setString(RVInstallerKeySourcePath, folder);
    return true;
}

void InstallerWinController::showProductIcon(const std::optional<RVBundle>& product)
{
    if (const QString iconPath = argument(RVInstallerKeyIconPath); !iconPath.isNull() && m_view->setIcon(iconPath))
        return;
    const QString iconFile = infoString(product, QStringLiteral("CFBundleIconFile"));
    if (product && !iconFile.isEmpty()) {
        QString resource = product->pathForResourceOfType(iconFile, QStringLiteral("icns"));
        if (resource.isNull())
            resource = product->pathForResourceOfType(iconFile, QString());
        if (!resource.isNull() && m_view->setIcon(resource))
            return;
    }
    const QString fileIcon = RVPlatform::current().workspace().iconForFile(argument(RVInstallerKeySourcePath));
    if (!fileIcon.isNull())
        m_view->setIcon(fileIcon);
}

void InstallerWinController::fillPageTexts(const QString& version, bool hasDocumentation)
{
    const QString name = argument(RVInstallerKeyProductName);
    m_view->setFieldText(RVInstallerView::Field::Name,
                         version.isNull() ? name : name + RVFormat(QStringLiteral(" %@"), {version}));
    const QString intro = m_view->fieldText(RVInstallerView::Field::Intro);
    m_view->setFieldText(RVInstallerView::Field::Intro, RVFormat(intro, {name}));
    QString explanation = RVFormat(m_view->fieldText(RVInstallerView::Field::Explanation), {name});
    if (hasDocumentation) {
        explanation = RVFormat(QStringLiteral("%@ %@"),
                               {RVLocalizedString(QStringLiteral(
                                    "If you wish to read the documentation first, click the \"?\" button.")),
                                explanation});
    }
    m_view->setFieldText(RVInstallerView::Field::Explanation, explanation);
    m_view->setButtonHidden(RVInstallerView::Button::Help, !hasDocumentation);
    m_view->setFieldHidden(RVInstallerView::Field::Message, true);
}

void InstallerWinController::showSystemVersionAlert(const QString& version, const QString& minimum)
{
    m_exitStatus = ExitSystemTooOld;
    const QString name = argument(RVInstallerKeyProductName);
    const QString message = RVFormat(
        RVLocalizedString(QStringLiteral("%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.")),
        {name, version, minimum});
    const QString informative = RVFormat(
        RVLocalizedString(QStringLiteral("To check if an older version of %@ is available for your computer, please visit our software archive.")),
        {name});
    m_view->showAlert(message, informative, RVLocalizedString(QStringLiteral("Quit")),
                      RVLocalizedString(QStringLiteral("Visit Archive")),
                      [this](int answer) { systemVersionAlertDidEnd(answer); });
}

void InstallerWinController::bringWindowToFront()
{
    // Activation finds the process's windows through the window manager, which knows the
    // window only once it shows it.
    m_view->bringToFront([] {
        if (const RVProcess::Ptr own = RVProcess::currentProcess())
            own->setFrontProcess();
    });
}

void InstallerWinController::awakeFromNib()
{
    redirectLogIfStartedWithArguments();
    m_view->setFieldText(RVInstallerView::Field::Name, QStringLiteral(""));
    selectTab(1);
    extractArguments();
    if (!completeSourcePath())
        return;
    const QString source = argument(RVInstallerKeySourcePath);

    if (!m_arguments->contains(RVInstallerKeyProductName))
        m_arguments->setString(RVInstallerKeyProductName,
                               RVPaths::stringByDeletingPathExtension(lastPathComponent(source)));
    // An empty name begins every login item's name: no name, no search.
    const QString name = argument(RVInstallerKeyProductName);
    if (name.isEmpty()) {
        showSetupError(QStringLiteral("missing program name"));
        return;
    }
    m_view->setWindowTitle(RVFormat(m_view->windowTitle(), {name}));

    const auto product = RVBundle::bundleWithPath(source);
    showProductIcon(product);
    QString version = argument(RVInstallerKeyVersion);
    if (version.isNull())
        version = infoString(product, QStringLiteral("CFBundleShortVersionString"));
    QString minimum = argument(RVInstallerKeyMinSystemVersion);
    if (minimum.isNull())
        minimum = infoString(product, QStringLiteral("LSMinimumSystemVersion"));
    const bool systemNewEnough =
        minimum.isEmpty() ||
        RVUtilities::compareVersionWithVersion(RVUtilities::systemVersionString(), minimum) != -1;

    QString destination = argument(RVInstallerKeyDestinationPath);
    if (destination.isNull())
        destination = findPreferredDestinationFor(name);
    if (destination.isNull())
        destination = stringByAppendingPathComponent(standardizedPath(applicationsDirectory()),
                                                     lastPathComponent(source));

    const QString wrapper = argument(RVInstallerKeyWrapperPath);
    if (!wrapper.isNull()) {
        if (wrapper.startsWith(stringByDeletingLastPathComponent(source)) &&
            RVPlatform::current().fileManager().fileExists(wrapper)) {
            RVLog(QStringLiteral("wrapper = %@"), wrapper);
            const QString folder = stringByDeletingLastPathComponent(destination);
            if (lastPathComponent(folder) != lastPathComponent(wrapper))
                destination = stringByAppendingPathComponent(
                    stringByAppendingPathComponent(folder, lastPathComponent(wrapper)), lastPathComponent(destination));
        } else {
            m_arguments->remove(RVInstallerKeyWrapperPath);
        }
    }
    m_arguments->setString(RVInstallerKeyDestinationPath, destination);
    m_view->setFieldText(RVInstallerView::Field::Path, localizedPath(destination));

    const QString documentation = argument(RVInstallerKeyDocumentationPath);
    if (!documentation.isNull() && !RVPlatform::current().fileManager().fileExists(documentation))
        m_arguments->remove(RVInstallerKeyDocumentationPath);
    const bool hasDocumentation = m_arguments->contains(RVInstallerKeyDocumentationPath);

    QStringList productCodes = m_arguments->list(RVInstallerKeyProductCode);
    bool haveProductCodes = m_arguments->hasList(RVInstallerKeyProductCode);
    const QString signature = infoString(product, QStringLiteral("CFBundleSignature"));
    if (!haveProductCodes && !signature.isNull()) {
        productCodes = {signature};
        haveProductCodes = true;
        m_arguments->appendToList(RVInstallerKeyProductCode, signature);
    }
    if (!haveProductCodes) {
        showSetupError(QStringLiteral("missing product signature"));
        return;
    }
    for (const QString& code : productCodes)
        m_arguments->appendToList(RVInstallerKeyQuitCode, code);
    dropCodesThatNameNoApplication();
    RVLog(QStringLiteral("Updated arguments: %@"), m_arguments->toVariantMap());

    fillPageTexts(version, hasDocumentation);
    const QString readMe = argument(RVInstallerKeyReadMePath);
    if (!readMe.isNull() && RVPlatform::current().fileManager().fileExists(readMe)) {
        m_view->loadReadMe(readMe);
        selectTab(0);
    } else {
        selectTab(1);
    }
    m_view->setImageHidden(RVInstallerView::Image::Checkmark, true);

    bringWindowToFront();

    if (!systemNewEnough)
        showSystemVersionAlert(version, minimum);
}
