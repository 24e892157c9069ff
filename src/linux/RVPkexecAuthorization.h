#pragma once

#include "RVAuthorization.h"

// pkexec runs the tool as root after polkit asked the user. Its exit codes 126 (dismissed)
// and 127 (refused, no agent, or pkexec failed) are told apart by its own message on
// standard error, which is passed on to ours; the tool has started when the process has
// become it (pkexec execs the tool in its place). Any other status is the tool's.
class RVPkexecAuthorization : public RVAuthorization
{
public:
    explicit RVPkexecAuthorization(const QString& pkexec = QStringLiteral("/usr/bin/pkexec"))
        : m_pkexec(pkexec)
    {
    }
    Outcome executeWithPrivileges(const QString& tool, const QStringList& arguments,
                                  const std::function<void()>& toolStarted) override;

private:
    QString m_pkexec;
};
