#pragma once

#include "RVFd.h"

#include <QByteArray>

#include <functional>

// The hidden folders a copy is built in before it is put into place, and the lock that
// makes two installations of one destination take turns.
//
// A staging folder ".<name>.velmora-<pid>-<start ticks>" lies beside the target and holds
// a mark file of ours (our uid and the target's name), the copy as "new" and, once the
// copy has been swapped into place, the item it replaced as "previous". Whatever a kill
// leaves there is recognised by the mark alone: "new" is ours to delete, "previous" is the
// user's and goes to the Trash.
namespace RVStaging {

extern const char* const kNew;
extern const char* const kPrevious;

// ".<name>.velmora-<pid>-<start ticks>" for this process, cut (at a character boundary)
// to fit the file system's 255-byte limit for any name.
QByteArray stagingName(const QByteArray& targetName);

// Makes the staging folder for targetName in folder, marked as ours; invalid on failure.
RVFd makeStagingFolder(int folder, const QByteArray& stagingName, const QByteArray& targetName);

// Removes what is ours in a staging folder: "new" and, when no "previous" is left in it,
// the mark and the folder itself.
void removeStagingFolder(int folder, const QByteArray& stagingName);

// Sweeps the staging folders in folder whose process has ended (killed in the middle of
// an installation): a "previous" left there is handed to trash (with the name it had
// before), then the rest removed. Only folders that carry our mark are touched, and empty
// ones of ours (a kill before the mark was written); everything else stays.
using TrashPrevious = std::function<bool(const QByteArray& stagingName, const QByteArray& targetName)>;
void removeAbandoned(int folder, const TrashPrevious& trash);

// Renames, never replacing an item at the target. Atomic where the file system has
// RENAME_NOREPLACE; elsewhere a folder is renamed only when nothing is at the target, and
// rename(2) itself refuses a non-empty folder or a file there.
bool renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to);

// Puts "new" of a staging folder at the target and the item that was there in the staging
// folder as "previous", in one step where the file system can (RENAME_EXCHANGE), else in
// two renames; a kill at any point leaves the target's item in place or as "previous".
bool swapIn(int staging, int toFolder, const char* to);
// The other way: "previous" back at the target, the copy there as "new".
bool swapBack(int staging, int toFolder, const char* to);

// An exclusive advisory lock on an open folder, held until the object ends. Blocks while
// another installation holds it.
class FolderLock
{
public:
    explicit FolderLock(RVFd folder);
    bool locked() const { return m_locked; }

private:
    RVFd m_folder;
    bool m_locked = false;
};

} // namespace RVStaging
