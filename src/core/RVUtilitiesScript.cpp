#include "RVUtilities.h"

#include "RVLog.h"
#include "RVPaths.h"
#include "RVPlatform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <chrono>
#include <fcntl.h>
#include <stdlib.h>
#include <thread>
#include <unistd.h>

namespace {

// Closes a descriptor when it goes out of scope.
struct FileDescriptor
{
    int fd = -1;
    ~FileDescriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

QString failure(const QString& name, const QString& why)
{
    return RVFormat(QStringLiteral("script %@ failed: %@"), {name, why});
}

// Null when the bytes are not valid UTF-8.
QString decodeUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return {};
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace

QString RVUtilities::runShellScriptWithParametersTimeout(const QString& script,
                                                         const std::optional<QStringList>& parameters,
                                                         double timeout)
{
    const QString path =
        RVPaths::stringByExpandingTildeInPath(script, RVPlatform::current().systemFacts().homeDirectory());
    const QString name = RVPaths::lastPathComponent(path);

    QByteArray outputPath = QFile::encodeName(QDir::tempPath()) + "/script-output-XXXXXX";
    FileDescriptor output{::mkostemp(outputPath.data(), O_CLOEXEC)};
    if (output.fd < 0)
        return failure(name, QStringLiteral("cannot create a temporary file"));
    FileDescriptor input{::open("/dev/null", O_RDONLY | O_CLOEXEC)};
    if (input.fd < 0)
        return failure(name, QStringLiteral("cannot open /dev/null"));

    RVLaunchRequest request;
    request.executable = path;
    request.arguments = parameters.value_or(QStringList());
    request.workingDirectory = RVPlatform::current().systemFacts().homeDirectory();
    request.standardInput = input.fd;
    request.standardOutput = output.fd;
    request.standardError = output.fd;
    RVLaunchResult launched = RVPlatform::current().launcher().launch(request);
    if (!launched.task)
        return failure(name, launched.error); // the output file stays, as after any failure

    const auto start = std::chrono::steady_clock::now();
    while (launched.task->isRunning()) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        if (double(float(elapsed.count())) > timeout) {
            RVLog(QStringLiteral("script timeout: %@ %@"), name,
                  parameters ? QVariant(*parameters) : QVariant());
            launched.task->terminate();
            break;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(1000));
    }
    launched.task->terminate();

    QFile file(QFile::decodeName(outputPath));
    if (!file.open(QIODevice::ReadOnly))
        return failure(name, QStringLiteral("cannot read the output of the script"));
    const QString text = decodeUtf8(file.readAll());
    ::unlink(outputPath.constData());
    return text;
}

void RVUtilities::openFile(const QString& path)
{
    RVLaunchRequest request;
    request.executable = RVPlatform::current().systemFacts().openerPath();
    request.arguments = {path};
    request.ownSession = true;
    const RVLaunchResult started = RVPlatform::current().launcher().launch(request);
    if (!started.task)
        RVLog(QStringLiteral("could not open %@ with %@: %@"), path, request.executable, started.error);
}
