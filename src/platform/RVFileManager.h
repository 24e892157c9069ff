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
    // Copies like cp -a (links stay links; modes, times, owners where allowed and extended
    // attributes kept). Precondition: nothing at target; missing folders above it are made
    // (0755). Atomic for the target: the copy is built beside it and renamed into place, so
    // target never holds a partial copy.
    virtual bool copyItem(const QString& source, const QString& target) = 0;
    // Builds a complete copy of source, as copyItem does, under a hidden staging name beside
    // target that says which installer made it, and answers that path; null on failure, and
    // then nothing is left. Missing folders above target are made (0755).
    virtual QString stageCopy(const QString& source, const QString& target) = 0;
    // Renames a staged copy to target, never over an item that is there. Atomic. The staged
    // copy is found where it was made, even when its folder has moved meanwhile.
    virtual bool moveIntoPlace(const QString& staged, const QString& target) = 0;
    // Removes a staged copy that will not be used, wherever its folder is now.
    virtual void discardStaged(const QString& staged) = 0;
    // Removes for good the staging items in folder whose installer has ended.
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
    // Same device and inode (both must exist).
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
