#pragma once

#include <QStringList>

namespace RVLinuxPlatform {
// Installs the Linux implementation of every platform service. arguments is the
// process's argument list (for the argument domain of the user defaults).
void install(const QStringList& arguments);
// Before the application object: native Wayland in a Wayland session, else X.
void chooseWindowSystem();
// Does the slow first steps of a window on the display on the spare core while the main
// thread starts the application: the font configuration and our own display connection.
// Call first thing in main, before the application object exists.
void prepareDisplayInBackground();
} // namespace RVLinuxPlatform
