#include "FakePlatform.h"
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
        platform.facts->home = tmp.mkdir(QStringLiteral("home"));
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
    const QString path = script(QStringLiteral("quick.sh"),
                                "echo out; echo err >&2; echo \"$#:$1|$2\"; pwd; read x || echo no-input\n");
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(
        path, QStringList{QStringLiteral("a b"), QStringLiteral("c")}, 10.0);
    EXPECT_EQ(output, QStringLiteral("out\nerr\n2:a b|c\n%1\nno-input\n").arg(platform.facts->home));
    EXPECT_TRUE(log.lines().isEmpty());
}

// "~" and "~user" as the shell expands them; parameters are passed as they are.
TEST_F(ScriptRunnerTest, ExpandsTheTildeAsTheShellWould)
{
    tmp.write(QStringLiteral("home/hello.sh"), "#!/bin/sh\necho \"hi $1\"\n",
              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_EQ(RVUtilities::runShellScriptWithParametersTimeout(QStringLiteral("~/hello.sh"),
                                                               QStringList{QStringLiteral("~")}, 10.0),
              QStringLiteral("hi ~\n"));
    struct passwd* me = ::getpwuid(::getuid());
    ASSERT_TRUE(me);
    const QString mine = QStringLiteral("~") + QString::fromLocal8Bit(me->pw_name);
    const struct
    {
        QString path, expanded;
    } cases[] = {{QStringLiteral("~"), QStringLiteral("/h")},
                 {QStringLiteral("~/a/b"), QStringLiteral("/h/a/b")},
                 {mine + QStringLiteral("/x"), QFile::decodeName(me->pw_dir) + QStringLiteral("/x")},
                 {mine, QFile::decodeName(me->pw_dir)},
                 {QStringLiteral("~no-such-user-here/x"), QStringLiteral("~no-such-user-here/x")},
                 {QStringLiteral("/a/~/b"), QStringLiteral("/a/~/b")}};
    for (const auto& c : cases)
        EXPECT_EQ(RVPaths::stringByExpandingTildeInPath(c.path, QStringLiteral("/h")), c.expanded) << c.path.toStdString();
}

TEST_F(ScriptRunnerTest, LimitOfZeroTerminatesAndKeepsTheOutputSoFar)
{
    const QString path = script(QStringLiteral("slow.sh"), "echo started\nexec sleep 30\n");
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(
        path, QStringList{QStringLiteral("p")}, 0.0);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("script timeout: slow.sh (p)")});
    // The script may not have printed yet when it was stopped; whatever it printed is kept.
    EXPECT_TRUE(output == QStringLiteral("started\n") || output.isEmpty()) << output.toStdString();
}

TEST_F(ScriptRunnerTest, NullParametersPrintAsNullInTheTimeoutLine)
{
    const QString path = script(QStringLiteral("slow.sh"), "exec sleep 30\n");
    RVUtilities::runShellScriptWithParametersTimeout(path, std::nullopt, 0.0);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("script timeout: slow.sh (null)")});
}

TEST_F(ScriptRunnerTest, MissingScriptAnswersTheFailureText)
{
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(
        tmp.file(QStringLiteral("absent.sh")), std::nullopt, 1.0);
    EXPECT_TRUE(output.startsWith(QStringLiteral("script absent.sh failed: "))) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("No such file"))) << output.toStdString();
    // A trailing slash: the name is still the last component.
    EXPECT_TRUE(RVUtilities::runShellScriptWithParametersTimeout(tmp.file(QStringLiteral("absent.sh/")), std::nullopt, 1.0)
                    .startsWith(QStringLiteral("script absent.sh failed: ")));
}

TEST_F(ScriptRunnerTest, OutputThatIsNotUtf8GivesNull)
{
    const QString path = script(QStringLiteral("latin1.sh"), "printf 'caf\\351\\n'\n");
    EXPECT_TRUE(RVUtilities::runShellScriptWithParametersTimeout(path, std::nullopt, 10.0).isNull());
    const QString empty = script(QStringLiteral("silent.sh"), "exit 3\n");
    const QString output = RVUtilities::runShellScriptWithParametersTimeout(empty, std::nullopt, 10.0);
    EXPECT_FALSE(output.isNull());
    EXPECT_TRUE(output.isEmpty());
}

TEST(OpenFile, StartsTheOpenerWithThePathAndDoesNotWait)
{
    FakePlatform platform;
    RVUtilities::openFile(QStringLiteral("/tmp/Read Me.rtf"));
    ASSERT_EQ(platform.launcher->requests.size(), 1u);
    EXPECT_EQ(platform.launcher->requests[0].executable, QStringLiteral("/usr/bin/xdg-open"));
    EXPECT_EQ(platform.launcher->requests[0].arguments, QStringList{QStringLiteral("/tmp/Read Me.rtf")});
}

TEST(OpenFile, RealOpenerIsStartedDetached)
{
    TempDir tmp;
    FakePlatform platform;
    RVPlatform::install({.launcher = std::make_shared<RVLinuxLauncher>()});
    const QString marker = tmp.file(QStringLiteral("opened"));
    platform.facts->opener = tmp.write(QStringLiteral("opener.sh"), "#!/bin/sh\nprintf '%s' \"$1\" > \"$1.opened\"\n",
                                       QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    RVUtilities::openFile(marker);
    for (int i = 0; i < 500 && QFileInfo(marker + QStringLiteral(".opened")).size() == 0; ++i)
        QThread::msleep(10);
    QFile f(marker + QStringLiteral(".opened"));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(f.readAll()), marker);

    LogCapture log;
    platform.facts->opener = tmp.file(QStringLiteral("no-opener"));
    RVUtilities::openFile(marker);
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("could not open ") + marker + QStringLiteral(" with ") +
                                          platform.facts->opener + QStringLiteral(": ")));
}

} // namespace
