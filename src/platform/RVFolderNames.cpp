#include "RVFolderNames.h"

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

std::optional<std::vector<std::string>> RVNamesIn(int folder)
{
    DIR* listing = ::fdopendir(::dup(folder));
    if (!listing)
        return std::nullopt;
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(listing)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.emplace_back(entry->d_name);
    }
    const int listError = errno;
    ::closedir(listing);
    errno = listError;
    if (listError != 0)
        return std::nullopt;
    return names;
}
