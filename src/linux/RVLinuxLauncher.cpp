#include "RVLinuxLauncher.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

class LinuxTask : public RVTask
{
public:
    explicit LinuxTask(pid_t pid) : m_pid(pid) {}
    ~LinuxTask() override
    {
        if (!m_reaped) {
            // Whoever started it no longer watches it; still, it must not stay a zombie.
            std::thread([pid = m_pid] {
                while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
                }
            }).detach();
        }
    }

    pid_t processIdentifier() const override { return m_pid; }

    bool isRunning() override
    {
        if (m_reaped)
            return false;
        int status = 0;
        const pid_t result = ::waitpid(m_pid, &status, WNOHANG);
        if (result == 0)
            return true;
        m_reaped = result == m_pid || errno == ECHILD;
        return !m_reaped;
    }

    void terminate() override
    {
        if (!m_reaped)
            ::kill(m_pid, SIGTERM);
    }

private:
    pid_t m_pid;
    bool m_reaped = false;
};

} // namespace

RVLaunchResult RVLinuxLauncher::launch(const RVLaunchRequest& request)
{
    const QByteArray path = QFileInfo(request.executable).absoluteFilePath().toLocal8Bit();
    if (::access(path.constData(), X_OK) != 0) {
        const int error = errno;
        return {nullptr, QStringLiteral("launch path not accessible: %1 (%2)")
                             .arg(request.executable, QString::fromLocal8Bit(strerror(error)))};
    }

    std::vector<QByteArray> storage{path};
    for (const QString& argument : request.arguments)
        storage.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& s : storage)
        argv.push_back(s.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int fds[3] = {request.standardInput, request.standardOutput, request.standardError};
    for (int target = 0; target < 3; ++target) {
        if (fds[target] >= 0)
            posix_spawn_file_actions_adddup2(&actions, fds[target], target);
    }
    const QByteArray directory = request.workingDirectory.toLocal8Bit();
    if (!directory.isEmpty())
        posix_spawn_file_actions_addchdir_np(&actions, directory.constData());

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (request.ownSession)
        flags |= POSIX_SPAWN_SETSID;
    posix_spawnattr_setflags(&attributes, flags);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);

    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, path.constData(), &actions, &attributes, argv.data(),
                                    environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        return {nullptr, QStringLiteral("cannot launch %1: %2")
                             .arg(request.executable, QString::fromLocal8Bit(strerror(error)))};
    }
    return {std::make_unique<LinuxTask>(pid), {}};
}
