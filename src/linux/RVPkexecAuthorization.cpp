#include "RVPkexecAuthorization.h"

#include <QFile>

#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {
constexpr int kDismissed = 126;
constexpr int kNotAuthorized = 127;
} // namespace

RVAuthorization::Outcome RVPkexecAuthorization::executeWithPrivileges(const QString& tool,
                                                                      const QStringList& arguments)
{
    Outcome outcome;
    if (tool.isEmpty()) {
        outcome.error = ENOENT;
        return outcome;
    }
    std::vector<QByteArray> storage{QFile::encodeName(m_pkexec), QFile::encodeName(tool)};
    for (const QString& argument : arguments)
        storage.push_back(argument.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& s : storage)
        argv.push_back(s.data());
    argv.push_back(nullptr);

    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ);
    if (error != 0) {
        outcome.error = error;
        return outcome;
    }
    // Wait for this child only: other children of the installer are not ours to reap.
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            // Its end cannot be seen; count it as done, as the installer always has.
            outcome.kind = Outcome::Kind::Finished;
            outcome.exited = true;
            return outcome;
        }
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == kDismissed) {
        outcome.kind = Outcome::Kind::Cancelled;
    } else if (WIFEXITED(status) && WEXITSTATUS(status) == kNotAuthorized) {
        outcome.kind = Outcome::Kind::NotAuthorized;
    } else {
        outcome.kind = Outcome::Kind::Finished;
        outcome.exited = WIFEXITED(status);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
    }
    return outcome;
}
