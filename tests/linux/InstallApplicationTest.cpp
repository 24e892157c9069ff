#include "FakePlatform.h"
#include "InstallFunction.h"
#include "LinuxTest.h"
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
QString trashCli(const QString& program, const QStringList& arguments, const QString& dataHome, const QByteArray& input = {})
{
    return runProgram(program, arguments, {u"XDG_DATA_HOME="_s + dataHome}, input, true);
}

class InstallApplicationTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        dataHome = tmp.mkdir(u"home/.local/share"_s);
        qputenv("XDG_DATA_HOME", dataHome.toUtf8());
        qunsetenv("PKEXEC_UID");
        applications = tmp.file(u"Applications"_s);
        RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(),
                             .workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(),
                                                                             applications)});
    }
    void TearDown() override { qunsetenv("XDG_DATA_HOME"); }

    // A product bundle with the kinds of items a real one has.
    QString makeProduct(const QString& relative, const QByteArray& version)
    {
        const QString app = tmp.mkdir(relative);
        tmp.write(relative + u"/Contents/Info.plist"_s, "{ CFBundleVersion = \"" + version + "\"; }");
        tmp.write(relative + u"/Contents/MacOS/Product"_s, "#!/bin/sh\necho " + version + "\n",
                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup);
        tmp.write(relative + u"/Contents/Resources/Data.bin"_s, QByteArray(100000, 'x') + version);
        QFile::link(u"Data.bin"_s, app + u"/Contents/Resources/Alias.bin"_s);
        QFile::link(u"/nonexistent/target"_s, app + u"/Contents/Resources/Dangling"_s);
        ::link(QFile::encodeName(app + u"/Contents/Resources/Data.bin"_s).constData(),
               QFile::encodeName(app + u"/Contents/Resources/Hard.bin"_s).constData());
        const QByteArray tagged = QFile::encodeName(app + u"/Contents/Info.plist"_s);
        ::setxattr(tagged.constData(), "user.velmora.test", "kept", 4, 0);
        return app;
    }

    QString versionAt(const QString& app) { return QString::fromUtf8(readFile(app + u"/Contents/Info.plist"_s)); }

    TempDir tmp;
    FakePlatform platform; // only for the log and the facts; files and workspace are real
    QString dataHome;
    QString applications;
    LogCapture log;
};

TEST_F(InstallApplicationTest, CopiesLikeCpAAndCreatesMissingFolders)
{
    const QString source = makeProduct(u"src/Product.app"_s, "2");
    const QString destination = applications + u"/Sub/Product.app"_s;
    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess);
    EXPECT_EQ(log.lines(), QStringList{destination + u" is not signed and names no key; installed unchecked"_s});

    auto expected = snapshotTree(source);
    auto actual = snapshotTree(destination);
    EXPECT_EQ(actual, expected);
    EXPECT_TRUE(describeItem(destination + u"/Contents/Info.plist"_s).contains("user.velmora.test=kept"));
    EXPECT_TRUE(describeItem(destination + u"/Contents/Resources/Hard.bin"_s).contains("nlink=2"));
    EXPECT_EQ(statOf(applications + u"/Sub"_s).st_mode & 07777, 0755u);
    EXPECT_EQ(QDir(applications + u"/Sub"_s).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{u"Product.app"_s});
}

TEST_F(InstallApplicationTest, PreviousCopyGoesToTheTrashAndComesBack)
{
    const QString source = makeProduct(u"src/Product.app"_s, "2");
    const QString destination = makeProduct(u"Applications/Product.app"_s, "1");
    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess);
    EXPECT_TRUE(versionAt(destination).contains(u'2'));

    const QString listed = trashCli(u"trash-list"_s, {}, dataHome);
    EXPECT_TRUE(listed.contains(destination)) << listed.toStdString();
    // Make room and restore the previous copy with an independent client.
    ASSERT_TRUE(QDir().rename(destination, tmp.file(u"new.app"_s)));
    trashCli(u"trash-restore"_s, {applications}, dataHome, "0\n");
    EXPECT_TRUE(versionAt(destination).contains(u'1')) << versionAt(destination).toStdString();
}

TEST_F(InstallApplicationTest, WrapperItemsLandBesideTheProduct)
{
    const QString source = makeProduct(u"src/Suite/Product.app"_s, "2");
    tmp.write(u"src/Suite/Read Me.txt"_s, "new read me");
    const QString wrapper = tmp.file(u"src/Suite"_s);

    // Target folder missing: the whole wrapper becomes it.
    const QString fresh = applications + u"/Suite/Product.app"_s;
    ASSERT_EQ(InstallApplication(source, fresh, wrapper), InstallResultSuccess);
    EXPECT_TRUE(QFile::exists(applications + u"/Suite/Read Me.txt"_s));
    EXPECT_TRUE(versionAt(fresh).contains(u'2'));

    // Target folder present with an old item: the old item and the previous product go to
    // the trash, the wrapper's own copy of the product is passed over for the source.
    tmp.write(u"Applications/Suite/Read Me.txt"_s, "old read me");
    ASSERT_EQ(InstallApplication(source, fresh, wrapper), InstallResultSuccess);
    EXPECT_EQ(readFile(applications + u"/Suite/Read Me.txt"_s), QByteArray("new read me"));
    EXPECT_TRUE(trashCli(u"trash-list"_s, {}, dataHome).contains(u"Read Me"_s));
    EXPECT_TRUE(trashCli(u"trash-list"_s, {}, dataHome).contains(fresh));
}

TEST_F(InstallApplicationTest, InstallingOverItselfDestroysNothing)
{
    const QString product = makeProduct(u"Applications/Product.app"_s, "1");
    const auto before = snapshotTree(product);
    EXPECT_EQ(InstallApplication(product, product, QString()), InstallResultSuccess);
    EXPECT_EQ(snapshotTree(product), before);
    EXPECT_FALSE(QFile::exists(dataHome + u"/Trash/files/Product.app"_s));
}

TEST_F(InstallApplicationTest, RefusalsComeBeforeAnythingMoves)
{
    const QString source = makeProduct(u"src/Suite/Product.app"_s, "2");
    makeProduct(u"Applications/Product.app"_s, "1");
    tmp.write(u"Applications/Other.app/Contents/Info.plist"_s, "{}");
    tmp.write(u"Folder/keep"_s, "mine");
    tmp.write(u"Plain.app"_s, "a file named like a bundle");
    QFile::link(source, tmp.file(u"SourceLink"_s));
    const QString home = QDir::homePath();
    struct Case
    {
        const char* name;
        QString source, destination, wrapper;
    } cases[] = {
        {"source is a file", tmp.file(u"Plain.app"_s), applications + u"/Product.app"_s, {}},
        {"source is missing", tmp.file(u"src/Missing.app"_s), applications + u"/Product.app"_s, {}},
        {"destination is a plain folder", source, tmp.file(u"Folder"_s), {}},
        {"destination with a slash is a plain folder", source, tmp.file(u"Folder/"_s), {}},
        {"destination is the root", source, u"/"_s, {}},
        {"destination is the applications folder", source, applications + u'/', {}},
        {"destination is home", source, home, {}},
        {"source inside the destination bundle", tmp.file(u"src/Suite/Product.app/Contents/Inner.app"_s),
         tmp.file(u"src/Suite/Product.app"_s), {}},
        {"destination inside the source", source, source + u"/Contents/Product.app"_s, {}},
        {"destination inside the source through a link", source, tmp.file(u"SourceLink/Contents/P.app"_s), {}},
        {"wrapper is its own target folder", source, tmp.file(u"src/Suite/Other.app"_s), tmp.file(u"src/Suite"_s)},
        {"wrapper's target folder holds the source", source, tmp.file(u"src/Product.app"_s), tmp.file(u"src/Suite"_s)},
        {"destination in the home Trash", source, dataHome + u"/Trash/files/Product.app"_s, {}},
        {"destination in a volume's Trash", source, tmp.file(u".Trash-1000/files/Product.app"_s), {}},
        {"destination reached through a link into the Trash", source, tmp.file(u"TrashLink/Product.app"_s), {}},
    };
    QFile::link(tmp.mkdir(u"home/.local/share/Trash/files"_s), tmp.file(u"TrashLink"_s));
    tmp.mkdir(u"src/Suite/Product.app/Contents/Inner.app"_s);
    for (const Case& c : cases) {
        const auto before = snapshotTree(tmp.path());
        const qsizetype seen = log.lines().size();
        EXPECT_EQ(InstallApplication(c.source, c.destination, c.wrapper), InstallResultCopyFailed) << c.name;
        EXPECT_EQ(snapshotTree(tmp.path()), before) << c.name;
        EXPECT_TRUE(log.lines().value(seen).startsWith(u"ERROR -- "_s)) << c.name;
    }
}

// A name as long as the file system allows still leaves room for the staging copy's.
TEST_F(InstallApplicationTest, LongestNamesStillStage)
{
    const QString name = QString(120, QChar(0x00e9)) + u".app"_s; // 244 bytes in UTF-8
    const QString source = makeProduct(u"src/"_s + name, "2");
    const QString destination = makeProduct(u"Applications/"_s + name, "1");
    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess) << log.lines().join(u'\n').toStdString();
    EXPECT_TRUE(versionAt(destination).contains(u'2'));
}

TEST_F(InstallApplicationTest, TrashThatCannotBeMadeLeavesThePreviousCopyUntouched)
{
    const QString source = makeProduct(u"src/Product.app"_s, "2");
    const QString destination = makeProduct(u"Applications/Product.app"_s, "1");
    tmp.write(u"home/.local/share/Trash"_s, "a file where the trash folder belongs");
    const auto before = snapshotTree(destination);
    EXPECT_EQ(InstallApplication(source, destination, QString()), InstallResultTrashFailed);
    EXPECT_EQ(snapshotTree(destination), before);
    const QStringList lines = log.lines();
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines.mid(lines.size() - 2),
              (QStringList{u"ERROR -- Could not trash '%1'"_s.arg(destination),
                           u"ERROR -- Could not trash existing %1"_s.arg(destination)}));
}

// A full disk, unreadable items and kills at every step: FaultMatrixTest.cpp.

TEST(Trash, WritesInfoFirstAndPicksAnotherNameWhenTaken)
{
    TempDir tmp;
    const QString dataHome = tmp.mkdir(u"share"_s);
    const RVTrash trash(::getuid(), dataHome);
    const QString name = u"Velmora Démo.app"_s;
    for (int round = 1; round <= 2; ++round) {
        tmp.mkdir(name + u"/Contents"_s);
        const RVTrash::Result result = trash.trash(tmp.file(name));
        ASSERT_TRUE(result.ok) << result.error.toStdString();
        EXPECT_EQ(QFileInfo(result.trashedPath).fileName(),
                  round == 1 ? name : u"Velmora Démo 2.app"_s);
        const QString text = QString::fromUtf8(readFile(result.infoPath));
        EXPECT_TRUE(text.startsWith(u"[Trash Info]\nPath="_s));
        EXPECT_TRUE(text.contains(u"Velmora%20D%C3%A9mo.app\n"_s)) << text.toStdString();
        EXPECT_TRUE(QRegularExpression(u"\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n$"_s)
                        .match(text).hasMatch()) << text.toStdString();
    }
    EXPECT_EQ(statOf(dataHome + u"/Trash"_s).st_mode & 0777, 0700u);
    EXPECT_FALSE(trash.trash(tmp.file(u"missing"_s)).ok);
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
    const QString home = tmp.mkdir(u"nobody"_s);
    ::chown(QFile::encodeName(home).constData(), 65534, 65534);
    const QString dataHome = home + u"/share"_s;
    tmp.mkdir(u"Applications/Product.app/Contents"_s);
    const RVTrash trash(65534, dataHome);
    const RVTrash::Result result = trash.trash(tmp.file(u"Applications/Product.app"_s));
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    for (const QString& folder : {dataHome + u"/Trash"_s, dataHome + u"/Trash/files"_s,
                                  dataHome + u"/Trash/info"_s, result.infoPath}) {
        EXPECT_EQ(statOf(folder).st_uid, 65534u) << folder.toStdString();
    }
    const QString output = runProgram(u"/usr/bin/setpriv"_s, TestUser{65534, 65534, {}}.drop() << u"trash-list"_s,
                                      {u"XDG_DATA_HOME="_s + dataHome, u"HOME="_s + home}, {}, true);
    EXPECT_TRUE(output.contains(tmp.file(u"Applications/Product.app"_s))) << output.toStdString();
}

} // namespace

// A link at the destination is itself the item to replace, whatever it names (nothing, another
// copy, the source itself): the link goes to the Trash, its target stays as it was, and the
// product is copied in its place.
TEST_F(InstallApplicationTest, LinkAtTheDestinationIsTrashedNeverItsTarget)
{
    const QString source = makeProduct(u"src/Product.app"_s, "2");
    const QString other = makeProduct(u"other/Product.app"_s, "1");
    const QString destination = tmp.mkdir(u"Applications"_s) + u"/Product.app"_s;
    RVFileManager& files = RVPlatform::current().fileManager();
    for (const QString& target : {tmp.file(u"gone.app"_s), other, source}) {
        const auto sourceBefore = snapshotTree(tmp.file(u"src"_s));
        const auto otherBefore = snapshotTree(tmp.file(u"other"_s));
        ASSERT_TRUE(QFile::link(target, destination));
        EXPECT_TRUE(files.itemExists(destination));

        ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess) << target.toStdString();
        EXPECT_FALSE(QFileInfo(destination).isSymLink()) << target.toStdString();
        EXPECT_TRUE(versionAt(destination).contains(u'2')) << target.toStdString();
        EXPECT_EQ(snapshotTree(tmp.file(u"src"_s)), sourceBefore);
        EXPECT_EQ(snapshotTree(tmp.file(u"other"_s)), otherBefore);
        const QDir trash(dataHome + u"/Trash/files"_s);
        const QStringList trashed = trash.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        EXPECT_TRUE(std::any_of(trashed.begin(), trashed.end(), [&](const QString& name) {
            return QFileInfo(trash.filePath(name)).symLinkTarget() == target;
        })) << "the link itself is in the Trash: " << target.toStdString();
        ASSERT_TRUE(QDir(destination).removeRecursively());
    }
    EXPECT_TRUE(trashCli(u"trash-list"_s, {}, dataHome).contains(destination));
}

// What a kill leaves beside the destination: the sweep of the next run trashes a previous
// copy left in a staging folder of ours (under the path it had), removes our copy, and
// touches nothing that carries no mark of ours, whatever its name.
TEST_F(InstallApplicationTest, TheSweepTrashesALeftPreviousCopyAndTouchesNothingElse)
{
    const QString source = makeProduct(u"src/Product.app"_s, "3");
    const QString destination = makeProduct(u"Applications/Product.app"_s, "2");
    const QString killed = u"Applications/.Product.app.velmora-1-2"_s;
    tmp.write(killed + u"/.velmora-staging"_s, QByteArray::number(::geteuid()) + "\nProduct.app");
    makeProduct(killed + u"/previous"_s, "1");
    makeProduct(killed + u"/new"_s, "2");
    tmp.write(u"Applications/.backup.velmora-1-2/thesis.tex"_s, "the user's thesis");
    tmp.write(u"Applications/.notes.velmora-1-2"_s, "the user's notes");
    // A mark of another uid (ours is ours even as root) is somebody else's.
    tmp.write(u"Applications/.forged.velmora-1-2/.velmora-staging"_s,
              QByteArray::number(::geteuid() == 0 ? 1 : 0) + "\nSomething.app");
    tmp.write(u"Applications/.forged.velmora-1-2/new/data"_s, "the user's data");
    const auto untouched = [&] {
        auto all = snapshotTree(applications);
        for (const QString& key : all.keys()) {
            if (!key.contains(u"backup"_s) && !key.contains(u"notes"_s) && !key.contains(u"forged"_s))
                all.remove(key);
        }
        return all;
    };
    const auto before = untouched();

    ASSERT_EQ(InstallApplication(source, destination, QString()), InstallResultSuccess);
    EXPECT_EQ(untouched(), before);
    EXPECT_FALSE(QFile::exists(tmp.file(killed)));
    EXPECT_TRUE(versionAt(destination).contains(u'3'));
    const QString listed = trashCli(u"trash-list"_s, {}, dataHome);
    EXPECT_EQ(listed.count(destination), 2) << listed.toStdString();
    EXPECT_TRUE(versionAt(dataHome + u"/Trash/files/Product.app"_s).contains(u'1'));
    EXPECT_TRUE(versionAt(dataHome + u"/Trash/files/Product 2.app"_s).contains(u'2'));
}
