#include "RVLog.h"

#include <QRegularExpression>
#include <QTemporaryFile>

#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(Log, LinesFromTwoThreadsNeverInterleave)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    RVLogging::setProcessName(QStringLiteral("VelmoraInstaller"));
    auto writer = [](const char* who) {
        for (int i = 0; i < 500; ++i)
            RVLog(QStringLiteral("%s line %d of a fairly long text that must stay in one piece %@"), who, i,
                  QStringList{QStringLiteral("a"), QStringLiteral("b")});
    };
    std::thread other(writer, "other");
    writer("main");
    other.join();
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);

    file.seek(0);
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 1000);
    static const QRegularExpression form(QStringLiteral(
        "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} VelmoraInstaller\\[\\d+:\\d+\\] "
        "(main|other) line \\d+ of a fairly long text that must stay in one piece \\(a, b\\)$"));
    for (const QString& line : lines)
        ASSERT_TRUE(form.match(line).hasMatch()) << line.toStdString();
}

} // namespace
