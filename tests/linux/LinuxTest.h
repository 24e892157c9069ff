#pragma once

// What the tests of the Linux layer share: the unprivileged user, running programs, files.

#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <poll.h>
#include <pwd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

struct TestUser
{
    uid_t uid = 0;
    gid_t gid = 0;
    QString home;
    // setpriv's arguments that drop to the user.
    QStringList drop() const
    {
        return {u"--reuid=%1"_s.arg(uid), u"--regid=%1"_s.arg(gid), u"--clear-groups"_s};
    }
    // Gives the tree to the user (links themselves, not their targets).
    void own(const QString& root) const
    {
        QProcess::execute(u"chown"_s, {u"-hR"_s, u"%1:%2"_s.arg(uid).arg(gid), root});
    }
};

// The user of tests/linux/with-test-user.sh, when we run as root and can act for it.
inline std::optional<TestUser> testUser()
{
    const QByteArray name = qgetenv("RV_TEST_USER");
    const struct passwd* entry = name.isEmpty() ? nullptr : ::getpwnam(name.constData());
    if (!entry || ::getuid() != 0)
        return std::nullopt;
    return TestUser{entry->pw_uid, entry->pw_gid, QFile::decodeName(entry->pw_dir)};
}

// A test that acts for the user of tests/linux/with-test-user.sh; skipped without it.
class TestUserTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const auto found = testUser();
        if (!found)
            GTEST_SKIP() << "needs root and the user of tests/linux/with-test-user.sh";
        user = *found;
    }

    TestUser user;
};

// Runs a program with PATH and the given variables only (the whole environment when
// inherit), feeds it input and answers its output and errors.
inline QString runProgram(const QString& program, const QStringList& arguments,
                          const QStringList& variables = {}, const QByteArray& input = {},
                          bool inherit = false)
{
    QProcess process;
    QProcessEnvironment environment =
        inherit ? QProcessEnvironment::systemEnvironment() : QProcessEnvironment();
    if (!inherit)
        environment.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
    for (const QString& variable : variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(30000);
    return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
}

inline struct stat statOf(const QString& path)
{
    struct stat info {};
    ::lstat(QFile::encodeName(path).constData(), &info);
    return info;
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void editFile(const QString& path, const std::function<void(QByteArray&)>& edit)
{
    QByteArray bytes = readFile(path);
    edit(bytes);
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(bytes);
}

// The names an inotify watch reported within timeout milliseconds.
inline QStringList inotifyNames(int watch, int timeout)
{
    pollfd ready{watch, POLLIN, 0};
    if (::poll(&ready, 1, timeout) <= 0)
        return {};
    alignas(inotify_event) char buffer[4096];
    const ssize_t length = ::read(watch, buffer, sizeof buffer);
    QStringList names;
    for (ssize_t at = 0; at < length;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        at += ssize_t(sizeof(inotify_event) + event->len);
        if (event->len)
            names << QFile::decodeName(event->name);
    }
    return names;
}
