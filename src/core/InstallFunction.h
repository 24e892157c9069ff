#pragma once

#include "RVCoreOnly.h"

#include <QString>

enum InstallResult {
    InstallResultSuccess = 0,
    InstallResultTrashFailed = 1,
    InstallResultCopyFailed = 2,
};

// Puts the product at destination: the wrapper's items beside it (each item they replace
// into the Trash), the product staged complete beside the destination and its signature
// checked, then exchanged with the previous copy in one step, and the previous copy into the
// Trash. wrapper may be null. Logs each failure with its path. untrusted, when given, is set
// when the new copy was refused for its signature (result 2).
int InstallApplication(const QString& source, const QString& destination, const QString& wrapper,
                       bool* untrusted = nullptr);

// The destination with the links of its folder resolved; its own name is kept, since a link
// there is an item to replace, not a way to somewhere else.
QString ResolvedDestination(const QString& destination);
