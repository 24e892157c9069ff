#include "FakeInstallerView.h"
#include "FakePlatform.h"
#include "InstallFunction.h"
#include "InstallerWinController.h"
#include "RVInstallerInterface.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVProcess.h"
#include "TempDir.h"
#include "TreeSnapshot.h"

#include <QDir>
#include <QRegularExpression>

#include <functional>
#include <iostream>

#include <gtest/gtest.h>

namespace {

// One way of writing a path that names the same place. Each takes the scratch folder's
// path and the canonical path below it ("Disk/Suite/Acme Tool.app").
struct Form
{
    const char* name;
    std::function<QString(const QString& root, const QString& relative)> write;
};

const std::vector<Form>& forms()
{
    static const std::vector<Form> all = {
        {"canonical", [](const QString& r, const QString& p) { return r + u'/' + p; }},
        {"trailing slash", [](const QString& r, const QString& p) { return r + u'/' + p + u'/'; }},
        {"two trailing slashes", [](const QString& r, const QString& p) { return r + u'/' + p + QStringLiteral("//"); }},
        {"doubled slashes", [](const QString& r, const QString& p) { return r + QStringLiteral("//") + QString(p).replace(u'/', QStringLiteral("//")); }},
        {"dot segments", [](const QString& r, const QString& p) { return r + QStringLiteral("/./") + QString(p).replace(u'/', QStringLiteral("/./")) + QStringLiteral("/."); }},
        {"dot-dot segments", [](const QString& r, const QString& p) { return r + QStringLiteral("/bystander/../") + QString(p).replace(u'/', QStringLiteral("/x/../")); }},
        {"relative", [](const QString&, const QString& p) { return QStringLiteral("./") + p + u'/'; }},
        {"linked parent", [](const QString& r, const QString& p) { return r + QStringLiteral("/link/") + p; }},
    };
    return all;
}

// The scratch tree: a product in a suite folder on a "disk", an applications folder with
// a previous copy and a neighbour, a bystander, the user's data folder, and a link to "/".
struct Scratch
{
    TempDir tmp;
    Scratch()
    {
        tmp.write(QStringLiteral("Disk/Suite/Acme Tool.app/Contents/Info.plist"),
                  "{ CFBundleSignature = ACME; CFBundleShortVersionString = \"2\"; }");
        tmp.write(QStringLiteral("Disk/Suite/Acme Tool.app/Contents/MacOS/Acme Tool"), "#!/bin/sh\n");
        tmp.write(QStringLiteral("Disk/Suite/Read Me.txt"), "read me");
        tmp.write(QStringLiteral("Applications/Suite/Acme Tool.app/Contents/Info.plist"), "{ CFBundleShortVersionString = \"1\"; }");
        // The user's files beside the product: one the wrapper replaces, one it does not name.
        tmp.write(QStringLiteral("Applications/Suite/Read Me.txt"), "old read me");
        tmp.write(QStringLiteral("Applications/Suite/Projects/mywork.txt"), "the user's work");
        tmp.write(QStringLiteral("Applications/Acme Tool.app/Contents/Info.plist"), "{ CFBundleShortVersionString = \"1\"; }");
        tmp.write(QStringLiteral("Applications/Other.app/Contents/Info.plist"), "{}");
        tmp.write(QStringLiteral("bystander/file"), "untouched");
        tmp.mkdir(QStringLiteral("home/.local/share"));
        QFile::link(tmp.path(), tmp.file(QStringLiteral("link")));
    }
    QString root() const { return tmp.path(); }
};

struct Outcome
{
    int result = -1;
    QString productName, destination;
    QMap<QString, QByteArray> applications;
    QStringList trash;
    QString trashedVersion; // of the trashed product
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& o, std::ostream* out)
{
    *out << "result " << o.result << ", name " << o.productName.toStdString() << ", at "
         << o.destination.toStdString() << ", trash " << o.trash.join(u',').toStdString() << ", applications:";
    for (auto it = o.applications.begin(); it != o.applications.end(); ++it)
        *out << "\n  " << it.key().toStdString() << " " << it.value().left(60).toStdString();
}

class PathForms : public ::testing::Test
{
protected:
    // Starts a session on these arguments, installs what it derived, and reads back the
    // outcome; checks that nothing outside the product's folder and the Trash changed.
    Outcome run(const Scratch& scratch, const QStringList& words)
    {
        FakePlatform platform;
        LogCapture log;
        RVProcess::resetCacheForTesting();
        const QString data = scratch.root() + QStringLiteral("/home/.local/share");
        qputenv("XDG_DATA_HOME", data.toUtf8());
        RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(),
                             .workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(),
                                                                             scratch.root() + QStringLiteral("/Applications"))});
        platform.facts->executable = QStringLiteral("/opt/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller");
        platform.facts->arguments = QStringList{platform.facts->executable} + words;
        platform.processTable->add(1, QStringLiteral("VelmoraInstaller"), "VLMI");
        platform.processTable->current = 1;
        FakeInstallerView view;
        InstallerWinController controller;
        controller.setView(&view);

        const QString previousCwd = QDir::currentPath();
        QDir::setCurrent(scratch.root());
        const auto before = snapshotTree(scratch.root());
        controller.awakeFromNib();
        const RVInstallerArguments& arguments = *controller.arguments();
        Outcome outcome;
        outcome.productName = arguments.string(RVInstallerKeyProductName);
        outcome.destination = QFileInfo(arguments.string(RVInstallerKeyDestinationPath)).canonicalFilePath();
        outcome.result = InstallApplication(arguments.string(RVInstallerKeySourcePath),
                                            arguments.string(RVInstallerKeyDestinationPath),
                                            arguments.string(RVInstallerKeyWrapperPath));
        QDir::setCurrent(previousCwd);
        qunsetenv("XDG_DATA_HOME");

        // Each scratch tree is new, so times say nothing here.
        outcome.applications = snapshotTree(scratch.root() + QStringLiteral("/Applications"));
        for (QByteArray& item : outcome.applications)
            item = QString::fromUtf8(item).remove(QRegularExpression(QStringLiteral(" mtime=[0-9.]+"))).toUtf8();
        outcome.trash = QDir(data + QStringLiteral("/Trash/files")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QFile trashed(data + QStringLiteral("/Trash/files/Acme Tool.app/Contents/Info.plist"));
        if (trashed.open(QIODevice::ReadOnly))
            outcome.trashedVersion = QString::fromUtf8(trashed.readAll());
        const QString touched = QFileInfo(outcome.destination).path().mid(scratch.root().size() + 1);
        const auto after = snapshotTree(scratch.root());
        for (const QString& key : before.keys() + after.keys()) {
            // The user's file is never touched, even in the product's folder.
            if (key.contains(QStringLiteral("Projects/"))) {
                EXPECT_EQ(before.value(key), after.value(key)) << key.toStdString() << " changed with " << words.join(u' ').toStdString();
            }
            if (key.startsWith(touched + u'/') || key == touched || key.startsWith(QStringLiteral("home/")) ||
                key == u"Applications" || key == u".")
                continue;
            EXPECT_EQ(before.value(key), after.value(key)) << key.toStdString() << " changed with " << words.join(u' ').toStdString();
        }
        return outcome;
    }
};

// Every way of writing the three paths leads to the canonical form's outcome, and only the
// product's own folder and the user's Trash change.
TEST_F(PathForms, EveryFormOfThePathsGivesTheCanonicalOutcome)
{
    const QString source = QStringLiteral("Disk/Suite/Acme Tool.app");
    const QString wrapper = QStringLiteral("Disk/Suite");
    const QString destination = QStringLiteral("Applications/Acme Tool.app");
    int count = 0;
    for (const bool withName : {false, true}) {
        for (const bool withWrapper : {false, true}) {
            for (const bool givenDestination : {false, true}) {
                std::optional<Outcome> canonical;
                for (const Form& sourceForm : forms()) {
                    for (const Form& destinationForm : forms()) {
                        if (!givenDestination && &destinationForm != &forms().front())
                            continue;
                        Scratch scratch;
                        // The wrapper rule compares the wrapper's text with the source's folder,
                        // so the wrapper is written in the source's form.
                        QStringList words{QStringLiteral("-sourcePath"), sourceForm.write(scratch.root(), source)};
                        if (withName)
                            words << QStringLiteral("-productName") << QStringLiteral("Acme Tool");
                        if (withWrapper)
                            words << QStringLiteral("-wrapperPath") << sourceForm.write(scratch.root(), wrapper);
                        if (givenDestination)
                            words << QStringLiteral("-destinationPath") << destinationForm.write(scratch.root(), destination);
                        const Outcome outcome = run(scratch, words);
                        ++count;
                        EXPECT_EQ(outcome.result, 0) << words.join(u' ').toStdString();
                        EXPECT_EQ(outcome.productName, QStringLiteral("Acme Tool")) << words.join(u' ').toStdString();
                        EXPECT_TRUE(outcome.destination.endsWith(withWrapper ? QStringLiteral("/Applications/Suite/Acme Tool.app")
                                                                             : QStringLiteral("/Applications/Acme Tool.app")))
                            << outcome.destination.toStdString() << " from " << words.join(u' ').toStdString();
                        // The previous copy, never a copy of the new one, is in the Trash, with
                        // the wrapper's replaced item.
                        const QStringList trashed = withWrapper ? QStringList{QStringLiteral("Acme Tool.app"), QStringLiteral("Read Me.txt")}
                                                                : QStringList{QStringLiteral("Acme Tool.app")};
                        EXPECT_EQ(outcome.trash, trashed) << words.join(u' ').toStdString();
                        EXPECT_TRUE(outcome.trashedVersion.contains(QStringLiteral("\"1\""))) << words.join(u' ').toStdString();
                        Outcome comparable = outcome;
                        comparable.destination = outcome.destination.mid(scratch.root().size());
                        if (!canonical)
                            canonical = comparable;
                        EXPECT_EQ(comparable, *canonical) << sourceForm.name << " / " << destinationForm.name << ": "
                                                          << words.join(u' ').toStdString();
                    }
                }
            }
        }
    }
    std::cout << "path forms run: " << count << std::endl;
}

} // namespace
