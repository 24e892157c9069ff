#include "FakePlatform.h"
#include "LinuxTest.h"
#include "RVLinuxLauncher.h"
#include "RVPaths.h"
#include "RVUtilities.h"
#include "TempDir.h"

#include <QThread>

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

namespace {

class ScriptRunnerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        platform.facts->home = tmp.mkdir(u"home"_s);
        RVPlatform::install({.launcher = std::make_shared<RVLinuxLauncher>()});
    }

    QString script(const QString& name, const QByteArray& body)
    {
        return tmp.write(name, "#!/bin/sh\n" + body,
                         QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    TempDir tmp;
    FakePlatform platform;
    LogCapture log;
};

TEST_F(ScriptRunnerTest, ReturnsInterleavedOutputOfAScriptThatEndsAtOnce)
{
    const QString path = script(u"quick.sh"_s,
                                "echo out; echo err >&2; echo \"$#:$1|$2\"; pwd; read x || echo no-input\n");
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(
        path, QStringList{u"a b"_s, u"c"_s}, 10.0);
    EXPECT_EQ(output, u"out\nerr\n2:a b|c\n%1\nno-input\n"_s.arg(platform.facts->home));
    EXPECT_TRUE(log.lines().isEmpty());
}

// "~" and "~user" as the shell expands them; parameters are passed as they are.
TEST_F(ScriptRunnerTest, ExpandsTheTildeAsTheShellWould)
{
    tmp.write(u"home/hello.sh"_s, "#!/bin/sh\necho \"hi $1\"\n",
              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_EQ(RVUtilities::runShellScriptWithParametersTimeout(u"~/hello.sh"_s,
                                                               QStringList{u"~"_s}, 10.0),
              u"hi ~\n"_s);
    struct passwd* me = ::getpwuid(::getuid());
    ASSERT_TRUE(me);
    const QString mine = u"~"_s + QString::fromLocal8Bit(me->pw_name);
    const struct
    {
        QString path, expanded;
    } cases[] = {{u"~"_s, u"/h"_s},
                 {u"~/a/b"_s, u"/h/a/b"_s},
                 {mine + u"/x"_s, QFile::decodeName(me->pw_dir) + u"/x"_s},
                 {mine, QFile::decodeName(me->pw_dir)},
                 {u"~no-such-user-here/x"_s, u"~no-such-user-here/x"_s},
                 {u"/a/~/b"_s, u"/a/~/b"_s}};
    for (const auto& c : cases)
        EXPECT_EQ(RVPaths::stringByExpandingTildeInPath(c.path, u"/h"_s), c.expanded) << c.path.toStdString();
}

// A limit of zero stops the script at once; whatever it printed is kept, and the log names
// its parameters (null when there are none).
TEST_F(ScriptRunnerTest, LimitOfZeroTerminatesAndKeepsTheOutputSoFar)
{
    const QString path = script(u"slow.sh"_s, "echo started\nexec sleep 30\n");
    const std::pair<std::optional<QStringList>, QString> cases[] = {{QStringList{u"p"_s}, u"script timeout: slow.sh (p)"_s},
                                                                    {std::nullopt, u"script timeout: slow.sh (null)"_s}};
    for (const auto& [parameters, line] : cases) {
        const qsizetype mark = log.lines().size();
        const QString output = RVUtilities::runShellScriptWithParametersTimeout(path, parameters, 0.0);
        EXPECT_EQ(log.lines().mid(mark), QStringList{line});
        // The script may not have printed yet when it was stopped.
        EXPECT_TRUE(output == u"started\n"_s || output.isEmpty()) << output.toStdString();
    }
}

TEST_F(ScriptRunnerTest, MissingScriptAnswersTheFailureText)
{
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(
        tmp.file(u"absent.sh"_s), std::nullopt, 1.0);
    EXPECT_TRUE(output.startsWith(u"script absent.sh failed: "_s)) << output.toStdString();
    EXPECT_TRUE(output.contains(u"No such file"_s)) << output.toStdString();
    // A trailing slash: the name is still the last component.
    EXPECT_TRUE(RVUtilities::runShellScriptWithParametersTimeout(tmp.file(u"absent.sh/"_s), std::nullopt, 1.0)
                    .startsWith(u"script absent.sh failed: "_s));
}

TEST_F(ScriptRunnerTest, OutputThatIsNotUtf8GivesNull)
{
    const QString path = script(u"latin1.sh"_s, "printf 'caf\\351\\n'\n");
    EXPECT_TRUE(RVUtilities::runShellScriptWithParametersTimeout(path, std::nullopt, 10.0).isNull());
    const QString empty = script(u"silent.sh"_s, "exit 3\n");
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(empty, std::nullopt, 10.0);
    EXPECT_FALSE(output.isNull());
    EXPECT_TRUE(output.isEmpty());
}

// The opener is started with the path and not waited for; one that cannot start is logged.
TEST(OpenFile, TheOpenerIsStartedDetached)
{
    TempDir tmp;
    FakePlatform platform;
    RVUtilities::openFile(u"/tmp/Read Me.rtf"_s);
    ASSERT_EQ(platform.launcher->requests.size(), 1u);
    EXPECT_EQ(platform.launcher->requests[0].executable, u"/usr/bin/xdg-open"_s);
    EXPECT_EQ(platform.launcher->requests[0].arguments, QStringList{u"/tmp/Read Me.rtf"_s});

    RVPlatform::install({.launcher = std::make_shared<RVLinuxLauncher>()});
    const QString marker = tmp.file(u"opened"_s);
    platform.facts->opener = tmp.write(u"opener.sh"_s, "#!/bin/sh\nprintf '%s' \"$1\" > \"$1.opened\"\n",
                                       QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    RVUtilities::openFile(marker);
    for (int i = 0; i < 500 && QFileInfo(marker + u".opened"_s).size() == 0; ++i)
        QThread::msleep(10);
    EXPECT_EQ(QString::fromUtf8(readFile(marker + u".opened"_s)), marker);

    LogCapture log;
    platform.facts->opener = tmp.file(u"no-opener"_s);
    RVUtilities::openFile(marker);
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(u"could not open "_s + marker + u" with "_s + platform.facts->opener + u": "_s));
}

} // namespace
