#include "LinuxTest.h"
#include "TempDir.h"
#include "TreeSnapshot.h"

#include <QDirIterator>
#include <QRegularExpression>

#include <csignal>
#include <iostream>
#include <map>
#include <sys/mount.h>

#include <gtest/gtest.h>

namespace {

// Every fault at every step of an installation, for the plain copy (the installer's own
// procedure, run as the user) and the privileged copy (train, run as root for the user):
// whatever happens, the source is untouched, the destination holds the previous copy or
// the complete new one (never nothing: the new copy is swapped in), the user's own files
// beside the product are untouched, nothing in the user's home is root's, and the next
// run succeeds, leaves no debris, and the previous copy is in the Trash (a kill between
// the swap and the trash leaves it for that run to trash).
enum class Step { WrapperItems, Trash, ProductCopy, FinalRename, Launch };
enum class Fault { Kill, FullDisk, Unreadable, NoTrash, FolderRemoved };

const std::map<Step, const char*> kSteps = {{Step::WrapperItems, "wrapper items"}, {Step::Trash, "trash"},
                                            {Step::ProductCopy, "product copy"}, {Step::FinalRename, "final rename"},
                                            {Step::Launch, "launch"}};
const std::map<Fault, const char*> kFaults = {{Fault::Kill, "SIGKILL"}, {Fault::FullDisk, "full disk"},
                                              {Fault::Unreadable, "unreadable item"}, {Fault::NoTrash, "no Trash"},
                                              {Fault::FolderRemoved, "folder removed"}};

QStringList rootOwnedIn(const QString& root)
{
    QStringList found;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        if (const QString path = it.next(); statOf(path).st_uid == 0)
            found << path;
    }
    return found;
}

// A user's copy cannot keep root as the owner, as cp -a cannot: compare without owners.
QMap<QString, QByteArray> withoutOwners(QMap<QString, QByteArray> items)
{
    for (QByteArray& item : items)
        item = QString::fromUtf8(item).remove(QRegularExpression(u" uid=\\d+"_s)).toUtf8();
    return items;
}

QStringList stagingIn(const QString& folder)
{
    return QDir(folder).entryList({u"*.velmora-*"_s}, QDir::AllEntries | QDir::Hidden | QDir::System);
}

// Watches a folder and acts once when an item with a matching name shows up there (or
// leaves, for a rename away): the fault is driven by the copy's own progress.
struct Trigger
{
    QString folder;
    uint32_t mask = 0;
    std::function<bool(const QString&)> matches;
};

class FaultMatrix : public TestUserTest
{
protected:

    struct Run
    {
        TempDir tmp;
        QString source, wrapper, apps, destination;
        std::optional<QMap<QString, QByteArray>> previous, product;
        QByteArray notes;
    };

    QString trashFolder() const { return user.home + u"/.local/share/Trash"_s; }

    // The names in the user's Trash (the home's, or the volume's of volume) whose item is,
    // owners aside, the given tree.
    QStringList trashedCopiesOf(const QMap<QString, QByteArray>& tree, const QString& volume = QString()) const
    {
        QStringList found, trashes{trashFolder()};
        if (!volume.isEmpty())
            trashes << volume + u"/.Trash-%1"_s.arg(user.uid);
        for (const QString& trash : trashes) {
            const QString files = trash + u"/files"_s;
            for (const QString& name : QDir(files).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
                if (withoutOwners(snapshotTree(files + u'/' + name)) == withoutOwners(tree))
                    found << name;
            }
        }
        return found;
    }

    // Runs a program as the user, with the user's home.
    QString asUser(const QString& program, const QStringList& arguments, const QByteArray& input = {})
    {
        return runProgram(u"/usr/bin/setpriv"_s, user.drop() + QStringList{program} + arguments,
                          {u"HOME="_s + user.home, u"XDG_DATA_HOME="_s + user.home + u"/.local/share"_s}, input);
    }

    void prepare(Run& run, bool withWrapper, bool smallDisk)
    {
        QFile::setPermissions(run.tmp.path(), QFile::permissions(run.tmp.path()) | QFile::ExeOther | QFile::ReadOther);
        run.source = run.tmp.mkdir(u"src/Suite/Product.app"_s);
        run.tmp.write(u"src/Suite/Product.app/Contents/Info.plist"_s,
                      "{ CFBundleIdentifier = com.velmora.product; CFBundleShortVersionString = \"2\"; }");
        run.tmp.write(u"src/Suite/Product.app/Contents/Resources/Big.bin"_s, QByteArray(48 << 20, 'n'));
        if (withWrapper) {
            run.wrapper = run.tmp.file(u"src/Suite"_s);
            run.tmp.write(u"src/Suite/Extra.bin"_s, QByteArray(48 << 20, 'e'));
            run.tmp.write(u"src/Suite/Projects/readme.txt"_s, "the suite's");
        }
        run.apps = run.tmp.mkdir(u"Apps"_s);
        if (smallDisk)
            m_mount = std::make_unique<QString>(run.apps), ::mount("tmpfs", QFile::encodeName(run.apps).constData(), "tmpfs", 0, "size=40m");
        run.tmp.write(u"Apps/Suite/Product.app/Contents/Info.plist"_s,
                      "{ CFBundleIdentifier = com.velmora.product; CFBundleShortVersionString = \"1\"; }");
        run.tmp.write(u"Apps/Suite/Extra.bin"_s, "old extra");
        // The user's own files beside the product, one in a folder the wrapper also has.
        run.tmp.write(u"Apps/Suite/Projects/mywork.txt"_s, "the user's work");
        run.tmp.write(u"Apps/Suite/Notes.txt"_s, "the user's notes");
        user.own(run.apps);
        run.destination = run.apps + u"/Suite/Product.app"_s;
        run.previous = snapshotTree(run.destination);
        run.notes = describeItem(run.apps + u"/Suite/Notes.txt"_s);
        run.product = snapshotTree(run.source);
        QProcess::execute(u"rm"_s, {u"-rf"_s, user.home + u"/.local"_s});
        const QString share = user.home + u"/.local/share"_s;
        QDir().mkpath(share);
        user.own(user.home);
    }

    void unmount()
    {
        if (m_mount)
            ::umount2(QFile::encodeName(*m_mount).constData(), MNT_DETACH);
        m_mount.reset();
    }

    QProcess* start(const Run& run, bool privileged)
    {
        auto* process = new QProcess;
        QProcessEnvironment environment;
        environment.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
        QStringList arguments{run.source, run.destination};
        if (!run.wrapper.isEmpty())
            arguments << run.wrapper;
        if (privileged) {
            // As pkexec starts it: root, a cleared environment, the asking user's uid.
            environment.insert(u"PKEXEC_UID"_s, QString::number(user.uid));
            process->setProcessEnvironment(environment);
            process->start(u"" RV_INSTALLER_BUNDLE "/Contents/Resources/train"_s, arguments);
        } else {
            environment.insert(u"HOME"_s, user.home);
            environment.insert(u"XDG_DATA_HOME"_s, user.home + u"/.local/share"_s);
            process->setProcessEnvironment(environment);
            process->start(u"/usr/bin/setpriv"_s, user.drop() + QStringList{u"" RV_INSTALL_HELPER ""_s, run.apps} + arguments);
        }
        process->waitForStarted();
        return process;
    }

    // Runs one installation; when the trigger fires, acts (kill, or move the folder away).
    // Answers the exit code (-1 when killed) and whether the trigger fired.
    std::pair<int, bool> install(const Run& run, bool privileged, const std::optional<Trigger>& trigger,
                                 const std::function<void(qint64 pid)>& act)
    {
        const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (trigger)
            ::inotify_add_watch(watch, QFile::encodeName(trigger->folder).constData(), trigger->mask);
        std::unique_ptr<QProcess> process(start(run, privileged));
        bool fired = !trigger;
        // Reads what the watch saw; true when the trigger's item showed up.
        const auto sawTrigger = [&](int timeout) {
            const QStringList names = inotifyNames(watch, timeout);
            return std::any_of(names.begin(), names.end(), trigger->matches);
        };
        while (process->state() != QProcess::NotRunning) {
            if (!fired && sawTrigger(5)) {
                act(process->processId());
                fired = true;
            }
            process->waitForFinished(fired ? 30000 : 1);
        }
        // The last step and the end can come within a millisecond: the step was reached
        // even if the process ended before the fault could land.
        for (int batch = 0; batch < 64 && !fired; ++batch)
            fired = sawTrigger(0);
        ::close(watch);
        const int code = process->exitStatus() == QProcess::CrashExit ? -1 : process->exitCode();
        return {code, fired};
    }

    // A file of the user's where the Trash folder belongs.
    void blockTrash()
    {
        const QString path = user.home + u"/.local/share/Trash"_s;
        QFile(path).open(QIODevice::WriteOnly);
        ::lchown(QFile::encodeName(path).constData(), user.uid, user.gid);
    }

    std::unique_ptr<QString> m_mount;
};

TEST_F(FaultMatrix, EveryFaultAtEveryStepKeepsTheProductAndTheNextRunSucceeds)
{
    struct Cell
    {
        Fault fault;
        Step step;
    };
    const std::vector<Cell> cells = {
        {Fault::Kill, Step::WrapperItems},      {Fault::Kill, Step::Trash},          {Fault::Kill, Step::ProductCopy},
        {Fault::Kill, Step::FinalRename},       {Fault::Kill, Step::Launch},         {Fault::FullDisk, Step::WrapperItems},
        {Fault::FullDisk, Step::ProductCopy},   {Fault::Unreadable, Step::WrapperItems},
        {Fault::Unreadable, Step::ProductCopy}, {Fault::NoTrash, Step::Trash},       {Fault::FolderRemoved, Step::ProductCopy},
        {Fault::FolderRemoved, Step::FinalRename},
    };
    std::map<std::pair<bool, std::pair<Step, Fault>>, std::string> matrix;
    for (const bool privileged : {false, true}) {
        for (const Cell& cell : cells) {
            const std::string where = std::string(privileged ? "privileged" : "plain") + ", " + kFaults.at(cell.fault) +
                                      " at " + kSteps.at(cell.step);
            auto& outcome = matrix[{privileged, {cell.step, cell.fault}}];
            if (privileged && cell.fault == Fault::Unreadable) {
                outcome = "n/a (root reads all)";
                continue;
            }
            Run run;
            prepare(run, cell.step == Step::WrapperItems, cell.fault == Fault::FullDisk);
            const QString suite = run.apps + u"/Suite"_s;
            const QString unreadable = cell.step == Step::WrapperItems ? u"/src/Suite/Extra.bin"_s
                                                                       : u"/src/Suite/Product.app/Contents/Resources/Big.bin"_s;
            if (cell.fault == Fault::Unreadable)
                ::chmod(QFile::encodeName(run.tmp.path() + unreadable).constData(), 0);
            if (cell.fault == Fault::NoTrash)
                blockTrash();

            std::optional<Trigger> trigger;
            const auto startsWith = [](const char* prefix) {
                return [prefix](const QString& name) { return name.startsWith(QString::fromUtf8(prefix)); };
            };
            if (cell.fault == Fault::Kill || cell.fault == Fault::FolderRemoved) {
                switch (cell.step) {
                case Step::WrapperItems: trigger = Trigger{suite, IN_CREATE, startsWith(".Extra.bin.velmora-")}; break;
                case Step::Trash: trigger = Trigger{user.home + u"/.local/share"_s, IN_CREATE, startsWith("Trash")}; break;
                case Step::ProductCopy: trigger = Trigger{suite, IN_CREATE, startsWith(".Product.app.velmora-")}; break;
                case Step::FinalRename: trigger = Trigger{suite, IN_MOVED_FROM, [](const QString& n) { return n == u"Product.app"; }}; break;
                case Step::Launch: trigger = Trigger{suite, IN_MOVED_TO, [](const QString& n) { return n == u"Product.app"; }}; break;
                }
            }
            const QString moved = run.apps + u"/Suite.moved"_s;
            const auto act = [&](qint64 pid) {
                if (cell.fault == Fault::Kill)
                    ::kill(pid_t(pid), SIGKILL);
                else
                    QDir().rename(suite, moved);
            };
            const auto [code, fired] = install(run, privileged, trigger, act);
            EXPECT_TRUE(fired) << where << ": the step was never reached";

            // Invariants after the fault.
            EXPECT_EQ(snapshotTree(run.source).size(), run.product->size()) << where;
            const QString destination = cell.fault == Fault::FolderRemoved && QFile::exists(moved)
                                            ? moved + u"/Product.app"_s : run.destination;
            const auto now = snapshotTree(destination);
            if (now == *run.previous)
                outcome = "previous kept";
            else if (withoutOwners(now) == withoutOwners(*run.product))
                outcome = "new copy";
            else
                ADD_FAILURE() << where << ": destination neither previous nor new copy", outcome = "DAMAGED";
            const QString productFolder = QFileInfo(destination).path();
            for (const QString& staging : stagingIn(productFolder)) {
                if (QFile::exists(productFolder + u'/' + staging + u"/previous"_s))
                    outcome += ", previous copy left for the next run";
            }
            outcome += " (exit " + std::to_string(code) + ")";
            EXPECT_EQ(describeItem(QFileInfo(destination).path() + u"/Notes.txt"_s), run.notes) << where;
            EXPECT_EQ(rootOwnedIn(user.home), QStringList()) << where;

            // The fault removed, the next run succeeds and leaves no debris.
            if (cell.fault == Fault::FullDisk)
                ::mount("tmpfs", QFile::encodeName(run.apps).constData(), "tmpfs", MS_REMOUNT, "size=256m");
            if (cell.fault == Fault::Unreadable)
                ::chmod(QFile::encodeName(run.tmp.path() + unreadable).constData(), 0644);
            if (cell.fault == Fault::NoTrash)
                QFile::remove(user.home + u"/.local/share/Trash"_s);
            // root's tool replaces only a copy of the product where it is: the user puts the
            // folder back first.
            if (privileged && cell.fault == Fault::FolderRemoved)
                QDir().rename(moved, suite);
            const auto [again, unused] = install(run, privileged, std::nullopt, {});
            EXPECT_EQ(again, 0) << where << ": the next run";
            EXPECT_EQ(withoutOwners(snapshotTree(run.destination)), withoutOwners(*run.product)) << where;
            const bool previousInTrash = !trashedCopiesOf(*run.previous, run.apps).isEmpty();
            EXPECT_TRUE(previousInTrash || snapshotTree(moved + u"/Product.app"_s) == *run.previous)
                << where << ": the previous copy is neither in the Trash nor where the folder went";
            EXPECT_EQ(describeItem((QFile::exists(moved) ? moved : suite) + u"/Notes.txt"_s), run.notes) << where;
            for (const QString& folder : {run.apps, suite, moved})
                EXPECT_EQ(stagingIn(folder), QStringList()) << where << " in " << folder.toStdString();
            EXPECT_EQ(rootOwnedIn(user.home), QStringList()) << where;
            unmount();
        }
    }
    std::cout << "fault matrix (rows: step; columns: fault):\n";
    for (const bool privileged : {false, true}) {
        std::cout << (privileged ? "privileged copy (train as root)\n" : "plain copy (as the user)\n");
        for (const auto& [step, stepName] : kSteps) {
            for (const auto& [fault, faultName] : kFaults) {
                const auto found = matrix.find({privileged, {step, fault}});
                if (found != matrix.end())
                    std::cout << "  " << stepName << " x " << faultName << ": " << found->second << "\n";
            }
        }
    }
}

// A wrapper whose target folder holds the user's files: what the wrapper does not name is
// untouched, what it replaces (a folder of the user's work too) and the previous copy go
// to the Trash, and trash-restore gives them back as they were.
TEST_F(FaultMatrix, WrapperItemsItReplacesGoToTheTrashAndComeBack)
{
    for (const bool privileged : {false, true}) {
        const char* where = privileged ? "privileged" : "plain";
        Run run;
        prepare(run, true, false);
        const QString suite = run.apps + u"/Suite"_s;
        const auto projects = snapshotTree(suite + u"/Projects"_s);
        const auto extra = describeItem(suite + u"/Extra.bin"_s);
        const auto [code, unused] = install(run, privileged, std::nullopt, {});
        ASSERT_EQ(code, 0) << where;
        EXPECT_EQ(describeItem(suite + u"/Notes.txt"_s), run.notes) << where;
        EXPECT_EQ(withoutOwners(snapshotTree(run.destination)), withoutOwners(*run.product)) << where;
        EXPECT_EQ(trashedCopiesOf(*run.previous), QStringList{u"Product.app"_s}) << where;
        EXPECT_EQ(trashedCopiesOf(projects), QStringList{u"Projects"_s}) << where;
        EXPECT_EQ(QDir(trashFolder() + u"/files"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                  (QStringList{u"Extra.bin"_s, u"Product.app"_s, u"Projects"_s}))
            << where;
        // The user makes room and restores with an independent client.
        for (const char* name : {"Projects", "Extra.bin"}) {
            QDir().rename(suite + u'/' + QString::fromLatin1(name), run.tmp.file(u"new-"_s + QString::fromLatin1(name)));
            asUser(u"trash-restore"_s, {suite + u'/' + QString::fromLatin1(name)}, "0\n");
        }
        EXPECT_EQ(withoutOwners(snapshotTree(suite + u"/Projects"_s)), withoutOwners(projects)) << where;
        EXPECT_EQ(withoutOwners({{u"."_s, describeItem(suite + u"/Extra.bin"_s)}}),
                  withoutOwners({{u"."_s, extra}})) << where;
        EXPECT_EQ(rootOwnedIn(user.home), QStringList()) << where;
    }
}

// A bundle name of 250 bytes (its record's name would be too long) updated twice, and a
// sparse 1 GiB file into a 200 MB volume: both fit, as cp -a and a file manager manage.
TEST_F(FaultMatrix, LongNamesAndSparseFilesFit)
{
    for (const bool privileged : {false, true}) {
        const char* where = privileged ? "privileged" : "plain";
        Run run;
        const QString name = QString(246, u'L') + u".app"_s;
        QFile::setPermissions(run.tmp.path(), QFile::permissions(run.tmp.path()) | QFile::ExeOther | QFile::ReadOther);
        run.source = run.tmp.mkdir(u"src/"_s + name);
        run.tmp.write(u"src/"_s + name + u"/Contents/Info.plist"_s, "{ CFBundleIdentifier = com.velmora.long; }");
        const QString sparse = run.source + u"/Contents/Resources/Sparse.bin"_s;
        QDir().mkpath(QFileInfo(sparse).path());
        QFile file(sparse);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(qint64(1) << 30));
        file.seek((qint64(1) << 29));
        file.write("data in the middle");
        file.close();
        run.apps = run.tmp.mkdir(u"Apps"_s);
        if (::mount("tmpfs", QFile::encodeName(run.apps).constData(), "tmpfs", 0, "size=200m") != 0)
            GTEST_SKIP() << "mounting a tmpfs needs root";
        m_mount = std::make_unique<QString>(run.apps);
        run.destination = run.apps + u'/' + name;
        run.tmp.write(u"Apps/"_s + name + u"/Contents/Info.plist"_s, "{ CFBundleIdentifier = com.velmora.long; }");
        user.own(run.apps);
        QProcess::execute(u"rm"_s, {u"-rf"_s, user.home + u"/.local"_s});
        for (int update = 1; update <= 2; ++update) {
            const auto [code, unused] = install(run, privileged, std::nullopt, {});
            EXPECT_EQ(code, 0) << where << ", update " << update;
        }
        struct stat info {};
        ASSERT_EQ(::stat(QFile::encodeName(run.destination + u"/Contents/Resources/Sparse.bin"_s).constData(), &info), 0) << where;
        EXPECT_EQ(info.st_size, qint64(1) << 30) << where;
        EXPECT_LT(qint64(info.st_blocks) * 512, qint64(1) << 20) << where;
        QFile copied(run.destination + u"/Contents/Resources/Sparse.bin"_s);
        ASSERT_TRUE(copied.open(QIODevice::ReadOnly));
        copied.seek(qint64(1) << 29);
        EXPECT_EQ(copied.read(18), QByteArray("data in the middle")) << where;
        // Both previous copies are in the volume's trash under shortened, distinct names,
        // and the Trash's own client lists them under the whole path.
        const QString trash = run.apps + u"/.Trash-%1"_s.arg(user.uid);
        EXPECT_EQ(QDir(trash + u"/files"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 2) << where;
        EXPECT_EQ(asUser(u"trash-list"_s, {}).count(run.destination), 2) << where;
        unmount();
    }
}

// Two installers of one large product at once take turns: both succeed, the product is
// complete, and each installation put one previous copy into the Trash.
TEST_F(FaultMatrix, TwoInstallersOfOneProductTakeTurns)
{
    Run run;
    prepare(run, false, false);
    run.tmp.write(u"src/Suite/Product.app/Contents/Resources/Big.bin"_s, QByteArray(160 << 20, 'n'));
    run.product = snapshotTree(run.source);
    std::unique_ptr<QProcess> first(start(run, false)), second(start(run, false));
    ASSERT_TRUE(first->waitForFinished(60000) && second->waitForFinished(60000));
    EXPECT_EQ(first->exitCode(), 0) << first->readAllStandardError().toStdString();
    EXPECT_EQ(second->exitCode(), 0) << second->readAllStandardError().toStdString();
    EXPECT_EQ(withoutOwners(snapshotTree(run.destination)), withoutOwners(*run.product));
    const QStringList trashed = QDir(user.home + u"/.local/share/Trash/files"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    EXPECT_EQ(trashed, (QStringList{u"Product 2.app"_s, u"Product.app"_s}));
    EXPECT_EQ(snapshotTree(user.home + u"/.local/share/Trash/files/Product.app"_s), *run.previous);
    EXPECT_EQ(stagingIn(run.apps + u"/Suite"_s), QStringList());
}

// A user who owns a folder on the way to the destination, or the volume's trash, swaps it
// for a link to somebody else's tree in a tight loop while root's tool works. Whatever each
// installation answers, the other tree stays byte for byte as it was.
TEST_F(FaultMatrix, PlantedLinksNeverRedirectTheRootTool)
{
    Run run;
    prepare(run, false, false);
    run.tmp.write(u"src/Suite/Product.app/Contents/Resources/Big.bin"_s, "small");
    const QString victim = run.tmp.mkdir(u"victim"_s);
    run.tmp.write(u"victim/Product.app/Contents/Info.plist"_s, "{ CFBundleShortVersionString = \"victim\"; }");
    run.tmp.write(u"victim/files/Product.app/keep"_s, "victim's");
    run.tmp.write(u"victim/info/keep"_s, "victim's");
    const auto victimBefore = snapshotTree(victim);

    const QString volume = run.tmp.mkdir(u"volume"_s);
    if (::mount("tmpfs", QFile::encodeName(volume).constData(), "tmpfs", 0, "mode=1777,size=64m") != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root";
    m_mount = std::make_unique<QString>(volume);
    struct Attack
    {
        const char* name;
        QString owned;   // the user's folder whose item is swapped
        QString swapped; // the item's name there
        QString destination;
    };
    run.tmp.mkdir(u"volume/mine/Apps"_s);
    run.tmp.mkdir(u"volume/.Trash-%1"_s.arg(user.uid));
    user.own(volume + u"/mine"_s);
    user.own(volume + u"/.Trash-%1"_s.arg(user.uid));
    const Attack attacks[] = {
        {"a middle folder of the destination", run.apps, u"Suite"_s, run.destination},
        {"the volume's trash", volume, u".Trash-%1"_s.arg(user.uid), volume + u"/mine/Apps/Product.app"_s},
    };
    for (const Attack& attack : attacks) {
        // perl is part of every Debian system: rename and symlink are its plain system calls.
        const QString loop = QStringLiteral(
            "my ($d, $n, $v) = @ARGV; while (1) { rename(\"$d/$n\", \"$d/$n.real\"); symlink($v, \"$d/$n\"); "
            "rename(\"$d/$n\", \"$d/$n.link\"); unlink(\"$d/$n.link\"); rename(\"$d/$n.real\", \"$d/$n\"); }");
        QProcess attacker;
        attacker.start(u"/usr/bin/setpriv"_s, user.drop() + QStringList{u"perl"_s, u"-e"_s, loop, attack.owned, attack.swapped, victim});
        ASSERT_TRUE(attacker.waitForStarted());
        Run target;
        target.source = run.source;
        target.destination = attack.destination;
        target.apps = run.apps;
        std::map<int, int> answers;
        for (int round = 0; round < 40; ++round) {
            std::unique_ptr<QProcess> tool(start(target, true));
            tool->waitForFinished(30000);
            ++answers[tool->exitCode()];
        }
        attacker.kill();
        attacker.waitForFinished();
        EXPECT_EQ(snapshotTree(victim), victimBefore) << attack.name;
        std::cout << "attack on " << attack.name << ": 40 runs of train, exit codes";
        for (const auto& [code, count] : answers)
            std::cout << " " << code << " x" << count;
        std::cout << "; the other tree unchanged: " << (snapshotTree(victim) == victimBefore ? "yes" : "NO") << std::endl;
        // Put the swapped item back where the loop may have left it.
        QDir(attack.owned).rename(attack.swapped + u".real"_s, attack.swapped);
    }
    unmount();
}

} // namespace
