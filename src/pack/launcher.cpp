// The launcher of a one-file product (written by velmora-pack in front of the product):
// double-clicked, or started from a shell, it unpacks the product into a private temporary
// folder, checks it, runs the installer inside it and removes the folder. It needs only
// what every desktop has (the C library, libxcb, libacl): it carries its own archive and
// hash code, and draws its few words with the X server's core font.
#include "RVPackage.h"
#include "RVPrivateFolder.h"
#include "RVUnpackWindow.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <thread>

extern char** environ;

namespace {

const std::string kInstaller = "Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller";
constexpr int kProgressDelayMs = 500;

std::atomic<pid_t> g_installer{0};
std::atomic<bool> g_stopRequested{false};

// Signals to end reach the installer, which ends as its window would; before it runs they
// stop the unpacking. Either way the private folder is removed.
void forward(int signalNumber)
{
    g_stopRequested = true;
    if (const pid_t pid = g_installer)
        ::kill(pid, signalNumber);
}

std::string baseName(const std::string& path)
{
    return path.substr(path.find_last_of('/') + 1);
}

// A message for the user: standard error always, a window too when there is a display.
void tell(const std::string& title, const std::string& text, std::unique_ptr<RVUnpackWindow> window = nullptr)
{
    std::fprintf(stderr, "%s\n", text.c_str());
    if (!window)
        window = RVUnpackWindow::open(title);
    if (window)
        window->showMessage(text);
}

bool isExecutableFile(const std::string& path)
{
    struct stat info{};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

int runInstaller(const std::string& installer)
{
    char* argv[] = {const_cast<char*>(installer.c_str()), nullptr};
    pid_t pid = 0;
    if (::posix_spawn(&pid, installer.c_str(), nullptr, nullptr, argv, environ) != 0)
        return 127;
    g_installer = pid;
    if (g_stopRequested) // a signal that came just before the installer was known
        ::kill(pid, SIGTERM);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    g_installer = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Unpacks on a thread of its own while this one shows how far it got, once that takes
// longer than a moment. The window stays for a message about the outcome.
std::string unpack(const std::string& self, const RVPackage::Payload& payload, const std::string& folder,
                   std::unique_ptr<RVUnpackWindow>* window, std::string* error)
{
    std::atomic<double> share{0};
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    std::string product;
    std::thread worker([&] {
        product = RVPackage::extract(self, payload, folder + "/AppTranslocation",
                                     [&](double s) {
                                         share = s;
                                         return !g_stopRequested;
                                     },
                                     error);
        const std::lock_guard lock(mutex);
        done = true;
        finished.notify_one();
    });
    {
        std::unique_lock lock(mutex);
        finished.wait_for(lock, std::chrono::milliseconds(kProgressDelayMs), [&] { return done; });
    }
    const std::string title = baseName(self);
    for (;;) {
        {
            const std::lock_guard lock(mutex);
            if (done)
                break;
        }
        if (!*window)
            *window = RVUnpackWindow::open(title);
        if (!*window) {
            std::unique_lock lock(mutex);
            finished.wait(lock, [&] { return done; });
            break;
        }
        if (!(*window)->showProgress("Unpacking " + title + "...", share, 30))
            g_stopRequested = true; // the user closed the window
    }
    worker.join();
    return product;
}

} // namespace

int main(int argc, char* argv[])
{
    char selfBuffer[4096];
    const ssize_t length = ::readlink("/proc/self/exe", selfBuffer, sizeof selfBuffer - 1);
    const std::string self = length > 0 ? std::string(selfBuffer, std::size_t(length)) : std::string(argv[0]);
    const std::string title = baseName(self);
    const auto payload = RVPackage::payloadOf(self);
    if (!payload && !RVPackage::carriesData(self)) {
        std::fprintf(stderr, "%s: the launcher of a one-file product carries no product; velmora-pack puts one after it\n",
                     argc > 0 ? argv[0] : "velmora-launcher");
        return 64;
    }

    for (const int s : {SIGTERM, SIGINT, SIGHUP})
        std::signal(s, forward);
    const std::string folder = RVPrivateFolder::make(RVPrivateFolder::candidates());
    if (folder.empty()) {
        tell(title, title + " cannot be unpacked: no private temporary folder could be made where programs may run.");
        return 1;
    }
    std::string error = "it is cut short";
    std::unique_ptr<RVUnpackWindow> window;
    const std::string product = payload ? unpack(self, *payload, folder, &window, &error) : std::string();
    int status = 1;
    if (g_stopRequested) {
        status = 2; // ended before the installer ran, as a cancel
    } else if (product.empty()) {
        RVPrivateFolder::remove(folder);
        tell(title, title + " is damaged or incomplete (" + error + "). Download it again.", std::move(window));
        return 1;
    } else if (!isExecutableFile(product + '/' + kInstaller)) {
        RVPrivateFolder::remove(folder);
        tell(title, title + " holds no installer.", std::move(window));
        return 1;
    } else {
        window.reset();
        status = runInstaller(product + '/' + kInstaller);
    }
    RVPrivateFolder::remove(folder);
    return status;
}
