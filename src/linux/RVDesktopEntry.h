#pragma once

#include <QString>

// Desktop entries as freedesktop.org desktops read them.
namespace RVDesktopEntry {

// One argument of Exec: quoted when it holds a reserved character, with ", `, $ and the
// backslash escaped inside the quotes, and % doubled.
QString quoteExecArgument(const QString& argument);
// A value of type string: \, newline, tab and carriage return escaped.
QString escapeString(const QString& value);
// The program of an Exec value: its first argument, unquoted.
QString programOfExec(const QString& exec);

// The icon theme's name for what is at path: an application (a bundle or an executable
// file), a folder, or the icon of the file's type; null when nothing is there.
QString themeIconFor(const QString& path);

struct Registration
{
    int status = 0; // 0 on success, else an errno value
    QString entryPath;
    QString iconPath;
};
// Writes $dataHome/applications/<id>.desktop for the bundle at path, with its icon
// converted to PNG under $dataHome/icons (the theme's application icon when it has none)
// and its executable's name as the window class docks match its windows by, and refreshes the desktop database when the
// tool for it is present.
Registration registerBundle(const QString& bundlePath, const QString& dataHome);

} // namespace RVDesktopEntry
