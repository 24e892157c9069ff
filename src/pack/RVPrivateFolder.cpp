#include "RVPrivateFolder.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Whether the kernel lets a program in folder run: asked of a real executable file there,
// so that noexec mounts and policies that forbid it answer, whatever the folder's name.
bool mayRunProgramsIn(const std::string& folder)
{
    const std::string probe = folder + "/.run-probe";
    const int fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0700);
    if (fd < 0)
        return false;
    ::close(fd);
    const bool runs = ::faccessat(AT_FDCWD, probe.c_str(), X_OK, AT_EACCESS) == 0;
    ::unlink(probe.c_str());
    return runs;
}

} // namespace

std::vector<std::string> RVPrivateFolder::candidates()
{
    std::vector<std::string> places;
    if (const std::string runtime = environment("XDG_RUNTIME_DIR"); !runtime.empty())
        places.push_back(runtime);
    places.push_back("/tmp");
    std::string cache = environment("XDG_CACHE_HOME");
    if (cache.empty() && !environment("HOME").empty())
        cache = environment("HOME") + "/.cache";
    if (!cache.empty())
        places.push_back(cache + "/velmora");
    return places;
}

std::string RVPrivateFolder::make(const std::vector<std::string>& places)
{
    for (const std::string& place : places) {
        // Our own folder in the cache is made when missing, for the user alone.
        if (place.size() > 8 && place.compare(place.size() - 8, 8, "/velmora") == 0) {
            ::mkdir(place.substr(0, place.size() - 8).c_str(), 0700);
            ::mkdir(place.c_str(), 0700);
        }
        std::string pattern = place + "/velmora-XXXXXX";
        if (!::mkdtemp(pattern.data()))
            continue;
        const std::string inner = pattern + "/AppTranslocation";
        if (::mkdir(inner.c_str(), 0700) == 0 && mayRunProgramsIn(inner))
            return pattern;
        remove(pattern);
    }
    return {};
}

void RVPrivateFolder::remove(const std::string& folder)
{
    // A product may hold folders without write permission: open them up first.
    ::nftw(
        folder.c_str(),
        [](const char* path, const struct stat* info, int type, FTW*) {
            if (type == FTW_D && (info->st_mode & 0700) != 0700)
                ::chmod(path, 0700);
            return 0;
        },
        16, FTW_PHYS | FTW_MOUNT);
    ::nftw(
        folder.c_str(),
        [](const char* path, const struct stat*, int type, FTW*) {
            if (type == FTW_DP)
                ::rmdir(path);
            else
                ::unlink(path);
            return 0;
        },
        16, FTW_DEPTH | FTW_PHYS | FTW_MOUNT);
}
