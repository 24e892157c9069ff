// One pass over the process table with 300 running bundle processes, side by side with
// `ps -e -o pid,comm` on the same table. Prints the median times and their ratio.
#include "RVLinuxPlatform.h"
#include "RVProcess.h"
#include "TestApps.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

constexpr int kBundles = 10;
constexpr int kProcessesPerBundle = 30;
constexpr int kRuns = 30;

double medianMilliseconds(const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < kRuns; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void runPs()
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    char* argv[] = {const_cast<char*>("ps"), const_cast<char*>("-e"), const_cast<char*>("-o"),
                    const_cast<char*>("pid,comm"), nullptr};
    pid_t pid = 0;
    if (posix_spawnp(&pid, "ps", &actions, nullptr, argv, environ) == 0)
        waitpid(pid, nullptr, 0);
    posix_spawn_file_actions_destroy(&actions);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    RVLinuxPlatform::install(QCoreApplication::arguments());
    QTemporaryDir dir;
    std::vector<std::unique_ptr<RunningApp>> apps;
    for (int b = 0; b < kBundles; ++b) {
        const QString name = QStringLiteral("Bench%1").arg(b);
        const QString bundle = makeTestBundle(dir.path(), {name, QStringLiteral("bench"), QStringLiteral("BN%1").arg(b, 2, 10, QLatin1Char('0')),
                                                           QStringLiteral("com.example.bench%1").arg(b), QStringLiteral("1.0")});
        for (int i = 0; i < kProcessesPerBundle; ++i)
            apps.push_back(std::make_unique<RunningApp>(bundle, QStringLiteral("bench")));
    }
    for (auto& app : apps)
        app->waitForLine(QStringLiteral("ready"));

    std::size_t found = 0;
    const double enumerate = medianMilliseconds([&] {
        RVProcess::resetCacheForTesting();
        found = RVProcess::allProcesses().size();
    });
    const double withNames = medianMilliseconds([&] {
        RVProcess::resetCacheForTesting();
        for (const auto& process : RVProcess::allProcesses()) {
            process->name();
            process->signature();
        }
    });
    const double ps = medianMilliseconds(runPs);

    std::printf("processes running from bundles: %zu, applications found: %zu\n", apps.size(), found);
    std::printf("allProcesses pass:                %8.3f ms\n", enumerate);
    std::printf("allProcesses + name + signature:  %8.3f ms\n", withNames);
    std::printf("ps -e -o pid,comm:                %8.3f ms\n", ps);
    std::printf("ratio allProcesses / ps:          %8.2f\n", enumerate / ps);
    std::printf("ratio with names / ps:            %8.2f\n", withNames / ps);
    return found >= apps.size() ? 0 : 1;
}
