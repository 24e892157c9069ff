#pragma once

#include <QString>

// Path operations with the platform's meaning, on every form of a path: a trailing slash,
// doubled slashes and "." segments change nothing. Only standardizedPath looks beyond the
// text (the home folder and the working folder); nothing here reads the disk.
namespace RVPaths {

// The absolute form every path takes when it enters the installer: "~" and "~user" expanded, relative
// to the working folder, no "//", no "." segments, ".." resolved textually, no trailing
// slash. Null and empty stay as they are.
QString standardizedPath(const QString& path);

// A leading "~" or "~/" becomes home, "~user" or "~user/" that user's home from the
// password database, as the shell expands them; an unknown user leaves the path as it is.
QString stringByExpandingTildeInPath(const QString& path, const QString& home);

// "/a/b.app/" -> "b.app"; "/" -> "/"; "" -> "".
QString lastPathComponent(const QString& path);
// "/a/b.app/" -> "/a"; "/a" -> "/"; "/" -> "/"; "b.app" -> "".
QString stringByDeletingLastPathComponent(const QString& path);
// "/a/" + "b" -> "/a/b"; "" + "b" -> "b"; never a doubled or trailing slash.
QString stringByAppendingPathComponent(const QString& path, const QString& component);
// "/a/b.app/" -> "/a/b"; ".app" -> ".app" (a leading dot starts no extension).
QString stringByDeletingPathExtension(const QString& path);
// "/a/b.app/" -> "app".
QString pathExtension(const QString& path);

// Whether standardized path lies strictly below standardized folder.
bool isInside(const QString& path, const QString& folder);

} // namespace RVPaths
