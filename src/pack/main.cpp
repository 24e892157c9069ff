// velmora-pack: one file to ship a product with its installer.
//
//   velmora-pack [--level N] PRODUCT.app OUTPUT
//
// writes OUTPUT: the launcher (velmora-launcher, found beside this program) followed by
// the product, compressed with zstd at level N (default 19: the smallest file, packed
// once, unpacked by every user).
#include "RVPackageWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const std::string kInstaller = "Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller";
constexpr int kDefaultLevel = 19;

std::string folderOfThisProgram()
{
    char buffer[4096];
    const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    const std::string self(buffer, length > 0 ? std::size_t(length) : 0);
    return self.substr(0, self.find_last_of('/'));
}

int usage()
{
    std::fprintf(stderr, "usage: velmora-pack [--level 1-22] PRODUCT.app OUTPUT\n");
    return 64;
}

} // namespace

int main(int argc, char* argv[])
{
    int level = kDefaultLevel;
    int first = 1;
    if (argc > 2 && std::strcmp(argv[1], "--level") == 0) {
        char* end = nullptr;
        level = int(std::strtol(argv[2], &end, 10));
        if (*end != '\0' || level < 1 || level > 22)
            return usage();
        first = 3;
    }
    if (argc - first != 2)
        return usage();
    const std::string product = argv[first];
    const std::string output = argv[first + 1];

    if (::access((product + '/' + kInstaller).c_str(), X_OK) != 0) {
        std::fprintf(stderr, "velmora-pack: %s holds no %s: put the installer into the product first\n",
                     product.c_str(), kInstaller.c_str());
        return 2;
    }
    const std::string launcher = folderOfThisProgram() + "/velmora-launcher";
    if (::access(launcher.c_str(), R_OK) != 0) {
        std::fprintf(stderr, "velmora-pack: no launcher at %s\n", launcher.c_str());
        return 2;
    }
    const std::string error = RVPackage::write(launcher, product, output, level);
    if (!error.empty()) {
        std::fprintf(stderr, "velmora-pack: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
