// InstallApplication on a generated 300 MB bundle (thousands of small files, some large ones,
// symbolic links), against `cp -a` on the same disk, alternating, five runs each; and the
// same bundle signed, whose staged copy is checked before it is put into place. Prints the
// medians and their ratios.
#include "InstallFunction.h"
#include "RVBundleSignature.h"
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

constexpr int kRuns = 6;

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

// A copy of app that names a new key in its Info.plist and is signed with it.
QString makeSignedCopy(const QString& app, const QString& folder)
{
    QDir().mkpath(folder);
    const QString copy = folder + QStringLiteral("/Big.app");
    QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), app, copy});
    const QByteArray seed = RVBundleSignature::newSeed();
    QFile info(copy + QStringLiteral("/Contents/Info.plist"));
    info.open(QIODevice::WriteOnly);
    info.write("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Big</string>"
               "<key>VelmoraPublicEDKey</key><string>" +
               RVBundleSignature::publicKeyOfSeed(seed).toBase64() + "</string></dict></plist>");
    info.close();
    const auto tree = RVBundleSignature::readTree(copy, true, nullptr);
    const QString signature = copy + u'/' + QLatin1String(RVBundleSignature::kFolder);
    QDir().mkpath(signature);
    QFile manifest(signature + u'/' + QLatin1String(RVBundleSignature::kManifestName));
    QFile signatures(signature + u'/' + QLatin1String(RVBundleSignature::kSignaturesName));
    if (!tree || !manifest.open(QIODevice::WriteOnly) || !signatures.open(QIODevice::WriteOnly))
        return {};
    manifest.write(tree->manifest);
    signatures.write(RVBundleSignature::signaturesText({RVBundleSignature::sign(tree->manifest, seed)}));
    return copy;
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
    const QString signedSource = makeSignedCopy(source, dir.path() + QStringLiteral("/signed"));
    if (signedSource.isEmpty()) {
        std::fprintf(stderr, "could not sign the bench bundle\n");
        return 1;
    }
    std::vector<double> ours, signedInstall, cp;
    for (int run = 0; run < kRuns; ++run) {
        const QString a = dir.path() + QStringLiteral("/ours%1/Big.app").arg(run);
        const QString s = dir.path() + QStringLiteral("/signed%1/Big.app").arg(run);
        const QString b = dir.path() + QStringLiteral("/cp%1/Big.app").arg(run);
        QDir().mkpath(QFileInfo(b).path());
        bool untrusted = false;
        const std::function<void()> steps[] = {
            [&] { ours.push_back(seconds([&] { InstallApplication(source, a, QString()); })); },
            [&] { signedInstall.push_back(seconds([&] { InstallApplication(signedSource, s, QString(), &untrusted); })); },
            [&] { cp.push_back(seconds([&] { QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), source, b}); })); },
        };
        // ext4 makes the first files created after many were deleted pay for skipping the
        // freed inodes: each of the three goes first in turn.
        for (int step = 0; step < 3; ++step) {
            ::sync();
            steps[(run + step) % 3]();
        }
        if (untrusted || !QFile::exists(s)) {
            std::fprintf(stderr, "the signed bundle was refused\n");
            return 1;
        }
        for (const QString& path : {a, s, b})
            QDir(QFileInfo(path).path()).removeRecursively();
    }
    std::printf("bundle: 300 MB, 5000 small files, 24 large files, 100 symbolic links\n");
    std::printf("InstallApplication median:        %8.3f s\n", median(ours));
    std::printf("InstallApplication signed median: %8.3f s\n", median(signedInstall));
    std::printf("cp -a median:                     %8.3f s\n", median(cp));
    std::printf("ratio InstallApplication / cp -a: %.2f\n", median(ours) / median(cp));
    std::printf("ratio signed / unsigned InstallApplication: %.2f\n", median(signedInstall) / median(ours));
    return 0;
}
