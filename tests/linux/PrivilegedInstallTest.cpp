#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "LinuxTest.h"
#include "RVDesktopEntry.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVPkexecAuthorization.h"
#include "RVProcTable.h"
#include "RVProcess.h"
#include "TempDir.h"
#include "TestApps.h"
#include "TmpfsMount.h"
#include "TreeSnapshot.h"

#include <QDirIterator>
#include <QImage>
#include <QThread>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <iostream>
#include <sys/sysmacros.h>

namespace {

const QString kTrain = u"" RV_INSTALLER_BUNDLE "/Contents/Resources/train"_s;

TestBundle product(const char* version)
{
    return {u"Product"_s, u"product"_s, u"PROD"_s, QString(), QString::fromLatin1(version)};
}

class PkexecStandInTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qputenv("XDG_DATA_HOME", tmp.mkdir(u"share"_s).toUtf8());
        qunsetenv("PKEXEC_UID");
    }
    void TearDown() override { qunsetenv("XDG_DATA_HOME"); }

    QString standIn(const QString& name, const QByteArray& body)
    {
        return tmp.write(name, "#!/bin/sh\n" + body, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    TempDir tmp;
};

// pkexec's exit codes 126 and 127 are told apart by its own words; a tool that has been
// seen running owns its status; the tool is checked before pkexec is asked.
TEST_F(PkexecStandInTest, ExitCodesAndMessagesMapToTheOutcomes)
{
    using Kind = RVAuthorization::Outcome::Kind;
    const QString fails = standIn(u"fails.sh"_s, "sleep 0.2; exit 1\n");
    // The dialog takes a moment; then pkexec becomes the tool.
    const QString pass = standIn(u"pkexec-pass.sh"_s, "sleep 0.1; exec \"$@\"\n");
    int stands = 0;
    const auto refusing = [&](const QByteArray& message, int code) {
        return standIn(QString::number(++stands), "echo '" + message + "' >&2; exit " + QByteArray::number(code) + "\n");
    };
    const QByteArray asAnother = "Error executing command as another user: ";
    struct Case
    {
        const char* name;
        QString pkexec, tool;
        Kind kind;
        bool exited = false;
        int status = 0;
        bool started = false;
    } cases[] = {
        {"dismissed", refusing(asAnother + "Request dismissed", 126), fails, Kind::Cancelled},
        {"not authorized", refusing(asAnother + "Not authorized", 127), fails, Kind::NotAuthorized},
        {"no agent", refusing(asAnother + "No authentication agent found.", 127), fails, Kind::NoAgent},
        {"no textual agent", refusing("Error creating textual authentication agent: no terminal", 127), fails, Kind::NoAgent},
        {"pkexec fails", refusing("pkexec must be setuid root", 127), fails, Kind::NotStarted},
        {"tool exits 1", pass, fails, Kind::Finished, true, 1, true},
        {"tool exits 127", pass, standIn(u"says127.sh"_s, "sleep 0.2; exit 127\n"), Kind::Finished, true, 127, true},
        {"tool killed", pass, standIn(u"killed.sh"_s, "sleep 0.2; kill -9 $$\n"), Kind::Finished, false, 9, true},
        {"tool succeeds", pass, standIn(u"ok.sh"_s, "sleep 0.2; exit 0\n"), Kind::Finished, true, 0, true},
        {"tool missing", pass, tmp.file(u"no-tool"_s), Kind::NotStarted},
        {"tool not executable", pass, tmp.write(u"plain"_s, "data"), Kind::NotStarted},
        {"no pkexec", tmp.file(u"no-pkexec"_s), fails, Kind::NotStarted},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        bool started = false;
        const auto outcome = RVPkexecAuthorization(c.pkexec).executeWithPrivileges(c.tool, {u"a b"_s}, [&] { started = true; });
        EXPECT_EQ(outcome.kind, c.kind);
        EXPECT_EQ(started, c.started);
        if (c.kind == Kind::Finished) {
            EXPECT_EQ(outcome.exited, c.exited);
            EXPECT_EQ(outcome.status, c.status);
        }
    }
}

TEST_F(PkexecStandInTest, TheToolCopiesTheProductAndTrashesThePreviousCopy)
{
    const QString source = makeTestBundle(tmp.mkdir(u"src"_s), product("2.0"));
    const QString destination = makeTestBundle(tmp.mkdir(u"Apps"_s), product("1.0"));
    FakePlatform platform;
    LogCapture log;
    platform.facts->executable = u"" RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller"_s;
    RVPlatform::install({.authorization = std::make_shared<RVPkexecAuthorization>(standIn(u"pass.sh"_s, "exec \"$@\"\n"))});
    InstallerWinController controller;
    bool canceled = true;
    EXPECT_TRUE(controller.authorizedInstallToWrapCanceled(source, destination, QString(), &canceled));
    EXPECT_FALSE(canceled);
    const auto bundle = RVBundle::bundleWithPath(destination);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->objectForInfoDictionaryKey(u"CFBundleShortVersionString"_s).toString(), u"2.0"_s);
    EXPECT_TRUE(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/Product.app"_s));
}

TEST_F(PkexecStandInTest, TheToolRefusesWhatItShouldNotTrust)
{
    const QString app = tmp.mkdir(u"src/Product.app"_s);
    QFile::link(app, tmp.file(u"src/Link.app"_s));
    const QString target = tmp.file(u"x/Product.app"_s);
    const QStringList refused[] = {
        {u"relative/Product.app"_s, target},
        {app, tmp.file(u"x/../y/Product.app"_s)},
        {tmp.file(u"src/Link.app"_s), target},
        {tmp.mkdir(u"src/Folder"_s), tmp.file(u"x/Folder"_s)},
        {app},
        {app, tmp.file(u"x/P.app"_s), tmp.file(u"w"_s), u"/extra"_s},
    };
    for (const QStringList& arguments : refused) {
        QProcess train;
        train.start(kTrain, arguments);
        ASSERT_TRUE(train.waitForFinished(10000));
        EXPECT_EQ(train.exitCode(), 64) << arguments.join(u' ').toStdString();
    }
    EXPECT_FALSE(QFile::exists(tmp.file(u"x"_s)));
}

TEST(DesktopEntry, QuotingFollowsTheSpecificationAndReadsBack)
{
    const char* cases[][2] = {
        {"/opt/Plain.app/Contents/MacOS/plain", "/opt/Plain.app/Contents/MacOS/plain"},
        {"/opt/My App.app/x", "\"/opt/My App.app/x\""},
        {"/opt/$HOME`x`\"q\".app/a\\b", "\"/opt/\\$HOME\\`x\\`\\\"q\\\".app/a\\\\b\""},
        {"/opt/100%.app/x", "/opt/100%%.app/x"},
    };
    for (const auto& [argument, expected] : cases) {
        const QString quoted = RVDesktopEntry::quoteExecArgument(QString::fromUtf8(argument));
        EXPECT_EQ(quoted, QString::fromUtf8(expected));
        const QString exec = RVDesktopEntry::escapeString(quoted) + u" %U"_s;
        EXPECT_EQ(RVDesktopEntry::programOfExec(exec), QString::fromUtf8(argument)) << exec.toStdString();
    }
}

// A bundle whose CFBundleIconFile names a PNG of the given size.
QString bundleWithIcon(const QString& folder, const TestBundle& bundle, const QString& icon, int size)
{
    const QString app = makeTestBundle(folder, bundle);
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::darkCyan);
    image.save(app + u"/Contents/Resources/"_s + icon + u".png"_s);
    editFile(app + u"/Contents/Info.plist"_s, [&](QByteArray& plist) {
        plist.replace("</dict>", "<key>CFBundleIconFile</key><string>" + icon.toUtf8() + "</string></dict>");
    });
    return app;
}

TEST(DesktopEntry, RegisteredEntryValidatesAndCarriesAPngIcon)
{
    TempDir tmp;
    const QString app = bundleWithIcon(tmp.mkdir(u"Apps $pecial"_s),
                                       {u"Velmora Demo"_s, u"Velmora Demo"_s, u"VDMO"_s, u"com.velmora.demo"_s}, u"demo"_s, 64);
    const auto registration = RVDesktopEntry::registerBundle(app, tmp.file(u"share"_s));
    ASSERT_EQ(registration.status, 0);
    EXPECT_EQ(registration.entryPath, tmp.file(u"share/applications/com.velmora.demo.desktop"_s));
    EXPECT_EQ(QImage(registration.iconPath).size(), QSize(64, 64));
    QProcess validate;
    validate.start(u"desktop-file-validate"_s, {registration.entryPath});
    ASSERT_TRUE(validate.waitForFinished(10000));
    EXPECT_EQ(validate.exitCode(), 0) << validate.readAllStandardOutput().toStdString();
    const QString text = QString::fromUtf8(readFile(registration.entryPath));
    const QString exec = text.section(u"Exec="_s, 1).section(u'\n', 0, 0);
    EXPECT_EQ(RVDesktopEntry::programOfExec(exec), app + u"/Contents/MacOS/Velmora Demo"_s);
    EXPECT_TRUE(text.contains(u"Icon="_s + registration.iconPath));
    EXPECT_TRUE(text.contains(u"\nStartupWMClass=Velmora Demo\n"_s)) << text.toStdString();
}

// Our entries and icons carry the bundle they stand for: registering again replaces them, but
// a file of the same name that we did not write (the user's own entry or icon of an
// application with that identifier) stays as it is, and ours takes another name. An icon that
// is a FIFO is read no further.
TEST(DesktopEntry, NeverOverwritesAFileWeDidNotWrite)
{
    TempDir tmp;
    const QString app = bundleWithIcon(tmp.path(), {u"Clash"_s, u"clash"_s, u"CLSH"_s, u"com.example.clash"_s}, u"clash"_s, 32);
    struct Case
    {
        const char* name;
        bool userEntry, userIcon;
        const char* base; // of our entry and icon
    } cases[] = {
        {"free", false, false, "com.example.clash"},
        {"the user's entry", true, false, "com.example.clash-2"},
        {"the user's icon", false, true, "com.example.clash-2"},
        {"both", true, true, "com.example.clash-2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString share = tmp.mkdir(u"share-"_s + QString::fromLatin1(c.name));
        if (c.userEntry)
            tmp.write(QFileInfo(share).fileName() + u"/applications/com.example.clash.desktop"_s, "[Desktop Entry]\nType=Application\nName=Mine\nExec=mine\n");
        if (c.userIcon)
            tmp.write(QFileInfo(share).fileName() + u"/icons/com.example.clash.png"_s, "mine");
        const auto before = snapshotTree(share);
        for (int round = 0; round < 2; ++round) { // the second replaces the first
            const auto registration = RVDesktopEntry::registerBundle(app, share);
            ASSERT_EQ(registration.status, 0);
            EXPECT_EQ(registration.entryPath, share + u"/applications/%1.desktop"_s.arg(QLatin1String(c.base)));
            EXPECT_EQ(registration.iconPath, share + u"/icons/%1.png"_s.arg(QLatin1String(c.base)));
        }
        const auto after = snapshotTree(share);
        for (auto it = before.cbegin(); it != before.cend(); ++it) {
            if (it.value().contains(" size=")) { // the user's files; their folders gain ours
                EXPECT_EQ(after.value(it.key()), it.value()) << it.key().toStdString();
            }
        }
        EXPECT_EQ(QDir(share + u"/applications"_s).entryList({u"*.desktop"_s}, QDir::Files).size(), c.userEntry ? 2 : 1);
    }

    const QByteArray fifo = QFile::encodeName(app + u"/Contents/Resources/clash.png"_s);
    ASSERT_EQ(::unlink(fifo.constData()), 0);
    ASSERT_EQ(::mkfifo(fifo.constData(), 0644), 0);
    const auto registration = RVDesktopEntry::registerBundle(app, tmp.file(u"share-fifo"_s));
    EXPECT_EQ(registration.status, 0);
    EXPECT_EQ(registration.iconPath, QString());
}

// What the desktop shows for an item without an icon of its own: never nothing, unless
// nothing is there.
TEST(DesktopIcons, EveryItemGetsTheThemesIconForItsKind)
{
    TempDir tmp;
    const QString bare = makeTestBundle(tmp.path(), {u"Bare"_s, u"bare"_s, u"BARE"_s});
    const QString executable = u"application-x-executable"_s;
    const QString cases[][2] = {{bare, executable},
                                {tmp.write(u"run.sh"_s, "#!/bin/sh\n", QFile::ReadOwner | QFile::ExeOwner), executable},
                                {tmp.mkdir(u"Folder"_s), u"folder"_s},
                                {tmp.write(u"notes.txt"_s, "text"), u"text-plain"_s},
                                {tmp.file(u"missing"_s), QString()}};
    RVLinuxWorkspace workspace(std::make_shared<RVLinuxLauncher>(), tmp.path());
    for (const auto& [path, icon] : cases)
        EXPECT_EQ(workspace.iconForFile(path), icon) << path.toStdString();
    const auto registration = RVDesktopEntry::registerBundle(bare, tmp.file(u"share"_s));
    EXPECT_TRUE(readFile(registration.entryPath).contains("\nIcon=application-x-executable\n"));
}

// An opened bundle runs as an application, and writes into a place of its own, never into
// the installer's log.
TEST(Launch, OpenedBundleRunsAsAnApplicationWithOutputOfItsOwn)
{
    TempDir tmp;
    tmp.write(u"Talker.app/Contents/Info.plist"_s, "{ CFBundleExecutable = talk; CFBundleSignature = TALK; }");
    tmp.write(u"Talker.app/Contents/MacOS/talk"_s,
              "#!/bin/sh\necho product-says-out; echo product-says-err >&2; touch \"$0.done\"\nwhile :; do sleep 1; done\n",
              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString log = tmp.write(u"installer.log"_s, "");
    RVLinuxWorkspace workspace(std::make_shared<RVLinuxLauncher>(), tmp.path());
    FakePlatform platform;
    RVPlatform::install({.processTable = std::make_shared<RVProcTable>()});
    RVProcess::resetCacheForTesting();
    const int saved[2] = {::dup(1), ::dup(2)};
    const int logFd = ::open(QFile::encodeName(log).constData(), O_WRONLY | O_APPEND);
    ::dup2(logFd, 1);
    ::dup2(logFd, 2);
    const bool opened = workspace.openApplication(tmp.file(u"Talker.app"_s));
    ::dup2(saved[0], 1);
    ::dup2(saved[1], 2);
    for (const int fd : {saved[0], saved[1], logFd})
        ::close(fd);
    ASSERT_TRUE(opened);
    RVProcess::Ptr process;
    for (int i = 0; i < 250 && !(process = RVProcess::processWithSignature(RVFourCC("TALK"))); ++i)
        QThread::msleep(20);
    ASSERT_TRUE(process);
    EXPECT_EQ(process->path(), tmp.file(u"Talker.app"_s));
    for (int i = 0; i < 250 && !QFile::exists(tmp.file(u"Talker.app/Contents/MacOS/talk.done"_s)); ++i)
        QThread::msleep(20);
    ::kill(process->unixPID(), SIGKILL);
    ASSERT_TRUE(QFile::exists(tmp.file(u"Talker.app/Contents/MacOS/talk.done"_s)));
    EXPECT_FALSE(readFile(log).contains("product-says"));
    EXPECT_FALSE(workspace.openApplication(tmp.file(u"Missing.app"_s)));
    RVProcess::resetCacheForTesting();
}

TEST(RealPkexec, CopiesAProductThroughTrain)
{
    if (!qEnvironmentVariableIsSet("RV_REAL_PKEXEC") || ::getuid() != 0)
        GTEST_SKIP() << "needs root with polkitd: run under tests/linux/with-polkit.sh";
    TempDir tmp;
    // The previous copy lives on a volume of its own, so that its trash stays in this test.
    const QString volume = tmp.mkdir(u"volume"_s);
    const TmpfsMount mount(volume, "size=16m");
    if (!mount.mounted())
        GTEST_SKIP() << "cannot mount a tmpfs";
    const QString source = makeTestBundle(tmp.mkdir(u"src"_s), product("2.0"));
    const QString destination = makeTestBundle(volume, product("1.0"));
    const auto outcome = RVPkexecAuthorization().executeWithPrivileges(kTrain, {source, destination}, [] {});
    ASSERT_EQ(outcome.kind, RVAuthorization::Outcome::Kind::Finished);
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.status, 0);
    for (const auto& [path, version] : {std::pair{destination, "2.0"}, {volume + u"/.Trash-0/files/Product.app"_s, "1.0"}}) {
        const auto bundle = RVBundle::bundleWithPath(path);
        ASSERT_TRUE(bundle) << path.toStdString();
        EXPECT_EQ(bundle->objectForInfoDictionaryKey(u"CFBundleShortVersionString"_s).toString(), QLatin1String(version));
    }
}

// A user of a session without an authentication agent, started without a terminal (as
// from a file manager): the real pkexec cannot ask, and says so.
TEST(RealPkexec, WithoutAnAgentTheUserCannotBeAsked)
{
    const QByteArray user = qgetenv("RV_TEST_USER");
    if (!qEnvironmentVariableIsSet("RV_REAL_PKEXEC") || user.isEmpty() || ::getuid() != 0)
        GTEST_SKIP() << "needs root, polkitd and the user of tests/linux/with-test-user.sh";
    QProcess asUser;
    asUser.setProcessEnvironment(QProcessEnvironment());
    asUser.start(u"/usr/bin/setsid"_s, {u"--wait"_s, u"/usr/sbin/runuser"_s, u"-u"_s, QString::fromUtf8(user), u"--"_s,
                                        u"" RV_AUTHORIZE_HELPER ""_s, u"/usr/bin/pkexec"_s, u"/bin/true"_s});
    asUser.setStandardInputFile(QProcess::nullDevice());
    ASSERT_TRUE(asUser.waitForFinished(30000));
    const QByteArray printed = asUser.readAllStandardOutput().trimmed();
    EXPECT_EQ(printed, QByteArray::number(int(RVAuthorization::Outcome::Kind::NoAgent)) + " 0 0 0")
        << printed.toStdString() << asUser.readAllStandardError().toStdString();
}

// train run directly as root with what a hostile caller can choose: its arguments and
// PKEXEC_UID. Each case says what was refused; a snapshot shows that nothing else changed,
// and nothing root-only became the user's.
class HostileTrain : public TestUserTest
{
protected:
    void SetUp() override
    {
        TestUserTest::SetUp();
        if (IsSkipped())
            return;
        QFile::setPermissions(tmp.path(), QFile::permissions(tmp.path()) | QFile::ExeOther | QFile::ReadOther);
        clean({});
    }
    void TearDown() override { clean({}); }
    void clean(const QStringList& more) { QProcess::execute(u"rm"_s, QStringList{u"-rf"_s, user.home + u"/.local"_s} + more); }

    int train(const QStringList& arguments, const QByteArray& pkexecUid)
    {
        QProcess process;
        QProcessEnvironment environment;
        environment.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
        if (!pkexecUid.isNull())
            environment.insert(u"PKEXEC_UID"_s, QString::fromLatin1(pkexecUid));
        process.setProcessEnvironment(environment);
        process.start(kTrain, arguments);
        process.waitForFinished(60000);
        log = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QString product(const QString& relative, const char* identifier, const char* version)
    {
        tmp.write(relative + u"/Contents/Info.plist"_s,
                  QByteArray("{ CFBundleIdentifier = ") + identifier + "; CFBundleShortVersionString = " + version + "; }");
        return tmp.file(relative);
    }

    TempDir tmp;
    QString log;
};

TEST_F(HostileTrain, RefusesWhatItMustNotTrustAndExposesNothing)
{
    const QString trashFiles = user.home + u"/.local/share/Trash/files/Product.app"_s;
    struct Case
    {
        const char* name;
        std::function<QStringList()> arrange; // the arguments
        QByteArray pkexecUid;
        int exit;
        std::function<void(const QStringList&)> check; // beyond the snapshot
        const char* changes = nullptr;               // the one place that may change
    };
    const auto userProduct = [&] {
        const QString source = product(u"src/Suite/Product.app"_s, "com.velmora.product", "2");
        user.own(tmp.file(u"src"_s));
        return source;
    };
    const auto previous = [&] { return product(u"Apps/Product.app"_s, "com.velmora.product", "1"); };
    const auto withSource = [&](const std::function<void(const QString&)>& add) {
        return [=] {
            const QString source = userProduct();
            add(source);
            return QStringList{source, previous()};
        };
    };
    const QByteArray rootLocal = describeItem(u"/.local"_s);
    const auto isRootOnly = [](const QString& path) {
        const struct stat info = statOf(path);
        return info.st_nlink && info.st_uid == 0 && (info.st_mode & 077) == 0;
    };
    const QByteArray uid = QByteArray::number(user.uid);
    // PKEXEC_UID 0 acts for root; its trash is kept on a volume of this test.
    const QString volume = tmp.mkdir(u"volume"_s);
    const TmpfsMount mount(volume, "size=16m");
    ASSERT_TRUE(mount.mounted());
    const Case cases[] = {
        {"unrelated wrapper over a root-owned file elsewhere",
         [&] {
             tmp.write(u"user/Config/passwd"_s, "the user's");
             tmp.write(u"system/Config/passwd"_s, "root's");
             return QStringList{userProduct(), tmp.file(u"system/Config/Product.app"_s), tmp.file(u"user/Config"_s)};
         },
         uid, 64, {}},
        {"wrapper whose name the destination's folder does not bear",
         [&] { return QStringList{userProduct(), previous(), tmp.file(u"src/Suite"_s)}; }, uid, 64, {}},
        {"destination in /etc", [&] { return QStringList{userProduct(), u"/etc/velmora-hostile.app"_s}; }, uid, 64,
         [](const QStringList&) { EXPECT_FALSE(QFile::exists(u"/etc/velmora-hostile.app"_s)); }},
        {"destination in /usr", [&] { return QStringList{userProduct(), u"/usr/local/velmora-hostile.app"_s}; }, uid, 64,
         [](const QStringList&) { EXPECT_FALSE(QFile::exists(u"/usr/local/velmora-hostile.app"_s)); }},
        {"destination over another product",
         [&] { return QStringList{userProduct(), product(u"Apps/Other.app"_s, "com.other", "1")}; }, uid, 64, {}},
        {"PKEXEC_UID naming no user", [&] { return QStringList{userProduct(), previous()}; }, "3999999", 64,
         [&](const QStringList&) { EXPECT_EQ(describeItem(u"/.local"_s), rootLocal) << "a trash made in /"; }},
        {"PKEXEC_UID that is no number", [&] { return QStringList{userProduct(), previous()}; }, "1000; rm", 64, {}},
        {"set-uid and set-gid items of the user's become root's plain files",
         withSource([&](const QString& source) {
             tmp.write(u"src/Suite/Product.app/Contents/MacOS/tool"_s, "#!/bin/sh\n");
             user.own(source);
             ::chmod(QFile::encodeName(source + u"/Contents/MacOS/tool"_s).constData(), 06755);
             ::chmod(QFile::encodeName(source + u"/Contents/MacOS"_s).constData(), 02755);
         }),
         uid, 0,
         [&](const QStringList& arguments) {
             QDirIterator it(arguments[1], QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
             while (it.hasNext()) {
                 const struct stat info = statOf(it.next());
                 EXPECT_EQ(info.st_uid, 0u) << it.filePath().toStdString();
                 EXPECT_EQ(info.st_mode & (S_ISUID | S_ISGID), 0u) << it.filePath().toStdString();
             }
         },
         "Apps"},
        {"a device in the source", withSource([](const QString& source) {
             ::mknod(QFile::encodeName(source + u"/Contents/null"_s).constData(), S_IFCHR | 0666, makedev(1, 3));
         }),
         uid, 2, {}},
        {"a FIFO in the source",
         withSource([](const QString& source) { ::mkfifo(QFile::encodeName(source + u"/Contents/fifo"_s).constData(), 0666); }), uid, 2,
         {}},
        {"a root-only file in the previous copy stays root's in the user's Trash",
         [&] {
             const QString destination = previous();
             tmp.write(u"Apps/Product.app/Contents/secret"_s, "root's only", QFile::ReadOwner | QFile::WriteOwner);
             tmp.write(u"Apps/Product.app/Contents/Private/key"_s, "root's only");
             ::chmod(QFile::encodeName(destination + u"/Contents/Private"_s).constData(), 0700);
             return QStringList{userProduct(), destination};
         },
         uid, 0,
         [&](const QStringList&) {
             EXPECT_TRUE(isRootOnly(trashFiles + u"/Contents/secret"_s));
             EXPECT_TRUE(isRootOnly(trashFiles + u"/Contents/Private"_s));
             EXPECT_EQ(statOf(trashFiles + u"/Contents/Info.plist"_s).st_uid, user.uid) << "what the user could read is theirs to delete";
         },
         "Apps"},
        {"PKEXEC_UID 0 keeps root's previous copy root's",
         [&] { return QStringList{userProduct(), product(u"volume/Product.app"_s, "com.velmora.product", "1")}; }, "0", 0,
         [&](const QStringList&) {
             const struct stat info = statOf(volume + u"/.Trash-0/files/Product.app/Contents/Info.plist"_s);
             EXPECT_TRUE(info.st_nlink && info.st_uid == 0);
             EXPECT_FALSE(QFile::exists(user.home + u"/.local/share/Trash"_s));
         },
         "volume"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        clean({tmp.file(u"src"_s), tmp.file(u"Apps"_s)});
        const QStringList arguments = c.arrange();
        const auto before = snapshotTree(tmp.path());
        const auto homeBefore = snapshotTree(user.home);
        EXPECT_EQ(train(arguments, c.pkexecUid), c.exit) << log.toStdString();
        std::cout << c.name << ": exit " << c.exit << ", " << log.section(u'\n', 0, 0).toStdString() << std::endl;
        const auto after = snapshotTree(tmp.path());
        for (const QString& key : before.keys() + after.keys()) {
            // The folder's own times change with a staging folder made and gone again.
            if (key == u"Apps" || key == u"volume" ||
                (c.changes && (key == QLatin1String(c.changes) || key.startsWith(QLatin1String(c.changes) + u'/'))))
                continue;
            EXPECT_EQ(before.value(key), after.value(key)) << key.toStdString();
        }
        if (c.exit != 0) {
            EXPECT_EQ(snapshotTree(user.home), homeBefore);
        }
        if (c.check)
            c.check(arguments);
    }
}

// The user's home reached through a link (/home -> /var/home): a link of root's in a
// folder only root may write is followed, one in a folder anybody may write is not.
TEST_F(HostileTrain, TheUsersHomeThroughALinkOfRoots)
{
    const QString links = tmp.mkdir(u"links"_s);
    ASSERT_TRUE(QFile::link(QFileInfo(user.home).path(), links + u"/home"_s));
    const QString name = qEnvironmentVariable("RV_TEST_USER");
    ASSERT_EQ(QProcess::execute(u"usermod"_s, {u"-d"_s, links + u"/home/"_s + QFileInfo(user.home).fileName(), name}), 0);
    for (const bool anybodyMayWrite : {false, true}) {
        ::chmod(QFile::encodeName(links).constData(), anybodyMayWrite ? 01777 : 0755);
        clean({tmp.file(u"Apps"_s)});
        const QString source = product(u"src/Product.app"_s, "com.velmora.product", "2");
        const QString destination = product(u"Apps/Product.app"_s, "com.velmora.product", "1");
        const auto previous = snapshotTree(destination);
        const int exit = train({source, destination}, QByteArray::number(user.uid));
        std::cout << "home through a link in a folder " << (anybodyMayWrite ? "anybody" : "only root") << " may write: exit "
                  << exit << std::endl;
        if (anybodyMayWrite) {
            EXPECT_EQ(exit, 1) << log.toStdString();
            EXPECT_EQ(snapshotTree(destination), previous);
        } else {
            EXPECT_EQ(exit, 0) << log.toStdString();
            EXPECT_EQ(snapshotTree(user.home + u"/.local/share/Trash/files/Product.app"_s).keys(), previous.keys());
        }
    }
    QProcess::execute(u"usermod"_s, {u"-d"_s, user.home, name});
}

} // namespace
