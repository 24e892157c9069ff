#pragma once

#include "RVWorkspace.h"

#include <memory>

class RVLauncher;

class RVLinuxWorkspace : public RVWorkspace
{
public:
    // localApplications: the system-wide applications folder ("/Applications").
    RVLinuxWorkspace(std::shared_ptr<RVLauncher> launcher, const QString& localApplications);

    bool recycle(const QString& folder, const QStringList& names) override;
    bool recycleReplaced(const QString& path, const QString& originalPath) override;
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
};
