#pragma once

#include <QStringList>

namespace RVLinuxPlatform {
// Installs the Linux implementation of every platform service. arguments is the
// process's argument list (for the argument domain of the user defaults).
void install(const QStringList& arguments);
} // namespace RVLinuxPlatform
