#include "FakePlatform.h"
#include "InstallFunction.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVTrash.h"
#include "TempDir.h"
#include "TreeSnapshot.h"

#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

// Runs a trash-cli command with the test's data folder and answers its output.
QString trashCli(const QString& program, const QStringList& arguments, const QString& dataHome,
                 const QByteArray& input = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(20000);
    return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
}

class InstallApplicationTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        dataHome = tmp.mkdir(QStringLiteral("home/.local/share"));
        qputenv("XDG_DATA_HOME", dataHome.toUtf8());
        qunsetenv("PKEXEC_UID");
        applications = tmp.file(QStringLiteral("Applications"));
        RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(),
                             .workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(),
                                                                             applications)});
    }
    void TearDown() override { qunsetenv("XDG_DATA_HOME"); }

    // A product bundle with the kinds of items a real one has.
    QString makeProduct(const QString& relative, const QByteArray& version)
    {
        const QString app = tmp.mkdir(relative);
        tmp.write(relative + QStringLiteral("/Contents/Info.plist"), "{ CFBundleVersion = \"" + version + "\"; }");
        tmp.write(relative + QStringLiteral("/Contents/MacOS/Product"), "#!/bin/sh\necho " + version + "\n",
                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup);
        tmp.write(relative + QStringLiteral("/Contents/Resources/Data.bin"), QByteArray(100000, 'x') + version);
        QFile::link(QStringLiteral("Data.bin"), app + QStringLiteral("/Contents/Resources/Alias.bin"));
        QFile::link(QStringLiteral("/nonexistent/target"), app + QStringLiteral("/Contents/Resources/Dangling"));
        ::link(QFile::encodeName(app + QStringLiteral("/Contents/Resources/Data.bin")).constData(),
               QFile::encodeName(app + QStringLiteral("/Contents/Resources/Hard.bin")).constData());
        const QByteArray tagged = QFile::encodeName(app + QStringLiteral("/Contents/Info.plist"));
        ::setxattr(tagged.constData(), "user.velmora.test", "kept", 4, 0);
        return app;
    }

    QString versionAt(const QString& app)
    {
        QFile f(app + QStringLiteral("/Contents/Info.plist"));
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }

    TempDir tmp;
    FakePlatform platform; // only for the log and the facts; files and workspace are real
    QString dataHome;
    QString applications;
    LogCapture log;
};

TEST_F(InstallApplicationTest, CopiesLikeCpAAndCreatesMissingFolders)
{
    const QString source = makeProduct(QStringLiteral("src/Product.app"), "2");
    const QString destination = applications + QStringLiteral("/Sub/Product.app");
    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess);
    EXPECT_EQ(log.lines(), QStringList{destination + QStringLiteral(" is not signed and names no key; installed unchecked")});

    auto expected = snapshotTree(source);
    auto actual = snapshotTree(destination);
    EXPECT_EQ(actual, expected);
    EXPECT_TRUE(describeItem(destination + QStringLiteral("/Contents/Info.plist")).contains("user.velmora.test=kept"));
    EXPECT_TRUE(describeItem(destination + QStringLiteral("/Contents/Resources/Hard.bin")).contains("nlink=2"));
    struct stat info {};
    ::stat(QFile::encodeName(applications + QStringLiteral("/Sub")).constData(), &info);
    EXPECT_EQ(info.st_mode & 07777, 0755u);
    EXPECT_EQ(QDir(applications + QStringLiteral("/Sub")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("Product.app")});
}

TEST_F(InstallApplicationTest, PreviousCopyGoesToTheTrashAndComesBack)
{
    const QString source = makeProduct(QStringLiteral("src/Product.app"), "2");
    const QString destination = makeProduct(QStringLiteral("Applications/Product.app"), "1");
    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess);
    EXPECT_TRUE(versionAt(destination).contains(u'2'));

    const QString listed = trashCli(QStringLiteral("trash-list"), {}, dataHome);
    EXPECT_TRUE(listed.contains(destination)) << listed.toStdString();
    // Make room and restore the previous copy with an independent client.
    ASSERT_TRUE(QDir().rename(destination, tmp.file(QStringLiteral("new.app"))));
    trashCli(QStringLiteral("trash-restore"), {applications}, dataHome, "0\n");
    EXPECT_TRUE(versionAt(destination).contains(u'1')) << versionAt(destination).toStdString();
}

TEST_F(InstallApplicationTest, WrapperItemsLandBesideTheProduct)
{
    const QString source = makeProduct(QStringLiteral("src/Suite/Product.app"), "2");
    tmp.write(QStringLiteral("src/Suite/Read Me.txt"), "new read me");
    const QString wrapper = tmp.file(QStringLiteral("src/Suite"));

    // Target folder missing: the whole wrapper becomes it.
    const QString fresh = applications + QStringLiteral("/Suite/Product.app");
    ASSERT_EQ(InstallApplication(source, fresh, wrapper), InstallResultSuccess);
    EXPECT_TRUE(QFile::exists(applications + QStringLiteral("/Suite/Read Me.txt")));
    EXPECT_TRUE(versionAt(fresh).contains(u'2'));

    // Target folder present with an old item: the old item and the previous product go to
    // the trash, the wrapper's own copy of the product is passed over for the source.
    tmp.write(QStringLiteral("Applications/Suite/Read Me.txt"), "old read me");
    ASSERT_EQ(InstallApplication(source, fresh, wrapper), InstallResultSuccess);
    QFile readMe(applications + QStringLiteral("/Suite/Read Me.txt"));
    ASSERT_TRUE(readMe.open(QIODevice::ReadOnly));
    EXPECT_EQ(readMe.readAll(), QByteArray("new read me"));
    EXPECT_TRUE(trashCli(QStringLiteral("trash-list"), {}, dataHome).contains(QStringLiteral("Read Me")));
    EXPECT_TRUE(trashCli(QStringLiteral("trash-list"), {}, dataHome).contains(fresh));
}

TEST_F(InstallApplicationTest, InstallingOverItselfDestroysNothing)
{
    const QString product = makeProduct(QStringLiteral("Applications/Product.app"), "1");
    const auto before = snapshotTree(product);
    EXPECT_EQ(InstallApplication(product, product, QString()), InstallResultSuccess);
    EXPECT_EQ(snapshotTree(product), before);
    EXPECT_FALSE(QFile::exists(dataHome + QStringLiteral("/Trash/files/Product.app")));
}

TEST_F(InstallApplicationTest, RefusalsComeBeforeAnythingMoves)
{
    const QString source = makeProduct(QStringLiteral("src/Suite/Product.app"), "2");
    makeProduct(QStringLiteral("Applications/Product.app"), "1");
    tmp.write(QStringLiteral("Applications/Other.app/Contents/Info.plist"), "{}");
    tmp.write(QStringLiteral("Folder/keep"), "mine");
    tmp.write(QStringLiteral("Plain.app"), "a file named like a bundle");
    QFile::link(source, tmp.file(QStringLiteral("SourceLink")));
    const QString home = QDir::homePath();
    struct Case
    {
        const char* name;
        QString source, destination, wrapper;
    } cases[] = {
        {"source is a file", tmp.file(QStringLiteral("Plain.app")), applications + QStringLiteral("/Product.app"), {}},
        {"source is missing", tmp.file(QStringLiteral("src/Missing.app")), applications + QStringLiteral("/Product.app"), {}},
        {"destination is a plain folder", source, tmp.file(QStringLiteral("Folder")), {}},
        {"destination with a slash is a plain folder", source, tmp.file(QStringLiteral("Folder/")), {}},
        {"destination is the root", source, QStringLiteral("/"), {}},
        {"destination is the applications folder", source, applications + u'/', {}},
        {"destination is home", source, home, {}},
        {"source inside the destination bundle", tmp.file(QStringLiteral("src/Suite/Product.app/Contents/Inner.app")),
         tmp.file(QStringLiteral("src/Suite/Product.app")), {}},
        {"destination inside the source", source, source + QStringLiteral("/Contents/Product.app"), {}},
        {"destination inside the source through a link", source, tmp.file(QStringLiteral("SourceLink/Contents/P.app")), {}},
        {"wrapper is its own target folder", source, tmp.file(QStringLiteral("src/Suite/Other.app")), tmp.file(QStringLiteral("src/Suite"))},
        {"wrapper's target folder holds the source", source, tmp.file(QStringLiteral("src/Product.app")), tmp.file(QStringLiteral("src/Suite"))},
        {"destination in the home Trash", source, dataHome + QStringLiteral("/Trash/files/Product.app"), {}},
        {"destination in a volume's Trash", source, tmp.file(QStringLiteral(".Trash-1000/files/Product.app")), {}},
        {"destination reached through a link into the Trash", source, tmp.file(QStringLiteral("TrashLink/Product.app")), {}},
    };
    QFile::link(tmp.mkdir(QStringLiteral("home/.local/share/Trash/files")), tmp.file(QStringLiteral("TrashLink")));
    tmp.mkdir(QStringLiteral("src/Suite/Product.app/Contents/Inner.app"));
    for (const Case& c : cases) {
        const auto before = snapshotTree(tmp.path());
        const qsizetype seen = log.lines().size();
        EXPECT_EQ(InstallApplication(c.source, c.destination, c.wrapper), InstallResultCopyFailed) << c.name;
        EXPECT_EQ(snapshotTree(tmp.path()), before) << c.name;
        EXPECT_TRUE(log.lines().value(seen).startsWith(QStringLiteral("ERROR -- "))) << c.name;
    }
}

// A name as long as the file system allows still leaves room for the staging copy's.
TEST_F(InstallApplicationTest, LongestNamesStillStage)
{
    const QString name = QString(120, QChar(0x00e9)) + QStringLiteral(".app"); // 244 bytes in UTF-8
    const QString source = makeProduct(QStringLiteral("src/") + name, "2");
    const QString destination = makeProduct(QStringLiteral("Applications/") + name, "1");
    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess) << log.lines().join(u'\n').toStdString();
    EXPECT_TRUE(versionAt(destination).contains(u'2'));
}

TEST_F(InstallApplicationTest, TrashThatCannotBeMadeLeavesThePreviousCopyUntouched)
{
    const QString source = makeProduct(QStringLiteral("src/Product.app"), "2");
    const QString destination = makeProduct(QStringLiteral("Applications/Product.app"), "1");
    tmp.write(QStringLiteral("home/.local/share/Trash"), "a file where the trash folder belongs");
    const auto before = snapshotTree(destination);
    EXPECT_EQ(InstallApplication(source, destination, QString()), InstallResultTrashFailed);
    EXPECT_EQ(snapshotTree(destination), before);
    const QStringList lines = log.lines();
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines.mid(lines.size() - 2),
              (QStringList{QStringLiteral("ERROR -- Could not trash '%1'").arg(destination),
                           QStringLiteral("ERROR -- Could not trash existing %1").arg(destination)}));
}

// A full disk, unreadable items and kills at every step: FaultMatrixTest.cpp.

TEST(Trash, WritesInfoFirstAndPicksAnotherNameWhenTaken)
{
    TempDir tmp;
    const QString dataHome = tmp.mkdir(QStringLiteral("share"));
    const RVTrash trash(::getuid(), dataHome);
    const QString name = QStringLiteral("Velmora Démo.app");
    for (int round = 1; round <= 2; ++round) {
        tmp.mkdir(name + QStringLiteral("/Contents"));
        const RVTrash::Result result = trash.trash(tmp.file(name));
        ASSERT_TRUE(result.ok) << result.error.toStdString();
        EXPECT_EQ(QFileInfo(result.trashedPath).fileName(),
                  round == 1 ? name : QStringLiteral("Velmora Démo 2.app"));
        QFile info(result.infoPath);
        ASSERT_TRUE(info.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(info.readAll());
        EXPECT_TRUE(text.startsWith(QStringLiteral("[Trash Info]\nPath=")));
        EXPECT_TRUE(text.contains(QStringLiteral("Velmora%20D%C3%A9mo.app\n"))) << text.toStdString();
        EXPECT_TRUE(QRegularExpression(QStringLiteral("\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n$"))
                        .match(text).hasMatch()) << text.toStdString();
    }
    struct stat info {};
    ::stat(QFile::encodeName(dataHome + QStringLiteral("/Trash")).constData(), &info);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    EXPECT_FALSE(trash.trash(tmp.file(QStringLiteral("missing"))).ok);
}

TEST(Trash, RecordedPathIsRelativeToEveryTopDirectoryAndEncoded)
{
    struct Case
    {
        const char* item;
        const char* topdir;
        const char* recorded;
    } cases[] = {
        {"/tmp/Product.app", "/", "tmp/Product.app"},
        {"/media/stick/Apps/My App.app", "/media/stick", "Apps/My%20App.app"},
        {"/home/u/Product.app", "", "/home/u/Product.app"},
        {"/Applications/Caf\u00e9 100%.app", "/", "Applications/Caf%C3%A9%20100%25.app"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RVTrash::recordedPath(QString::fromUtf8(c.item), QString::fromUtf8(c.topdir)), QByteArray(c.recorded)) << c.item;
}

TEST(Trash, ActsForAnotherUserWhoCanListTheItem)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "acting for another user needs root";
    TempDir tmp;
    QFile::setPermissions(tmp.path(), QFile::permissions(tmp.path()) | QFile::ExeOther | QFile::ReadOther);
    const QString home = tmp.mkdir(QStringLiteral("nobody"));
    ::chown(QFile::encodeName(home).constData(), 65534, 65534);
    const QString dataHome = home + QStringLiteral("/share");
    tmp.mkdir(QStringLiteral("Applications/Product.app/Contents"));
    const RVTrash trash(65534, dataHome);
    const RVTrash::Result result = trash.trash(tmp.file(QStringLiteral("Applications/Product.app")));
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    for (const QString& folder : {dataHome + QStringLiteral("/Trash"), dataHome + QStringLiteral("/Trash/files"),
                                  dataHome + QStringLiteral("/Trash/info"), result.infoPath}) {
        struct stat info {};
        ASSERT_EQ(::stat(QFile::encodeName(folder).constData(), &info), 0) << folder.toStdString();
        EXPECT_EQ(info.st_uid, 65534u) << folder.toStdString();
    }
    QProcess list;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    environment.insert(QStringLiteral("HOME"), home);
    list.setProcessEnvironment(environment);
    list.start(QStringLiteral("/usr/bin/setpriv"), {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                                                     QStringLiteral("--clear-groups"), QStringLiteral("trash-list")});
    ASSERT_TRUE(list.waitForFinished(20000));
    const QString output = QString::fromUtf8(list.readAllStandardOutput());
    EXPECT_TRUE(output.contains(tmp.file(QStringLiteral("Applications/Product.app")))) << output.toStdString()
                                                                                     << list.readAllStandardError().toStdString();
}

} // namespace

// A link at the destination is itself the item to replace, whatever it names (nothing, another
// copy, the source itself): the link goes to the Trash, its target stays as it was, and the
// product is copied in its place.
TEST_F(InstallApplicationTest, LinkAtTheDestinationIsTrashedNeverItsTarget)
{
    const QString source = makeProduct(QStringLiteral("src/Product.app"), "2");
    const QString other = makeProduct(QStringLiteral("other/Product.app"), "1");
    const QString destination = tmp.mkdir(QStringLiteral("Applications")) + QStringLiteral("/Product.app");
    RVFileManager& files = RVPlatform::current().fileManager();
    for (const QString& target : {tmp.file(QStringLiteral("gone.app")), other, source}) {
        const auto sourceBefore = snapshotTree(tmp.file(QStringLiteral("src")));
        const auto otherBefore = snapshotTree(tmp.file(QStringLiteral("other")));
        ASSERT_TRUE(QFile::link(target, destination));
        EXPECT_TRUE(files.itemExists(destination));

        ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess) << target.toStdString();
        EXPECT_FALSE(QFileInfo(destination).isSymLink()) << target.toStdString();
        EXPECT_TRUE(versionAt(destination).contains(u'2')) << target.toStdString();
        EXPECT_EQ(snapshotTree(tmp.file(QStringLiteral("src"))), sourceBefore);
        EXPECT_EQ(snapshotTree(tmp.file(QStringLiteral("other"))), otherBefore);
        const QDir trash(dataHome + QStringLiteral("/Trash/files"));
        const QStringList trashed = trash.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        EXPECT_TRUE(std::any_of(trashed.begin(), trashed.end(), [&](const QString& name) {
            return QFileInfo(trash.filePath(name)).symLinkTarget() == target;
        })) << "the link itself is in the Trash: " << target.toStdString();
        ASSERT_TRUE(QDir(destination).removeRecursively());
    }
    EXPECT_TRUE(trashCli(QStringLiteral("trash-list"), {}, dataHome).contains(destination));
}

// What a kill leaves beside the destination: the sweep of the next run trashes a previous
// copy left in a staging folder of ours (under the path it had), removes our copy, and
// touches nothing that carries no mark of ours, whatever its name.
TEST_F(InstallApplicationTest, TheSweepTrashesALeftPreviousCopyAndTouchesNothingElse)
{
    const QString source = makeProduct(QStringLiteral("src/Product.app"), "3");
    const QString destination = makeProduct(QStringLiteral("Applications/Product.app"), "2");
    const QString killed = QStringLiteral("Applications/.Product.app.velmora-1-2");
    tmp.write(killed + QStringLiteral("/.velmora-staging"), QByteArray::number(::geteuid()) + "\nProduct.app");
    makeProduct(killed + QStringLiteral("/previous"), "1");
    makeProduct(killed + QStringLiteral("/new"), "2");
    tmp.write(QStringLiteral("Applications/.backup.velmora-1-2/thesis.tex"), "the user's thesis");
    tmp.write(QStringLiteral("Applications/.notes.velmora-1-2"), "the user's notes");
    // A mark of another uid (ours is ours even as root) is somebody else's.
    tmp.write(QStringLiteral("Applications/.forged.velmora-1-2/.velmora-staging"),
              QByteArray::number(::geteuid() == 0 ? 1 : 0) + "\nSomething.app");
    tmp.write(QStringLiteral("Applications/.forged.velmora-1-2/new/data"), "the user's data");
    const auto untouched = [&] {
        auto all = snapshotTree(applications);
        for (const QString& key : all.keys()) {
            if (!key.contains(QStringLiteral("backup")) && !key.contains(QStringLiteral("notes")) && !key.contains(QStringLiteral("forged")))
                all.remove(key);
        }
        return all;
    };
    const auto before = untouched();

    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess);
    EXPECT_EQ(untouched(), before);
    EXPECT_FALSE(QFile::exists(tmp.file(killed)));
    EXPECT_TRUE(versionAt(destination).contains(u'3'));
    const QString listed = trashCli(QStringLiteral("trash-list"), {}, dataHome);
    EXPECT_EQ(listed.count(destination), 2) << listed.toStdString();
    EXPECT_TRUE(versionAt(dataHome + QStringLiteral("/Trash/files/Product.app")).contains(u'1'));
    EXPECT_TRUE(versionAt(dataHome + QStringLiteral("/Trash/files/Product 2.app")).contains(u'2'));
}
