// InstallApplication on a generated 300 MB bundle (thousands of small files, some large ones,
// symbolic links), against `cp -a` on the same disk, alternating, five runs each. Prints the
// medians and their ratio.
#include "InstallFunction.h"
#include "RVLinuxPlatform.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRuns = 5;

void writeFile(const QString& path, qint64 size)
{
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    QByteArray block(64 * 1024, '\0');
    for (qint64 left = size; left > 0; left -= block.size()) {
        for (qsizetype i = 0; i < block.size(); i += 8)
            *reinterpret_cast<quint64*>(block.data() + i) = QRandomGenerator::global()->generate64();
        f.write(block.constData(), std::min<qint64>(left, block.size()));
    }
}

QString makeBundle(const QString& root)
{
    const QString app = root + QStringLiteral("/Big.app");
    QDir().mkpath(app + QStringLiteral("/Contents/MacOS"));
    writeFile(app + QStringLiteral("/Contents/MacOS/Big"), 20 * 1024 * 1024);
    for (int d = 0; d < 50; ++d) {
        const QString dir = app + QStringLiteral("/Contents/Resources/Group%1").arg(d);
        QDir().mkpath(dir);
        for (int f = 0; f < 100; ++f)
            writeFile(dir + QStringLiteral("/item%1.dat").arg(f), 2048 + (f * 397) % 14000);
        QFile::link(QStringLiteral("item0.dat"), dir + QStringLiteral("/alias.dat"));
        QFile::link(QStringLiteral("../Group0"), dir + QStringLiteral("/up"));
    }
    for (int f = 0; f < 24; ++f)
        writeFile(app + QStringLiteral("/Contents/Resources/large%1.bin").arg(f), 10 * 1024 * 1024);
    return app;
}

double seconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}


} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    RVLinuxPlatform::install(QCoreApplication::arguments());
    // Beside the build tree, on the disk the product would be installed on.
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/copy-bench-XXXXXX"));
    const QString source = makeBundle(dir.path());
    std::vector<double> ours, cp;
    for (int run = 0; run < kRuns; ++run) {
        const QString a = dir.path() + QStringLiteral("/ours%1/Big.app").arg(run);
        const QString b = dir.path() + QStringLiteral("/cp%1/Big.app").arg(run);
        QDir().mkpath(QFileInfo(b).path());
        ::sync();
        ours.push_back(seconds([&] { InstallApplication(source, a, QString()); }));
        ::sync();
        cp.push_back(seconds([&] { QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), source, b}); }));
        QDir(QFileInfo(a).path()).removeRecursively();
        QDir(QFileInfo(b).path()).removeRecursively();
    }
    std::printf("bundle: 300 MB, 5000 small files, 24 large files, 100 symbolic links\n");
    std::printf("InstallApplication median: %8.3f s\n", median(ours));
    std::printf("cp -a median:              %8.3f s\n", median(cp));
    std::printf("ratio InstallApplication / cp -a: %.2f\n", median(ours) / median(cp));
    return 0;
}
