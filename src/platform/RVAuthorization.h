#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// Runs a tool with administrator rights after asking the user.
class RVAuthorization
{
public:
    virtual ~RVAuthorization() = default;

    struct Outcome
    {
        enum class Kind {
            Finished,     // the tool ran; see exited/status
            Cancelled,     // the user dismissed the dialog
            NotAuthorized, // refused
            NoAgent,       // nothing in the session can ask the user
            NotStarted,    // the tool could not be started at all
            Unobserved,    // the tool was started but its end could not be seen
        };
        Kind kind = Kind::NotStarted;
        bool exited = false; // normal exit (else ended by a signal)
        int status = 0;      // exit status, or the signal
        int error = 0;       // for NotStarted: an errno value
    };
    // toolStarted is called, on the calling thread, once the rights were given and the tool
    // runs (while it works).
    virtual Outcome executeWithPrivileges(const QString& tool, const QStringList& arguments,
                                          const std::function<void()>& toolStarted) = 0;
};
