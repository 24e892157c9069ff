#pragma once

#include "RVCoreOnly.h"

#include <QString>

enum InstallResult {
    InstallResultSuccess = 0,
    InstallResultTrashFailed = 1,
    InstallResultCopyFailed = 2,
};

// Puts the product at destination: the wrapper's items beside it, the previous copy into
// the Trash, then the product. wrapper may be null. Logs each failure with its path.
int InstallApplication(const QString& source, const QString& destination, const QString& wrapper);
