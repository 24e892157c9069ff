#pragma once

#include <string>

namespace RVPackage {

// Writes launcher (the program only, without any payload of its own) followed by bundle
// as an archive to output, executable. The archive holds the bundle's folder with its
// links, hard links, modes and times, compressed with zstd at level. Empty on success,
// else why not.
std::string write(const std::string& launcher, const std::string& bundle, const std::string& output, int level);

} // namespace RVPackage
