#pragma once

#include "RVAuthorization.h"

// pkexec runs the tool as root after polkit asked the user. Its own exit codes tell the
// outcome: 126 the user dismissed the dialog, 127 not authorized or pkexec failed; any
// other status is the tool's.
class RVPkexecAuthorization : public RVAuthorization
{
public:
    explicit RVPkexecAuthorization(const QString& pkexec = QStringLiteral("/usr/bin/pkexec"))
        : m_pkexec(pkexec)
    {
    }
    Outcome executeWithPrivileges(const QString& tool, const QStringList& arguments) override;

private:
    QString m_pkexec;
};
