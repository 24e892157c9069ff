#pragma once

#include "RVSystemFacts.h"

#include <optional>

// System facts of a Linux machine: the kernel release stands for the system version.
class RVLinuxSystemFacts : public RVSystemFacts
{
public:
    explicit RVLinuxSystemFacts(const QStringList& arguments) : m_arguments(arguments) {}

    std::optional<std::int32_t> gestalt(RVOSType selector) const override;
    double appKitVersionNumber() const override;
    QLocale currentLocale() const override;
    // From LANGUAGE (a colon-separated list), then the first of LC_ALL, LC_MESSAGES and LANG
    // that is set, as gettext reads them.
    QStringList preferredLanguages() const override;
    // The same from given values: codeset and modifier dropped ("de_DE.UTF-8@euro" is
    // "de_DE"), each regional language followed by its base language, no repeats.
    static QStringList languagesFrom(const QString& language, const QString& all, const QString& messages,
                                     const QString& lang);
    QStringList processArguments() const override { return m_arguments; }
    QString executablePath() const override;
    QString homeDirectory() const override;
    QString openerPath() const override;
    bool reopenStandardStream(int stream, const QString& path, const char* mode) override;

    // The leading "major.minor.patch" numbers of a kernel release such as
    // "6.1.0-18-amd64"; a part that is missing is empty.
    struct KernelVersion
    {
        std::optional<int> major, minor, patch;
    };
    static KernelVersion parseKernelRelease(const QString& release);

private:
    QStringList m_arguments;
};
