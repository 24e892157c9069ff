#pragma once

#include "RVFourCharCode.h"

#include <QLocale>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

// Facts about the running system that the logic asks for by name.
class RVSystemFacts
{
public:
    virtual ~RVSystemFacts() = default;

    // Answers a Gestalt-style selector: 'sys1', 'sys2', 'sys3' (major, minor, bugfix of the
    // system version) and 'sysv' (the version as packed BCD). Empty when not known.
    virtual std::optional<std::int32_t> gestalt(RVOSType selector) const = 0;
    // The AppKit-equivalent release number that the "or newer" tests read.
    virtual double appKitVersionNumber() const = 0;
    virtual QLocale currentLocale() const = 0;
    // The languages the user reads, most wanted first, as "ll" or "ll_CC" (English for the
    // C and POSIX locales).
    virtual QStringList preferredLanguages() const { return {currentLocale().name()}; }
    // The process's argument list, the program's path first.
    virtual QStringList processArguments() const = 0;
    // The running program's executable, absolute.
    virtual QString executablePath() const = 0;
    virtual QString homeDirectory() const = 0;
    // The folder that the system's own absolute paths (/System, /Library) are taken under:
    // empty for the real root; tests give a folder of their own.
    virtual QString systemRoot() const { return {}; }
    // The program that opens documents and addresses with their default application.
    virtual QString openerPath() const = 0;
    // Reopens standard output (1) or standard error (2) on path with a C library mode.
    virtual bool reopenStandardStream(int stream, const QString& path, const char* mode) = 0;
};
