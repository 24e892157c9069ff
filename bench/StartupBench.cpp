// Time from process start to the window shown: the installer (from inside the demo product)
// against a minimal Qt Widgets program that shows one window, side by side under the same
// display. The window's appearance is seen through the window manager's client list, polled
// every millisecond.
#include "BenchSupport.h"
#include "WindowWatch.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <cstdio>
#include <vector>

namespace {

// The window manager answers in two modes a few milliseconds apart, for any program: enough
// runs that the median does not flip between them.
constexpr int kRuns = 31;

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: startup_bench <installer> <minimal program> [<program with a label>]\n");
        return 64;
    }
    const QString installer = QString::fromLocal8Bit(argv[1]);
    const QString minimal = QString::fromLocal8Bit(argv[2]);
    const QString labelled = argc == 4 ? QString::fromLocal8Bit(argv[3]) : QString();
    WindowWatch watch;
    if (!watch) {
        std::fprintf(stderr, "startup_bench: needs a display with a window manager\n");
        return 1;
    }
    std::vector<double> ours, reference, withText;
    for (int run = 0; run < kRuns; ++run) {
        ours.push_back(watch.timeToWindow(installer, QStringLiteral("Velmora Demo Installer")));
        reference.push_back(watch.timeToWindow(minimal, QStringLiteral("Minimal Window")));
        if (!labelled.isEmpty())
            withText.push_back(watch.timeToWindow(labelled, QStringLiteral("Label Window")));
    }
    std::printf("installer window shown, median:      %8.1f ms\n", median(ours));
    std::printf("minimal Qt window shown, median:     %8.1f ms\n", median(reference));
    if (!withText.empty())
        std::printf("window with one label, median:       %8.1f ms\n", median(withText));
    std::printf("ratio installer / minimal: %.2f\n", median(ours) / median(reference));
    if (!withText.empty())
        std::printf("ratio label window / minimal: %.2f (text alone)\n", median(withText) / median(reference));
    return 0;
}
