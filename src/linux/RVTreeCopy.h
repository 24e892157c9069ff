#pragma once

#include "RVFolderNames.h"

#include <QString>

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// Copies the item at source to target like cp -a: folders recursively, symbolic links as
// links, hard links within the tree as hard links, modes, times, owners (where allowed) and
// extended attributes kept. Links are never followed. Precondition: nothing at target and
// its folder exists. Not atomic: on failure a partial copy may be left at target, which the
// caller removes.
// Source and target are names inside open folders. Holes stay holes.
// For root (the privileged tool) the copy is root's whatever the source's owner, without
// set-id bits or attributes beyond the user namespace (no file capabilities, no ACLs), and
// a device, FIFO or socket fails it.
// With a hasher, each file copied is handed to it, named by its path below the copy.
enum class RVCopyOwner { AsSource, Root };
class RVCopyHasher;
bool RVCopyTree(int sourceFolder, const char* sourceName, int targetFolder, const char* targetName,
                QString* error, RVCopyOwner owner = RVCopyOwner::AsSource, RVCopyHasher* hasher = nullptr);

// Deletes the item for good, a folder with its contents, never following a link.
bool RVRemoveTree(int folder, const char* name);
bool RVRemoveTree(const QString& path);

// Gives the item, a folder with everything in it, to uid and gid, never following a link,
// where that opens to them nothing they could not read before: what they could not read
// (a root-only file), and a file with other names (a hard link may lead anywhere) stay
// as they are, and a folder they could not read is not entered.
void RVHandOverTree(int folder, const char* name, uid_t uid, gid_t gid);
