#pragma once

#include "RVCoreOnly.h"

#include <QString>

// Whether the staged copy may take the place of what is at destination. A previous copy
// that names a key is replaced only by a copy validly signed with that key; a copy that
// names a key or carries a signature must be valid under it (damage); a copy with neither
// goes in unchecked. Logs the refusal, with the destination and the reason.
bool verifyStagedCopy(const QString& staged, const QString& destination);

// What the user is told when the new copy was refused (a key of the string tables).
inline constexpr char kUntrustedCopyMessage[] =
    "This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.";
// train's exit status for that refusal, so that the installer can say the same.
inline constexpr int kTrainExitUntrusted = 3;
