#pragma once

#include "RVLaunchEnvironment.h"
#include "RVProcessTable.h"

#include <memory>

// The launch environment of a Linux desktop: /proc, statfs with the mount table, the X
// screensaver extension, the widget palette.
class RVLinuxLaunchEnvironment : public RVLaunchEnvironment
{
public:
    explicit RVLinuxLaunchEnvironment(std::shared_ptr<RVProcessTable> table);

    QString launcherCreator() override;
    FileSystemInfo fileSystemInfo(const QString& path) override;
    std::optional<std::uint64_t> idleNanoseconds() override;
    int controlTint() override;
    bool isTraced() override;
    std::optional<QString> aliasTarget(const QString& path) override;

    // The type of the mount that holds path (canonical), from a mountinfo table; empty when
    // none does.
    static QString mountTypeFor(const QString& path, const QByteArray& mountInfo);

private:
    std::shared_ptr<RVProcessTable> m_table;
};
