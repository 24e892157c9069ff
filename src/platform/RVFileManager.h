#pragma once

#include "RVBundleSignature.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// The file operations of an installation. Paths are absolute.
class RVFileManager
{
public:
    virtual ~RVFileManager() = default;

    // Whether a file or folder is at path, links followed: a dangling link is nothing.
    virtual bool fileExists(const QString& path) = 0;
    // Whether any item is at path, a link itself (dangling too): what the copy must not
    // overwrite and may trash.
    virtual bool itemExists(const QString& path) = 0;
    // The names in a folder, not recursive; empty when it cannot be listed.
    virtual std::optional<QStringList> contentsOfDirectory(const QString& path) = 0;
    // Deletes for good, a folder with its contents; never follows a link. Not atomic.
    virtual bool removeItem(const QString& path) = 0;
    // Builds a complete copy of source like cp -a (links stay links; modes, times, owners
    // where allowed and extended attributes kept) in a hidden staging folder beside
    // target that says which installer made it, and answers the copy's path; null on
    // failure, and then nothing is left. Missing folders above target are made (0755).
    virtual QString stageCopy(const QString& source, const QString& target) = 0;
    // Renames a staged copy to target, never over an item that is there. Atomic. The staged
    // copy is found where it was made, even when its folder has moved meanwhile.
    virtual bool moveIntoPlace(const QString& staged, const QString& target) = 0;
    // Swaps a staged copy with the item at target (one atomic step where the file system
    // can) and answers where that item is now: a temporary name in the staging folder,
    // which removeAbandonedStaging trashes should this process end before it goes on. Null
    // on failure, and then nothing moved.
    virtual QString exchangeIntoPlace(const QString& staged, const QString& target) = 0;
    // Undoes exchangeIntoPlace: previous back at target, the staged copy out again.
    virtual bool putBackExchanged(const QString& previous, const QString& target) = 0;
    // Removes what is left of a staging folder (the staged copy, not a previous item).
    virtual void discardStaged(const QString& staged) = 0;
    // Sweeps the staging folders in folder whose installer has ended: its own copies are
    // removed, an item replaced by an exchange goes to the Trash; nothing without its mark
    // is touched.
    virtual void removeAbandonedStaging(const QString& folder) = 0;
    // One installation's exclusive lock on folder (made when missing, 0755), held while the
    // answer lives; waits while another installation holds it. Null when it cannot be had.
    virtual std::shared_ptr<void> lockFolder(const QString& folder) = 0;
    // Whether a folder is at path (a link to one counts).
    virtual bool isFolder(const QString& path) = 0;
    // The path with its links resolved, as far as it exists; the rest appended as it stands.
    virtual QString resolvedPath(const QString& path) = 0;
    // access(W_OK) of the calling user; no for a path that does not exist.
    virtual bool isWritable(const QString& path) = 0;
    // The name the file browser shows for path.
    virtual QString displayName(const QString& path) = 0;
    // Same device and inode (both must exist); a link at b is itself, not what it names.
    virtual bool isSameItem(const QString& a, const QString& b) = 0;
    // Whether path opens for reading and writing (no creation, nothing written).
    virtual bool canOpenForReadingAndWriting(const QString& path) = 0;
    // Creates an empty file exclusively at path, never through a link, and removes it again.
    virtual bool createAndRemoveProbeFile(const QString& path) = 0;
    // What a signature check reads of the bundle at path (see RVBundleSignature::readTree),
    // through open folders and never through a link; a staged copy is read in the folder it
    // was made in. Null when it cannot be read to the end.
    virtual std::optional<RVBundleSignature::Tree> readSignedTree(const QString& path, bool walk) = 0;
};
