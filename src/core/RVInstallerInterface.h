#pragma once

#include "RVCoreOnly.h"

#include <QString>

// The keys of the installer arguments.
extern const QString RVInstallerKeyProductName;
extern const QString RVInstallerKeyVersion;
extern const QString RVInstallerKeyMinSystemVersion;
extern const QString RVInstallerKeySourcePath;
extern const QString RVInstallerKeyDestinationPath;
extern const QString RVInstallerKeyDocumentationPath;
extern const QString RVInstallerKeyReadMePath;
extern const QString RVInstallerKeyProductCode;
extern const QString RVInstallerKeyQuitCode;
extern const QString RVInstallerKeyIconPath;
extern const QString RVInstallerKeyWrapperPath;
extern const QString RVInstallerCompletionSound;
extern const QString RVInstallerCompletionQuit;
