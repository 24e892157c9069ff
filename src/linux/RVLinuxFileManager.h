#pragma once

#include "RVFd.h"
#include "RVFileManager.h"
#include "RVSafePath.h"
#include "RVTreeCopy.h"

#include <QHash>

#include <mutex>

class RVLinuxFileManager : public RVFileManager
{
public:
    // Root's installations (the privileged tool) make copies that are root's, without
    // set-id bits, devices, FIFOs or sockets.
    explicit RVLinuxFileManager(RVCopyOwner owner = RVCopyOwner::AsSource) : m_owner(owner) {}
    bool fileExists(const QString& path) override;
    bool itemExists(const QString& path) override;
    std::optional<QStringList> contentsOfDirectory(const QString& path) override;
    bool removeItem(const QString& path) override;
    QString stageCopy(const QString& source, const QString& target) override;
    bool moveIntoPlace(const QString& staged, const QString& target) override;
    QString exchangeIntoPlace(const QString& staged, const QString& target) override;
    bool putBackExchanged(const QString& previous, const QString& target) override;
    void discardStaged(const QString& staged) override;
    void removeAbandonedStaging(const QString& folder) override;
    std::shared_ptr<void> lockFolder(const QString& folder) override;
    bool isFolder(const QString& path) override;
    QString resolvedPath(const QString& path) override;
    bool isWritable(const QString& path) override;
    QString displayName(const QString& path) override;
    bool isSameItem(const QString& a, const QString& b) override;
    bool canOpenForReadingAndWriting(const QString& path) override;
    bool createAndRemoveProbeFile(const QString& path) override;
    std::optional<RVBundleSignature::Tree> readSignedTree(const QString& path, bool walk) override;

private:
    // A staging folder and the folder it was made in, held open until it is gone.
    struct Staging
    {
        std::shared_ptr<RVFd> folder;
        std::shared_ptr<RVFd> staging;
        QByteArray name;
        std::shared_ptr<RVCopyHasher> hasher; // of a signed bundle's copy
    };
    std::optional<Staging> stagingOf(const QString& item);
    // The target's folder: the one the staging folder was made in when the target is
    // beside it (right even if that folder was moved meanwhile), else opened anew.
    RVSafePath::Parent targetBeside(const Staging& staging, const QString& item, const QString& target);
    RVCopyOwner m_owner;
    std::mutex m_stagingMutex;
    QHash<QString, Staging> m_staging; // by the staging folder's path
};
