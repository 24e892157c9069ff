// The one file against a makeself archive of the same product (Debian's makeself, default
// options): their sizes, and the time from start to the installer's window on screen,
// side by side under the same display. Both unpack into the same folder.
#include "BenchSupport.h"
#include "WindowWatch.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>
#include <vector>

namespace {

constexpr int kRuns = 11;

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: dist_bench <one file> <makeself archive>\n");
        return 64;
    }
    const QString ours = QString::fromLocal8Bit(argv[1]);
    const QString makeself = QString::fromLocal8Bit(argv[2]);
    WindowWatch watch;
    if (!watch) {
        std::fprintf(stderr, "dist_bench: needs a display with a window manager\n");
        return 1;
    }
    std::vector<double> oneFile, reference;
    for (int run = 0; run < kRuns; ++run) {
        oneFile.push_back(watch.timeToWindow(ours, QStringLiteral("Velmora Demo Installer")));
        reference.push_back(watch.timeToWindow(makeself, QStringLiteral("Velmora Demo Installer")));
    }
    const double size = double(QFileInfo(ours).size());
    std::printf("one file:          %10.0f bytes (%.1f MB)\n", size, size / 1e6);
    std::printf("makeself archive:  %10lld bytes (%.1f MB)\n", QFileInfo(makeself).size(),
                double(QFileInfo(makeself).size()) / 1e6);
    std::printf("one file, window shown, median:  %8.1f ms\n", median(oneFile));
    std::printf("makeself, window shown, median:  %8.1f ms\n", median(reference));
    std::printf("ratio one file / makeself: %.2f\n", median(oneFile) / median(reference));
    return 0;
}
