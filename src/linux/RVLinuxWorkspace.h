#pragma once

#include "RVTrash.h"
#include "RVWorkspace.h"

#include <QHash>

#include <memory>
#include <mutex>

class RVLauncher;

class RVLinuxWorkspace : public RVWorkspace
{
public:
    // localApplications: the system-wide applications folder ("/Applications").
    RVLinuxWorkspace(std::shared_ptr<RVLauncher> launcher, const QString& localApplications);

    bool recycle(const QString& folder, const QStringList& names) override;
    bool putBackRecycled(const QString& path) override;
    void noteFileSystemChanged(const QString& path) override;
    QString iconForFile(const QString& path) override;
    bool openApplication(const QString& path) override;
    int registerApplication(const QString& path) override;
    QStringList loginItems() override;
    QString localApplicationsDirectory() override;
    QString userApplicationsDirectory() override;
    // The invoking user's home when root runs for PKEXEC_UID, else our own.
    QString homeDirectory() override;

private:
    std::shared_ptr<RVLauncher> m_launcher;
    QString m_localApplications;
    std::mutex m_recycledMutex;
    QHash<QString, RVTrash::Result> m_recycled; // by the path each item had
};
