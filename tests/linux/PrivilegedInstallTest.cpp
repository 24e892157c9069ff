#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVDesktopEntry.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVPkexecAuthorization.h"
#include "RVProcTable.h"
#include "RVProcess.h"
#include "TempDir.h"
#include "TmpfsMount.h"
#include "TestApps.h"
#include "TreeSnapshot.h"

#include <QDirIterator>
#include <QImage>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <functional>
#include <iostream>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

const QString kTrain = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/Resources/train");

class PkexecStandInTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qputenv("XDG_DATA_HOME", tmp.mkdir(QStringLiteral("share")).toUtf8());
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
    const QString fails = standIn(QStringLiteral("fails.sh"), "sleep 0.2; exit 1\n");
    const QString says127 = standIn(QStringLiteral("says127.sh"), "sleep 0.2; exit 127\n");
    const QString killed = standIn(QStringLiteral("killed.sh"), "sleep 0.2; kill -9 $$\n");
    // The dialog takes a moment; then pkexec becomes the tool.
    const QString passThrough = standIn(QStringLiteral("pkexec-pass.sh"), "sleep 0.1; exec \"$@\"\n");
    const auto refusing = [&](const char* name, const QByteArray& message, int code) {
        return standIn(QString::fromLatin1(name), "echo '" + message + "' >&2; exit " + QByteArray::number(code) + "\n");
    };
    const QString notExecutable = tmp.write(QStringLiteral("plain"), "data");
    struct Case
    {
        const char* name;
        QString pkexec;
        QString tool;
        Kind kind;
        bool exited = false;
        int status = 0;
        bool started = false;
    } cases[] = {
        {"dismissed", refusing("d.sh", "Error executing command as another user: Request dismissed", 126), fails, Kind::Cancelled},
        {"not authorized", refusing("n.sh", "Error executing command as another user: Not authorized", 127), fails, Kind::NotAuthorized},
        {"no agent", refusing("a.sh", "Error executing command as another user: No authentication agent found.", 127), fails,
         Kind::NoAgent},
        {"no textual agent", refusing("t.sh", "Error creating textual authentication agent: no terminal", 127), fails, Kind::NoAgent},
        {"pkexec fails", refusing("f.sh", "pkexec must be setuid root", 127), fails, Kind::NotStarted},
        {"tool exits 1", passThrough, fails, Kind::Finished, true, 1, true},
        {"tool exits 127", passThrough, says127, Kind::Finished, true, 127, true},
        {"tool killed", passThrough, killed, Kind::Finished, false, 9, true},
        {"tool succeeds", passThrough, standIn(QStringLiteral("ok.sh"), "sleep 0.2; exit 0\n"), Kind::Finished, true, 0, true},
        {"tool missing", passThrough, tmp.file(QStringLiteral("no-tool")), Kind::NotStarted},
        {"tool not executable", passThrough, notExecutable, Kind::NotStarted},
        {"no pkexec", tmp.file(QStringLiteral("no-pkexec")), fails, Kind::NotStarted},
    };
    for (const auto& c : cases) {
        bool started = false;
        const auto outcome = RVPkexecAuthorization(c.pkexec).executeWithPrivileges(c.tool, {QStringLiteral("a b")},
                                                                                   [&] { started = true; });
        EXPECT_EQ(outcome.kind, c.kind) << c.name;
        EXPECT_EQ(started, c.started) << c.name;
        if (c.kind == Kind::Finished) {
            EXPECT_EQ(outcome.exited, c.exited) << c.name;
            EXPECT_EQ(outcome.status, c.status) << c.name;
        }
    }
}

TEST_F(PkexecStandInTest, TheToolCopiesTheProductAndTrashesThePreviousCopy)
{
    const QString source = makeTestBundle(tmp.mkdir(QStringLiteral("src")), {QStringLiteral("Product"), QStringLiteral("product"),
                                                                              QStringLiteral("PROD"), QString(), QStringLiteral("2.0")});
    const QString destination = makeTestBundle(tmp.mkdir(QStringLiteral("Apps")), {QStringLiteral("Product"), QStringLiteral("product"),
                                                                                   QStringLiteral("PROD"), QString(), QStringLiteral("1.0")});
    FakePlatform platform;
    LogCapture log;
    platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
    RVPlatform::install({.authorization = std::make_shared<RVPkexecAuthorization>(
                             standIn(QStringLiteral("pkexec-pass.sh"), "exec \"$@\"\n"))});
    InstallerWinController controller;
    bool canceled = true;
    EXPECT_TRUE(controller.authorizedInstallToWrapCanceled(source, destination, QString(), &canceled));
    EXPECT_FALSE(canceled);
    const auto bundle = RVBundle::bundleWithPath(destination);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString")).toString(), QStringLiteral("2.0"));
    EXPECT_TRUE(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/files/Product.app")));
}

TEST_F(PkexecStandInTest, TheToolRefusesWhatItShouldNotTrust)
{
    const QString app = tmp.mkdir(QStringLiteral("src/Product.app"));
    QFile::link(app, tmp.file(QStringLiteral("src/Link.app")));
    const QStringList refused[] = {
        {QStringLiteral("relative/Product.app"), tmp.file(QStringLiteral("x/Product.app"))},
        {app, tmp.file(QStringLiteral("x/../y/Product.app"))},
        {tmp.file(QStringLiteral("src/Link.app")), tmp.file(QStringLiteral("x/Product.app"))},
        {tmp.mkdir(QStringLiteral("src/Folder")), tmp.file(QStringLiteral("x/Folder"))},
        {app},
        {app, tmp.file(QStringLiteral("x/P.app")), tmp.file(QStringLiteral("w")), QStringLiteral("/extra")},
    };
    for (const QStringList& arguments : refused) {
        QProcess train;
        train.start(kTrain, arguments);
        ASSERT_TRUE(train.waitForFinished(10000));
        EXPECT_EQ(train.exitCode(), 64) << arguments.join(u' ').toStdString();
    }
    EXPECT_FALSE(QFile::exists(tmp.file(QStringLiteral("x"))));
}

TEST(DesktopEntry, QuotingFollowsTheSpecificationAndReadsBack)
{
    struct Case
    {
        const char* argument;
        const char* quoted;
    } cases[] = {
        {"/opt/Plain.app/Contents/MacOS/plain", "/opt/Plain.app/Contents/MacOS/plain"},
        {"/opt/My App.app/x", "\"/opt/My App.app/x\""},
        {"/opt/$HOME`x`\"q\".app/a\\b", "\"/opt/\\$HOME\\`x\\`\\\"q\\\".app/a\\\\b\""},
        {"/opt/100%.app/x", "/opt/100%%.app/x"},
    };
    for (const auto& c : cases) {
        const QString quoted = RVDesktopEntry::quoteExecArgument(QString::fromUtf8(c.argument));
        EXPECT_EQ(quoted, QString::fromUtf8(c.quoted));
        const QString exec = RVDesktopEntry::escapeString(quoted) + QStringLiteral(" %U");
        EXPECT_EQ(RVDesktopEntry::programOfExec(exec), QString::fromUtf8(c.argument)) << exec.toStdString();
    }
}

TEST(DesktopEntry, RegisteredEntryValidatesAndCarriesAPngIcon)
{
    TempDir tmp;
    const QString app = makeTestBundle(tmp.mkdir(QStringLiteral("Apps $pecial")),
                                       {QStringLiteral("Velmora Demo"), QStringLiteral("Velmora Demo"), QStringLiteral("VDMO"),
                                        QStringLiteral("com.velmora.demo")});
    QImage icon(64, 64, QImage::Format_ARGB32);
    icon.fill(Qt::darkCyan);
    icon.save(app + QStringLiteral("/Contents/Resources/demo.png"));
    // Point CFBundleIconFile at it.
    QFile info(app + QStringLiteral("/Contents/Info.plist"));
    info.open(QIODevice::ReadOnly);
    QByteArray plist = info.readAll();
    info.close();
    plist.replace("</dict>", "<key>CFBundleIconFile</key><string>demo</string></dict>");
    tmp.write(QStringLiteral("Apps $pecial/Velmora Demo.app/Contents/Info.plist"), plist);

    const auto registration = RVDesktopEntry::registerBundle(app, tmp.file(QStringLiteral("share")));
    ASSERT_EQ(registration.status, 0);
    EXPECT_EQ(registration.entryPath, tmp.file(QStringLiteral("share/applications/com.velmora.demo.desktop")));
    EXPECT_EQ(QImage(registration.iconPath).size(), QSize(64, 64));
    QProcess validate;
    validate.start(QStringLiteral("desktop-file-validate"), {registration.entryPath});
    ASSERT_TRUE(validate.waitForFinished(10000));
    EXPECT_EQ(validate.exitCode(), 0) << validate.readAllStandardOutput().toStdString();
    QFile entry(registration.entryPath);
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(entry.readAll());
    const QString exec = text.section(QStringLiteral("Exec="), 1).section(u'\n', 0, 0);
    EXPECT_EQ(RVDesktopEntry::programOfExec(exec), app + QStringLiteral("/Contents/MacOS/Velmora Demo"));
    EXPECT_TRUE(text.contains(QStringLiteral("Icon=") + registration.iconPath));
    EXPECT_TRUE(text.contains(QStringLiteral("\nStartupWMClass=Velmora Demo\n"))) << text.toStdString();
}

// Our entries and icons carry the bundle they stand for: registering again replaces them, but
// a file of the same name that we did not write (the user's own entry or icon of an
// application with that identifier) stays as it is, and ours takes another name. An icon that
// is a FIFO is read no further.
TEST(DesktopEntry, NeverOverwritesAFileWeDidNotWrite)
{
    TempDir tmp;
    const QString app = makeTestBundle(tmp.path(), {QStringLiteral("Clash"), QStringLiteral("clash"), QStringLiteral("CLSH"),
                                                    QStringLiteral("com.example.clash")});
    QImage icon(32, 32, QImage::Format_ARGB32);
    icon.fill(Qt::darkRed);
    icon.save(app + QStringLiteral("/Contents/Resources/clash.png"));
    QFile info(app + QStringLiteral("/Contents/Info.plist"));
    info.open(QIODevice::ReadOnly);
    const QByteArray plist = info.readAll().replace("</dict>", "<key>CFBundleIconFile</key><string>clash</string></dict>");
    info.close();
    tmp.write(QStringLiteral("Clash.app/Contents/Info.plist"), plist);
    const QByteArray mine = "[Desktop Entry]\nType=Application\nName=Mine\nExec=mine\n";
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
        const QString share = tmp.mkdir(QStringLiteral("share-") + QString::fromLatin1(c.name));
        if (c.userEntry)
            tmp.write(QStringLiteral("share-%1/applications/com.example.clash.desktop").arg(QString::fromLatin1(c.name)), mine);
        if (c.userIcon)
            tmp.write(QStringLiteral("share-%1/icons/com.example.clash.png").arg(QString::fromLatin1(c.name)), "mine");
        const auto before = snapshotTree(share);
        for (int round = 0; round < 2; ++round) { // the second replaces the first
            const auto registration = RVDesktopEntry::registerBundle(app, share);
            ASSERT_EQ(registration.status, 0) << c.name;
            EXPECT_EQ(registration.entryPath, share + QStringLiteral("/applications/%1.desktop").arg(QString::fromLatin1(c.base))) << c.name;
            EXPECT_EQ(registration.iconPath, share + QStringLiteral("/icons/%1.png").arg(QString::fromLatin1(c.base))) << c.name;
        }
        const auto after = snapshotTree(share);
        for (auto it = before.cbegin(); it != before.cend(); ++it) {
            if (it.value().contains(" size=")) { // the user's files; their folders gain ours
                EXPECT_EQ(after.value(it.key()), it.value()) << c.name << " " << it.key().toStdString();
            }
        }
        EXPECT_EQ(QDir(share + QStringLiteral("/applications")).entryList({QStringLiteral("*.desktop")}, QDir::Files).size(), c.userEntry ? 2 : 1) << c.name;
    }

    const QByteArray fifo = QFile::encodeName(app + QStringLiteral("/Contents/Resources/clash.png"));
    ASSERT_EQ(::unlink(fifo.constData()), 0);
    ASSERT_EQ(::mkfifo(fifo.constData(), 0644), 0);
    const auto registration = RVDesktopEntry::registerBundle(app, tmp.file(QStringLiteral("share-fifo")));
    EXPECT_EQ(registration.status, 0);
    EXPECT_EQ(registration.iconPath, QString());
}

// What the desktop shows for an item without an icon of its own: never nothing, unless
// nothing is there.
TEST(DesktopIcons, EveryItemGetsTheThemesIconForItsKind)
{
    TempDir tmp;
    const QString bare = makeTestBundle(tmp.path(), {QStringLiteral("Bare"), QStringLiteral("bare"), QStringLiteral("BARE")});
    const QString script = tmp.write(QStringLiteral("run.sh"), "#!/bin/sh\n", QFile::ReadOwner | QFile::ExeOwner);
    const struct
    {
        QString path, icon;
    } cases[] = {{bare, QStringLiteral("application-x-executable")},
                 {script, QStringLiteral("application-x-executable")},
                 {tmp.mkdir(QStringLiteral("Folder")), QStringLiteral("folder")},
                 {tmp.write(QStringLiteral("notes.txt"), "text"), QStringLiteral("text-plain")},
                 {tmp.file(QStringLiteral("missing")), QString()}};
    RVLinuxWorkspace workspace(std::make_shared<RVLinuxLauncher>(), tmp.path());
    for (const auto& c : cases)
        EXPECT_EQ(workspace.iconForFile(c.path), c.icon) << c.path.toStdString();

    const auto registration = RVDesktopEntry::registerBundle(bare, tmp.file(QStringLiteral("share")));
    QFile entry(registration.entryPath);
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    EXPECT_TRUE(entry.readAll().contains("\nIcon=application-x-executable\n"));
}

// The launched product writes into a place of its own, never into the installer's log.
TEST(Launch, TheProductsOutputIsNotTheInstallers)
{
    TempDir tmp;
    tmp.write(QStringLiteral("Talker.app/Contents/Info.plist"), "{ CFBundleExecutable = talk; }");
    tmp.write(QStringLiteral("Talker.app/Contents/MacOS/talk"),
              "#!/bin/sh\necho product-says-out; echo product-says-err >&2; touch \"$0.done\"\n",
              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString log = tmp.write(QStringLiteral("installer.log"), "");
    RVLinuxWorkspace workspace(std::make_shared<RVLinuxLauncher>(), tmp.path());
    const int saved[2] = {::dup(1), ::dup(2)};
    const int logFd = ::open(QFile::encodeName(log).constData(), O_WRONLY | O_APPEND);
    ::dup2(logFd, 1);
    ::dup2(logFd, 2);
    const bool opened = workspace.openApplication(tmp.file(QStringLiteral("Talker.app")));
    ::dup2(saved[0], 1);
    ::dup2(saved[1], 2);
    for (const int fd : {saved[0], saved[1], logFd})
        ::close(fd);
    ASSERT_TRUE(opened);
    const QString done = tmp.file(QStringLiteral("Talker.app/Contents/MacOS/talk.done"));
    for (int i = 0; i < 250 && !QFile::exists(done); ++i)
        QThread::msleep(20);
    ASSERT_TRUE(QFile::exists(done));
    QFile written(log);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_FALSE(written.readAll().contains("product-says"));
}

TEST(Launch, OpenedBundleRunsAsAnApplication)
{
    TempDir tmp;
    const QString app = makeTestBundle(tmp.path(), {QStringLiteral("Launchee"), QStringLiteral("launchee"), QStringLiteral("LNCH")});
    RVLinuxWorkspace workspace(std::make_shared<RVLinuxLauncher>(), tmp.path());
    FakePlatform platform;
    RVPlatform::install({.processTable = std::make_shared<RVProcTable>()});
    RVProcess::resetCacheForTesting();
    ASSERT_TRUE(workspace.openApplication(app));
    RVProcess::Ptr process;
    for (int i = 0; i < 250 && !(process = RVProcess::processWithSignature(RVFourCC("LNCH"))); ++i)
        QThread::msleep(20);
    ASSERT_TRUE(process);
    EXPECT_EQ(process->path(), app);
    ::kill(process->unixPID(), SIGKILL);
    EXPECT_FALSE(workspace.openApplication(tmp.file(QStringLiteral("Missing.app"))));
    RVProcess::resetCacheForTesting();
}

} // namespace

namespace {

TEST(RealPkexec, CopiesAProductThroughTrain)
{
    if (!qEnvironmentVariableIsSet("RV_REAL_PKEXEC") || ::getuid() != 0)
        GTEST_SKIP() << "needs root with polkitd: run under tests/linux/with-polkit.sh";
    TempDir tmp;
    const QString volume = tmp.mkdir(QStringLiteral("volume"));
    // The previous copy lives on a volume of its own, so that its trash stays in this test.
    const TmpfsMount mount(volume, "size=16m");
    if (!mount.mounted())
        GTEST_SKIP() << "cannot mount a tmpfs";
    const QString source = makeTestBundle(tmp.mkdir(QStringLiteral("src")), {QStringLiteral("Product"), QStringLiteral("product"),
                                                                              QStringLiteral("PROD"), QString(), QStringLiteral("2.0")});
    const QString destination = makeTestBundle(volume, {QStringLiteral("Product"), QStringLiteral("product"),
                                                        QStringLiteral("PROD"), QString(), QStringLiteral("1.0")});
    RVPkexecAuthorization pkexec;
    const auto outcome = pkexec.executeWithPrivileges(kTrain, {source, destination}, [] {});
    ASSERT_EQ(outcome.kind, RVAuthorization::Outcome::Kind::Finished);
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.status, 0);
    const auto installed = RVBundle::bundleWithPath(destination);
    ASSERT_TRUE(installed);
    EXPECT_EQ(installed->objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString")).toString(), QStringLiteral("2.0"));
    const auto previous = RVBundle::bundleWithPath(volume + QStringLiteral("/.Trash-0/files/Product.app"));
    ASSERT_TRUE(previous);
    EXPECT_EQ(previous->objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString")).toString(), QStringLiteral("1.0"));
}

} // namespace

namespace {

// A user of a session without an authentication agent, started without a terminal (as
// from a file manager): the real pkexec cannot ask, and says so.
TEST(RealPkexec, WithoutAnAgentTheUserCannotBeAsked)
{
    const QByteArray user = qgetenv("RV_TEST_USER");
    if (!qEnvironmentVariableIsSet("RV_REAL_PKEXEC") || user.isEmpty() || ::getuid() != 0)
        GTEST_SKIP() << "needs root, polkitd and the user of tests/linux/with-test-user.sh";
    QProcess asUser;
    asUser.setProcessEnvironment(QProcessEnvironment());
    asUser.start(QStringLiteral("/usr/bin/setsid"),
                 {QStringLiteral("--wait"), QStringLiteral("/usr/sbin/runuser"), QStringLiteral("-u"), QString::fromUtf8(user),
                  QStringLiteral("--"), QStringLiteral(RV_AUTHORIZE_HELPER), QStringLiteral("/usr/bin/pkexec"), QStringLiteral("/bin/true")});
    asUser.setStandardInputFile(QProcess::nullDevice());
    ASSERT_TRUE(asUser.waitForFinished(30000));
    const QByteArray printed = asUser.readAllStandardOutput().trimmed();
    EXPECT_EQ(printed, QByteArray::number(int(RVAuthorization::Outcome::Kind::NoAgent)) + " 0 0 0")
        << printed.toStdString() << asUser.readAllStandardError().toStdString();
}

} // namespace

namespace {

// train run directly as root with what a hostile caller can choose: its arguments and
// PKEXEC_UID. Each case says what was refused; a snapshot shows that nothing else changed,
// and nothing root-only became the user's.
class HostileTrain : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QByteArray name = qgetenv("RV_TEST_USER");
        const struct passwd* entry = name.isEmpty() ? nullptr : ::getpwnam(name.constData());
        if (!entry || ::getuid() != 0)
            GTEST_SKIP() << "needs root and the user of tests/linux/with-test-user.sh";
        uid = entry->pw_uid;
        gid = entry->pw_gid;
        home = QFile::decodeName(entry->pw_dir);
        QFile::setPermissions(tmp.path(), QFile::permissions(tmp.path()) | QFile::ExeOther | QFile::ReadOther);
        QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), home + QStringLiteral("/.local")});
    }
    void TearDown() override { QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), home + QStringLiteral("/.local")}); }

    int train(const QStringList& arguments, const QByteArray& pkexecUid)
    {
        QProcess process;
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin"));
        if (!pkexecUid.isNull())
            environment.insert(QStringLiteral("PKEXEC_UID"), QString::fromLatin1(pkexecUid));
        process.setProcessEnvironment(environment);
        process.start(kTrain, arguments);
        process.waitForFinished(60000);
        log = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QString product(const QString& relative, const char* identifier, const char* version)
    {
        return tmp.write(relative + QStringLiteral("/Contents/Info.plist"),
                         QByteArray("{ CFBundleIdentifier = ") + identifier + "; CFBundleShortVersionString = " + version + "; }")
            .section(QStringLiteral("/Contents/"), 0, 0);
    }

    TempDir tmp;
    uid_t uid = 0;
    gid_t gid = 0;
    QString home, log;
};

TEST_F(HostileTrain, RefusesWhatItMustNotTrustAndExposesNothing)
{
    const QString trashFiles = home + QStringLiteral("/.local/share/Trash/files/Product.app");
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
        const QString source = product(QStringLiteral("src/Suite/Product.app"), "com.velmora.product", "2");
        QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("%1:%2").arg(uid).arg(gid), tmp.file(QStringLiteral("src"))});
        return source;
    };
    const auto previous = [&] { return product(QStringLiteral("Apps/Product.app"), "com.velmora.product", "1"); };
    const QByteArray rootLocal = describeItem(QStringLiteral("/.local"));
    const auto isRootOnly = [](const QString& path) {
        struct stat info {};
        return ::lstat(QFile::encodeName(path).constData(), &info) == 0 && info.st_uid == 0 && (info.st_mode & 077) == 0;
    };
    const Case cases[] = {
        {"unrelated wrapper over a root-owned file elsewhere",
         [&] {
             tmp.write(QStringLiteral("user/Config/passwd"), "the user's");
             tmp.write(QStringLiteral("system/Config/passwd"), "root's");
             return QStringList{userProduct(), tmp.file(QStringLiteral("system/Config/Product.app")), tmp.file(QStringLiteral("user/Config"))};
         },
         QByteArray::number(uid), 64, {}},
        {"wrapper whose name the destination's folder does not bear",
         [&] { return QStringList{userProduct(), previous(), tmp.file(QStringLiteral("src/Suite"))}; }, QByteArray::number(uid), 64, {}},
        {"destination in /etc", [&] { return QStringList{userProduct(), QStringLiteral("/etc/velmora-hostile.app")}; },
         QByteArray::number(uid), 64, [](const QStringList&) { EXPECT_FALSE(QFile::exists(QStringLiteral("/etc/velmora-hostile.app"))); }},
        {"destination in /usr", [&] { return QStringList{userProduct(), QStringLiteral("/usr/local/velmora-hostile.app")}; },
         QByteArray::number(uid), 64, [](const QStringList&) { EXPECT_FALSE(QFile::exists(QStringLiteral("/usr/local/velmora-hostile.app"))); }},
        {"destination over another product",
         [&] { return QStringList{userProduct(), product(QStringLiteral("Apps/Other.app"), "com.other", "1")}; },
         QByteArray::number(uid), 64, {}},
        {"PKEXEC_UID naming no user", [&] { return QStringList{userProduct(), previous()}; }, "3999999", 64,
         [&](const QStringList&) { EXPECT_EQ(describeItem(QStringLiteral("/.local")), rootLocal) << "a trash made in /"; }},
        {"PKEXEC_UID that is no number", [&] { return QStringList{userProduct(), previous()}; }, "1000; rm", 64, {}},
        {"set-uid and set-gid items of the user's become root's plain files",
         [&] {
             const QString source = userProduct();
             tmp.write(QStringLiteral("src/Suite/Product.app/Contents/MacOS/tool"), "#!/bin/sh\n");
             QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("%1:%2").arg(uid).arg(gid), source});
             ::chmod(QFile::encodeName(source + QStringLiteral("/Contents/MacOS/tool")).constData(), 06755);
             ::chmod(QFile::encodeName(source + QStringLiteral("/Contents/MacOS")).constData(), 02755);
             return QStringList{source, previous()};
         },
         QByteArray::number(uid), 0,
         [&](const QStringList& arguments) {
             QDirIterator it(arguments[1], QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
             while (it.hasNext()) {
                 struct stat info {};
                 ::lstat(QFile::encodeName(it.next()).constData(), &info);
                 EXPECT_EQ(info.st_uid, 0u) << it.filePath().toStdString();
                 EXPECT_EQ(info.st_mode & (S_ISUID | S_ISGID), 0u) << it.filePath().toStdString();
             }
         },
         "Apps"},
        {"a device in the source",
         [&] {
             const QString source = userProduct();
             ::mknod(QFile::encodeName(source + QStringLiteral("/Contents/null")).constData(), S_IFCHR | 0666, makedev(1, 3));
             return QStringList{source, previous()};
         },
         QByteArray::number(uid), 2, {}},
        {"a FIFO in the source",
         [&] {
             const QString source = userProduct();
             ::mkfifo(QFile::encodeName(source + QStringLiteral("/Contents/fifo")).constData(), 0666);
             return QStringList{source, previous()};
         },
         QByteArray::number(uid), 2, {}},
        {"a root-only file in the previous copy stays root's in the user's Trash",
         [&] {
             const QString destination = previous();
             tmp.write(QStringLiteral("Apps/Product.app/Contents/secret"), "root's only", QFile::ReadOwner | QFile::WriteOwner);
             tmp.write(QStringLiteral("Apps/Product.app/Contents/Private/key"), "root's only");
             ::chmod(QFile::encodeName(destination + QStringLiteral("/Contents/Private")).constData(), 0700);
             return QStringList{userProduct(), destination};
         },
         QByteArray::number(uid), 0,
         [&](const QStringList&) {
             EXPECT_TRUE(isRootOnly(trashFiles + QStringLiteral("/Contents/secret")));
             EXPECT_TRUE(isRootOnly(trashFiles + QStringLiteral("/Contents/Private")));
             struct stat info {};
             ::lstat(QFile::encodeName(trashFiles + QStringLiteral("/Contents/Info.plist")).constData(), &info);
             EXPECT_EQ(info.st_uid, uid) << "what the user could read is theirs to delete";
         },
         "Apps"},
    };
    // PKEXEC_UID 0 acts for root; its trash is kept on a volume of this test.
    const QString volume = tmp.mkdir(QStringLiteral("volume"));
    const TmpfsMount mount(volume, "size=16m");
    ASSERT_TRUE(mount.mounted());
    const Case forRoot = {"PKEXEC_UID 0 keeps root's previous copy root's",
                          [&] { return QStringList{userProduct(), product(QStringLiteral("volume/Product.app"), "com.velmora.product", "1")}; },
                          "0", 0,
                          [&](const QStringList&) {
                              struct stat info {};
                              EXPECT_EQ(::lstat(QFile::encodeName(volume + QStringLiteral("/.Trash-0/files/Product.app/Contents/Info.plist"))
                                                    .constData(),
                                                &info),
                                        0);
                              EXPECT_EQ(info.st_uid, 0u);
                              EXPECT_FALSE(QFile::exists(home + QStringLiteral("/.local/share/Trash")));
                          },
                          "volume"};
    std::vector<Case> all(std::begin(cases), std::end(cases));
    all.push_back(forRoot);
    for (const Case& c : all) {
        QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), tmp.file(QStringLiteral("src")), tmp.file(QStringLiteral("Apps")),
                                                 home + QStringLiteral("/.local")});
        const QStringList arguments = c.arrange();
        const auto before = snapshotTree(tmp.path());
        const auto homeBefore = snapshotTree(home);
        EXPECT_EQ(train(arguments, c.pkexecUid), c.exit) << c.name << "\n" << log.toStdString();
        std::cout << c.name << ": exit " << c.exit << ", " << log.section(u'\n', 0, 0).toStdString() << std::endl;
        const auto after = snapshotTree(tmp.path());
        for (const QString& key : before.keys() + after.keys()) {
            // The folder's own times change with a staging folder made and gone again.
            if (key == u"Apps" || key == u"volume" ||
                (c.changes && (key == QLatin1String(c.changes) || key.startsWith(QLatin1String(c.changes) + u'/'))))
                continue;
            EXPECT_EQ(before.value(key), after.value(key)) << c.name << ": " << key.toStdString();
        }
        if (c.exit != 0) {
            EXPECT_EQ(snapshotTree(home), homeBefore) << c.name;
        }
        if (c.check)
            c.check(arguments);
    }
}

// The user's home reached through a link (/home -> /var/home): a link of root's in a
// folder only root may write is followed, one in a folder anybody may write is not.
TEST_F(HostileTrain, TheUsersHomeThroughALinkOfRoots)
{
    const QString links = tmp.mkdir(QStringLiteral("links"));
    ASSERT_TRUE(QFile::link(QFileInfo(home).path(), links + QStringLiteral("/home")));
    const QString linkedHome = links + QStringLiteral("/home/") + QFileInfo(home).fileName();
    const QByteArray name = qgetenv("RV_TEST_USER");
    ASSERT_EQ(QProcess::execute(QStringLiteral("usermod"), {QStringLiteral("-d"), linkedHome, QString::fromUtf8(name)}), 0);
    for (const bool anybodyMayWrite : {false, true}) {
        ::chmod(QFile::encodeName(links).constData(), anybodyMayWrite ? 01777 : 0755);
        QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), tmp.file(QStringLiteral("Apps")), home + QStringLiteral("/.local")});
        const QString source = product(QStringLiteral("src/Product.app"), "com.velmora.product", "2");
        const QString destination = product(QStringLiteral("Apps/Product.app"), "com.velmora.product", "1");
        const auto previous = snapshotTree(destination);
        const int exit = train({source, destination}, QByteArray::number(uid));
        std::cout << "home through a link in a folder " << (anybodyMayWrite ? "anybody" : "only root") << " may write: exit "
                  << exit << std::endl;
        if (anybodyMayWrite) {
            EXPECT_EQ(exit, 1) << log.toStdString();
            EXPECT_EQ(snapshotTree(destination), previous);
        } else {
            EXPECT_EQ(exit, 0) << log.toStdString();
            EXPECT_EQ(snapshotTree(home + QStringLiteral("/.local/share/Trash/files/Product.app")).keys(), previous.keys());
        }
    }
    QProcess::execute(QStringLiteral("usermod"), {QStringLiteral("-d"), home, QString::fromUtf8(name)});
}

} // namespace
