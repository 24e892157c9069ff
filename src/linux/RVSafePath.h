#pragma once

#include "RVFd.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

#include <sys/types.h>

// Every file operation of an installation starts here: a path becomes a descriptor of the
// folder that holds the item, plus the item's name, and everything after that is done
// relative to the descriptor. When links are not trusted (the privileged tool), no
// component of the path may be a symbolic link, so a link planted in a middle folder, or a
// folder swapped for one between a check and its use, cannot redirect root.
namespace RVSafePath {

// Off in the privileged tool: links in any component are refused (ELOOP).
void setLinksTrusted(bool trusted);
bool linksTrusted();

// The folder at an absolute path, opened O_DIRECTORY; invalid (errno set) on failure.
RVFd openFolder(const QString& path);
// The same, below an open folder: one name, never a link when links are not trusted.
RVFd openFolderAt(int folder, const QByteArray& name);

// The folder at an absolute path where a link on the way is followed only when root or
// owner owns it and nobody else may write the folder that holds it (a root's /home ->
// /var/home, never a link somebody else could have planted or swapped).
RVFd openFolderThroughLinksOf(const QString& path, uid_t owner);

// The nearest folder at or above an absolute path that exists ("/" at the latest).
QString nearestExisting(const QString& path);

// The folder at an absolute path, with the folders missing on the way made by make, which
// answers the new folder opened (or invalid, to stop).
// With linksOf, the existing part is opened by openFolderThroughLinksOf.
using MakeFolder = std::function<RVFd(int parent, const QByteArray& name, const QString& location)>;
RVFd openOrMakeFolder(const QString& path, const MakeFolder& make, std::optional<uid_t> linksOf = std::nullopt);

// The folder that holds the item at an absolute path and the item's name. The name is
// never empty, "." or ".."; invalid folder (errno set) otherwise.
struct Parent
{
    RVFd folder;
    QByteArray name;
};
Parent openParent(const QString& path);

} // namespace RVSafePath
