#include "RVLinuxSystemFacts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cstdio>
#include <sys/utsname.h>

namespace {

// Higher than every release the "or newer" tests name, so that all of them hold.
constexpr double kAppKitVersionNumber = 2487.0;

QString kernelRelease()
{
    struct utsname name {};
    if (::uname(&name) != 0)
        return {};
    return QString::fromLatin1(name.release);
}

int bcd(int value)
{
    return (value / 10 % 10) * 16 + value % 10;
}

} // namespace

RVLinuxSystemFacts::KernelVersion RVLinuxSystemFacts::parseKernelRelease(const QString& release)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d+)(?:\\.(\\d+)(?:\\.(\\d+))?)?"));
    const QRegularExpressionMatch match = pattern.match(release);
    KernelVersion version;
    auto part = [&](int index) -> std::optional<int> {
        bool ok = false;
        const int value = match.captured(index).toInt(&ok);
        return ok && value >= 0 && value <= 0xffff ? std::optional<int>(value) : std::nullopt;
    };
    if (match.hasMatch()) {
        version.major = part(1);
        version.minor = part(2);
        version.patch = part(3);
    }
    return version;
}

std::optional<std::int32_t> RVLinuxSystemFacts::gestalt(RVOSType selector) const
{
    const KernelVersion v = parseKernelRelease(kernelRelease());
    switch (selector) {
    case RVFourCC("sys1"):
        return v.major;
    case RVFourCC("sys2"):
        return v.minor;
    case RVFourCC("sys3"):
        return v.patch;
    case RVFourCC("sysv"):
        // Packed BCD holds two digits per part; larger releases do not fit.
        if (!v.major || *v.major > 99 || v.minor.value_or(0) > 9 || v.patch.value_or(0) > 9)
            return std::nullopt;
        return (bcd(*v.major) << 8) | (v.minor.value_or(0) << 4) | v.patch.value_or(0);
    default:
        return std::nullopt;
    }
}

double RVLinuxSystemFacts::appKitVersionNumber() const
{
    return kAppKitVersionNumber;
}

QLocale RVLinuxSystemFacts::currentLocale() const
{
    return QLocale::system();
}

QStringList RVLinuxSystemFacts::preferredLanguages() const
{
    return languagesFrom(qEnvironmentVariable("LANGUAGE"), qEnvironmentVariable("LC_ALL"),
                         qEnvironmentVariable("LC_MESSAGES"), qEnvironmentVariable("LANG"));
}

QStringList RVLinuxSystemFacts::languagesFrom(const QString& language, const QString& all, const QString& messages,
                                              const QString& lang)
{
    QStringList wanted = language.split(u':', Qt::SkipEmptyParts);
    for (const QString& locale : {all, messages, lang}) {
        if (!locale.isEmpty()) {
            wanted << locale;
            break;
        }
    }
    QStringList languages;
    for (QString name : wanted) {
        name = name.section(u'.', 0, 0).section(u'@', 0, 0);
        if (name == u"C" || name == u"POSIX")
            name = QStringLiteral("en");
        if (name.isEmpty())
            continue;
        for (const QString& form : {name, name.section(u'_', 0, 0)}) {
            if (!languages.contains(form))
                languages << form;
        }
    }
    return languages;
}

QString RVLinuxSystemFacts::executablePath() const
{
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
}

QString RVLinuxSystemFacts::homeDirectory() const
{
    return QDir::homePath();
}

QString RVLinuxSystemFacts::openerPath() const
{
    return QStringLiteral("/usr/bin/xdg-open");
}

bool RVLinuxSystemFacts::reopenStandardStream(int stream, const QString& path, const char* mode)
{
    FILE* file = stream == 1 ? stdout : stream == 2 ? stderr : nullptr;
    return file && std::freopen(QFile::encodeName(path).constData(), mode, file) != nullptr;
}
