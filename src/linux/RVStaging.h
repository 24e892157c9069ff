#pragma once

#include "RVFd.h"

#include <QByteArray>

// The hidden items a copy is built in before it is renamed into place, and the lock that
// makes two installations of one destination take turns.
namespace RVStaging {

// ".<name>.velmora-<pid>-<start ticks>" for this process: a name that says whose it is,
// cut (at a character boundary) to fit the file system's 255-byte limit for any name.
QByteArray stagingName(const QByteArray& targetName);

// Removes, for good, the staging items in folder whose process has ended (killed in the
// middle of a copy). Items of running processes, and everything else, stay.
void removeAbandoned(int folder);

// Renames, never replacing an item at the target. Atomic where the file system has
// RENAME_NOREPLACE; elsewhere a folder is renamed only when nothing is at the target, and
// rename(2) itself refuses a non-empty folder or a file there.
bool renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to);

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
