#pragma once

#include <QString>
#include <QStringList>

// Runs a tool with administrator rights after asking the user.
class RVAuthorization
{
public:
    virtual ~RVAuthorization() = default;

    struct Outcome
    {
        enum class Kind {
            Finished,     // the tool ran; see exited/status
            Cancelled,    // the user dismissed the dialog
            NotAuthorized, // refused, or the authorization agent failed
            NotStarted,   // the tool could not be started at all
        };
        Kind kind = Kind::NotStarted;
        bool exited = false; // normal exit (else ended by a signal)
        int status = 0;      // exit status, or the signal
        int error = 0;       // for NotStarted: errno
    };
    virtual Outcome executeWithPrivileges(const QString& tool, const QStringList& arguments) = 0;
};
