#pragma once

#include "RVFd.h"
#include "RVFileManager.h"

#include <QHash>

#include <mutex>

class RVLinuxFileManager : public RVFileManager
{
public:
    bool fileExists(const QString& path) override;
    bool itemExists(const QString& path) override;
    std::optional<QStringList> contentsOfDirectory(const QString& path) override;
    bool removeItem(const QString& path) override;
    bool copyItem(const QString& source, const QString& target) override;
    QString stageCopy(const QString& source, const QString& target) override;
    bool moveIntoPlace(const QString& staged, const QString& target) override;
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
    // The folder each staged copy was made in, held open until the copy is placed or gone.
    std::shared_ptr<RVFd> takeStagingFolder(const QString& staged);
    std::mutex m_stagingMutex;
    QHash<QString, std::shared_ptr<RVFd>> m_stagingFolders;
};
