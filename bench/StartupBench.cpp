// Time from process start to the window shown: the installer (from inside the demo product)
// against a minimal Qt Widgets program that shows one window, side by side under the same
// display. The window's appearance is seen through the window manager's client list, polled
// every millisecond.
#include "BenchSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

namespace {

// The window manager answers in two modes a few milliseconds apart, for any program: enough
// runs that the median does not flip between them.
constexpr int kRuns = 31;

bool windowListed(xcb_ewmh_connection_t* ewmh, const QByteArray& title)
{
    xcb_ewmh_get_windows_reply_t list;
    if (!xcb_ewmh_get_client_list_reply(ewmh, xcb_ewmh_get_client_list(ewmh, 0), &list, nullptr))
        return false;
    bool found = false;
    for (uint32_t i = 0; i < list.windows_len && !found; ++i) {
        xcb_ewmh_get_utf8_strings_reply_t name;
        if (xcb_ewmh_get_wm_name_reply(ewmh, xcb_ewmh_get_wm_name(ewmh, list.windows[i]), &name, nullptr)) {
            found = QByteArray(name.strings, int(name.strings_len)) == title;
            xcb_ewmh_get_utf8_strings_reply_wipe(&name);
        }
    }
    xcb_ewmh_get_windows_reply_wipe(&list);
    return found;
}

// Starts program and waits until the window manager lists a window with title; milliseconds.
double timeToWindow(xcb_ewmh_connection_t* ewmh, const QString& program, const QString& title)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.start(program, {});
    while (!windowListed(ewmh, title.toUtf8()) && timer.elapsed() < 30000)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const double elapsed = double(timer.nsecsElapsed()) / 1e6;
    process.kill();
    process.waitForFinished(5000);
    while (windowListed(ewmh, title.toUtf8()) && timer.elapsed() < 60000)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return elapsed;
}


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
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    xcb_ewmh_connection_t ewmh;
    if (xcb_connection_has_error(connection) ||
        !xcb_ewmh_init_atoms_replies(&ewmh, xcb_ewmh_init_atoms(connection, &ewmh), nullptr)) {
        std::fprintf(stderr, "startup_bench: needs a display with a window manager\n");
        return 1;
    }
    std::vector<double> ours, reference, withText;
    for (int run = 0; run < kRuns; ++run) {
        ours.push_back(timeToWindow(&ewmh, installer, QStringLiteral("Velmora Demo Installer")));
        reference.push_back(timeToWindow(&ewmh, minimal, QStringLiteral("Minimal Window")));
        if (!labelled.isEmpty())
            withText.push_back(timeToWindow(&ewmh, labelled, QStringLiteral("Label Window")));
    }
    xcb_ewmh_connection_wipe(&ewmh);
    xcb_disconnect(connection);
    std::printf("installer window shown, median:      %8.1f ms\n", median(ours));
    std::printf("minimal Qt window shown, median:     %8.1f ms\n", median(reference));
    if (!withText.empty())
        std::printf("window with one label, median:       %8.1f ms\n", median(withText));
    std::printf("ratio installer / minimal: %.2f\n", median(ours) / median(reference));
    if (!withText.empty())
        std::printf("ratio label window / minimal: %.2f (text alone)\n", median(withText) / median(reference));
    return 0;
}
