#pragma once

#include <QString>
#include <QStringList>

// Login items as XDG autostart entries: $XDG_CONFIG_HOME/autostart/*.desktop, then each
// $XDG_CONFIG_DIRS/*/autostart, by file name, a user entry shadowing a system one of the
// same name, Hidden=true skipped. Each item resolves to the .app that holds the program of
// its Exec (or TryExec); entries that do not resolve are left out.
namespace RVAutostart {
QStringList loginItems(const QString& configHome, const QStringList& configDirs);
QStringList loginItems(); // from the environment
} // namespace RVAutostart
