#include "RVInstallerInterface.h"

const QString RVInstallerKeyProductName = QStringLiteral("productName");
const QString RVInstallerKeyVersion = QStringLiteral("version");
const QString RVInstallerKeyMinSystemVersion = QStringLiteral("minSystemVersion");
const QString RVInstallerKeySourcePath = QStringLiteral("sourcePath");
const QString RVInstallerKeyDestinationPath = QStringLiteral("destinationPath");
const QString RVInstallerKeyDocumentationPath = QStringLiteral("documentationPath");
const QString RVInstallerKeyReadMePath = QStringLiteral("readMePath");
const QString RVInstallerKeyProductCode = QStringLiteral("productCode");
const QString RVInstallerKeyQuitCode = QStringLiteral("quitCode");
const QString RVInstallerKeyIconPath = QStringLiteral("iconPath");
const QString RVInstallerKeyWrapperPath = QStringLiteral("wrapperPath");
const QString RVInstallerCompletionSound = QStringLiteral("completionSound");
const QString RVInstallerCompletionQuit = QStringLiteral("completionQuit");
