#include "RVPkexecAuthorization.h"

#include "RVFd.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

constexpr int kDismissed = 126;
constexpr int kRefusedOrFailed = 127;
constexpr int kPollMilliseconds = 20;

// What pkexec says before it gives up with 127 (its own messages, not translated).
constexpr const char* kNotAuthorizedMessage = "Not authorized";
constexpr const char* kNoAgentMessages[] = {"No authentication agent found",
                                             "Error creating textual authentication agent"};

// The tool must be a file we could run; pkexec would only say 127 otherwise.
int checkTool(const QString& tool)
{
    if (tool.isEmpty())
        return ENOENT;
    const QByteArray path = QFile::encodeName(tool);
    struct stat info {};
    if (::stat(path.constData(), &info) != 0)
        return errno;
    if (!S_ISREG(info.st_mode) || (info.st_mode & 0111) == 0)
        return EACCES;
    return 0;
}

// The name the kernel gives the process: the file name it last executed, cut to 15 bytes.
// It becomes the tool's when pkexec execs the tool.
QByteArray commandOf(pid_t pid)
{
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
    return comm.open(QIODevice::ReadOnly) ? comm.readAll().trimmed() : QByteArray();
}

QByteArray commandNameOf(const QString& program)
{
    return QFile::encodeName(program.section(u'/', -1)).left(15);
}

struct Relayed
{
    QByteArray said; // the beginning of it, enough for pkexec's message
    bool started = false;
};

// Passes what the child writes on standard error on to ours, keeping the beginning to read
// pkexec's message, and calls toolStarted once the child has become the tool. Returns at
// the end of the output.
Relayed relayUntilEnd(int readEnd, pid_t pid, const QByteArray& toolName, const std::function<void()>& toolStarted)
{
    Relayed relay;
    for (;;) {
        if (!relay.started && commandOf(pid) == toolName) {
            relay.started = true;
            toolStarted();
        }
        pollfd watched{readEnd, POLLIN, 0};
        const int ready = ::poll(&watched, 1, kPollMilliseconds);
        if (ready < 0 && errno != EINTR)
            break;
        if (ready <= 0)
            continue;
        char buffer[4096];
        const ssize_t count = ::read(readEnd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, buffer, size_t(count));
        if (relay.said.size() < 65536)
            relay.said.append(buffer, count);
    }
    return relay;
}

} // namespace

RVAuthorization::Outcome RVPkexecAuthorization::executeWithPrivileges(const QString& tool,
                                                                      const QStringList& arguments,
                                                                      const std::function<void()>& toolStarted)
{
    Outcome outcome;
    if (const int error = checkTool(tool); error != 0) {
        outcome.error = error;
        return outcome;
    }
    std::vector<QByteArray> storage{QFile::encodeName(m_pkexec), QFile::encodeName(tool)};
    for (const QString& argument : arguments)
        storage.push_back(argument.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& s : storage)
        argv.push_back(s.data());
    argv.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        outcome.error = errno;
        return outcome;
    }
    RVFd readEnd(ends[0]);
    RVFd writeEnd(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDERR_FILENO);
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    writeEnd = RVFd();
    if (error != 0) {
        outcome.error = error;
        return outcome;
    }
    const Relayed relay = relayUntilEnd(readEnd.get(), pid, commandNameOf(tool), toolStarted);

    // Wait for this child only: other children of the installer are not ours to reap.
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            outcome.kind = Outcome::Kind::Unobserved;
            return outcome;
        }
    }
    // 126 and 127 are pkexec's own only while the tool has not run: a tool seen started
    // owns its status. A tool that ends between two looks is judged by the status alone.
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (!relay.started && code == kDismissed) {
        outcome.kind = Outcome::Kind::Cancelled;
    } else if (!relay.started && code == kRefusedOrFailed) {
        if (std::any_of(std::begin(kNoAgentMessages), std::end(kNoAgentMessages),
                        [&](const char* message) { return relay.said.contains(message); }))
            outcome.kind = Outcome::Kind::NoAgent;
        else if (relay.said.contains(kNotAuthorizedMessage))
            outcome.kind = Outcome::Kind::NotAuthorized;
        else
            outcome.error = code; // pkexec could not start it: its message is in the log
    } else {
        outcome.kind = Outcome::Kind::Finished;
        outcome.exited = WIFEXITED(status);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
    }
    return outcome;
}
