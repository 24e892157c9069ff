#include "FakePlatform.h"
#include "InstallFunction.h"
#include "InstallSignature.h"
#include "LinuxTest.h"
#include "InstallerWinController.h"
#include "RVBundleSignature.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVPkexecAuthorization.h"
#include "ArgumentWords.h"
#include "TempDir.h"
#include "TreeSnapshot.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace {

const QString kSignTool = QStringLiteral(RV_SIGN_TOOL);
const QString kTrain = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/Resources/train");

struct Tool
{
    int status;
    QString output; // standard output and error
};

Tool runTool(const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(kSignTool, arguments);
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAll()).trimmed()};
}

class BundleSignatureTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qputenv("XDG_DATA_HOME", tmp.mkdir(u"share"_s).toUtf8());
        qunsetenv("PKEXEC_UID");
        apps = tmp.mkdir(u"Apps"_s);
        destination = apps + u"/Product.app"_s;
        RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(),
                             .workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(), apps)});
        for (const char* name : {"old", "new", "attacker"})
            keys[QString::fromLatin1(name)] = runTool({u"generate-key"_s, keyFile(name)}).output;
    }
    void TearDown() override { qunsetenv("XDG_DATA_HOME"); }

    QString keyFile(const char* name) const { return tmp.file(u"%1.key"_s.arg(QLatin1String(name))); }

    // A product naming key (none when empty), signed by each of signers.
    QString makeProduct(const QString& folder, const QString& version, const QString& key, const QStringList& signers,
                        int dataSize = 50000)
    {
        const QString app = tmp.mkdir(folder + u"/Product.app"_s);
        const QString named = key.isEmpty() ? QString() : u"<key>VelmoraPublicEDKey</key><string>%1</string>"_s.arg(keys[key]);
        tmp.write(folder + u"/Product.app/Contents/Info.plist"_s,
                  QStringLiteral("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleExecutable</key>"
                                 "<string>Product</string><key>CFBundleVersion</key><string>%1</string>%2</dict></plist>")
                      .arg(version, named)
                      .toUtf8());
        tmp.write(folder + u"/Product.app/Contents/MacOS/Product"_s, "#!/bin/sh\necho " + version.toUtf8() + "\n",
                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup);
        for (int i = 0; i < 40; ++i)
            tmp.write(folder + u"/Product.app/Contents/Resources/Data%1.bin"_s.arg(i), QByteArray(dataSize, char('a' + i % 26)));
        QFile::link(u"Data0.bin"_s, app + u"/Contents/Resources/Alias.bin"_s);
        for (const QString& signer : signers) {
            const Tool signed_ = runTool({u"sign"_s, keyFile(signer.toLatin1().constData()), app});
            EXPECT_EQ(signed_.status, 0) << signed_.output.toStdString();
        }
        return app;
    }

    // No staging item of any installer is left beside the destination.
    QStringList hiddenItems() const { return QDir(apps).entryList(QDir::Hidden | QDir::AllEntries | QDir::NoDotAndDotDot).filter(QRegularExpression(u"^\\."_s)); }

    TempDir tmp;
    FakePlatform platform;
    LogCapture log;
    QString apps;
    QString destination;
    QMap<QString, QString> keys;
};

// Each way a signed update can be changed after signing is refused before anything moves:
// the previous copy stays as it was, nothing staged is left, the log names the
// destination and the reason, and the user is told the copy is not the maker's. Key
// rotation is the one way to a new key.
TEST_F(BundleSignatureTest, EachAlterationOfASignedUpdateIsRefusedAndTheRotatedKeyIsAccepted)
{
    struct Case
    {
        const char* name;
        QString previousKey; // the installed copy names it ("" for none)
        QString newKey;
        QStringList signers;
        std::function<void(const QString& app)> alter;
        const char* reason; // null: installs
    } cases[] = {
        {"unaltered", "old", "old", {"old"}, nullptr, nullptr},
        {"a byte of a file changed", "old", "old", {"old"},
         [](const QString& app) { editFile(app + "/Contents/Resources/Data7.bin", [](QByteArray& b) { b[100] = 'Z'; }); },
         "Contents/Resources/Data7.bin was changed"},
        {"a file added", "old", "old", {"old"}, [](const QString& app) { QFile(app + "/Contents/MacOS/extra").open(QIODevice::WriteOnly); },
         "Contents/MacOS/extra was added"},
        {"a file removed", "old", "old", {"old"}, [](const QString& app) { QFile::remove(app + "/Contents/Resources/Data3.bin"); },
         "Contents/Resources/Data3.bin is missing"},
        {"an executable bit flipped", "old", "old", {"old"},
         [](const QString& app) { QFile::setPermissions(app + "/Contents/MacOS/Product", QFile::ReadOwner | QFile::WriteOwner); },
         "Contents/MacOS/Product was changed"},
        {"a link's target changed", "old", "old", {"old"},
         [](const QString& app) {
             QFile::remove(app + "/Contents/Resources/Alias.bin");
             QFile::link(u"/etc/passwd"_s, app + "/Contents/Resources/Alias.bin");
         },
         "Contents/Resources/Alias.bin was changed"},
        {"a folder added", "old", "old", {"old"}, [](const QString& app) { QDir().mkpath(app + "/Contents/PlugIns"); },
         "Contents/PlugIns was added"},
        {"the manifest edited", "old", "old", {"old"},
         [](const QString& app) { editFile(app + "/Contents/_Signature/Manifest", [](QByteArray& b) { b.replace("Data7.bin", "Data8.bin"); }); },
         "is not valid"},
        {"the signature truncated", "old", "old", {"old"},
         [](const QString& app) { editFile(app + "/Contents/_Signature/Signatures", [](QByteArray& b) { b.chop(20); }); },
         "its signatures are damaged"},
        {"signed by another key", "old", "old", {"attacker"}, nullptr, "it is not signed with the key"},
        {"the key swapped for the attacker's", "old", "attacker", {"attacker"}, nullptr, "it is not signed with the key"},
        {"rotated: signed by the old and the new key", "old", "new", {"old", "new"}, nullptr, nullptr},
        {"signed only by the new key", "old", "new", {"new"}, nullptr, "it is not signed with the key"},
        {"no key before, damaged", "", "new", {"new"},
         [](const QString& app) { QFile::remove(app + "/Contents/Resources/Data3.bin"); }, "Data3.bin is missing"},
        {"names a key, not signed", "", "new", {}, nullptr, "it carries no signature"},
        {"no key, no signature", "", "", {}, nullptr, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QDir(apps).removeRecursively();
        QDir(tmp.file(u"new"_s)).removeRecursively();
        QStringList previousSigners;
        if (!c.previousKey.isEmpty())
            previousSigners << c.previousKey;
        const QString previous = makeProduct(u"Apps"_s, u"1.0"_s, c.previousKey, previousSigners);
        const QString source = makeProduct(u"new"_s, u"2.0"_s, c.newKey, c.signers);
        if (c.alter)
            c.alter(source);
        const auto before = snapshotTree(previous);
        const qsizetype mark = log.lines().size();

        InstallerWinController controller;
        controller.setArguments(argumentsFromWords({"-sourcePath", source.toUtf8().constData(), "-destinationPath",
                                                    destination.toUtf8().constData()}));
        if (c.reason) {
            EXPECT_EQ(controller.installMyselfInDestination(), QString::fromLatin1(kUntrustedCopyMessage));
            EXPECT_EQ(snapshotTree(previous), before);
            const QString refusal = u"ERROR -- Refusing the new copy for %1: "_s.arg(destination);
            const QStringList lines = log.lines().mid(mark).filter(refusal);
            ASSERT_EQ(lines.size(), 1) << log.lines().join(u'\n').toStdString();
            EXPECT_TRUE(lines[0].contains(QLatin1String(c.reason))) << lines[0].toStdString();
            bool untrusted = false;
            EXPECT_EQ(InstallApplication(source, destination, QString(), &untrusted), InstallResultCopyFailed);
            EXPECT_TRUE(untrusted);
        } else {
            bool untrusted = false;
            EXPECT_EQ(InstallApplication(source, destination, QString(), &untrusted), InstallResultSuccess)
                << log.lines().join(u'\n').toStdString();
            EXPECT_FALSE(untrusted);
            EXPECT_TRUE(QFile(destination + u"/Contents/Info.plist"_s).open(QIODevice::ReadOnly));
            EXPECT_NE(snapshotTree(destination), before);
        }
        EXPECT_EQ(hiddenItems(), QStringList());
    }
}

// Stops the installer (or root's tool) the moment its staging folder appears in folder,
// replaces a source file it has not copied yet, and lets it go on. Answers the file.
class SwapDuringCopy
{
public:
    SwapDuringCopy(const QString& folder, const QString& source)
    {
        m_watch = ::inotify_init1(IN_CLOEXEC);
        ::inotify_add_watch(m_watch, QFile::encodeName(folder).constData(), IN_CREATE);
        m_thread = std::thread([this, folder, source] { swap(folder, source); });
    }
    ~SwapDuringCopy()
    {
        m_stopRequested = true;
        m_thread.join();
        ::close(m_watch);
    }
    QString swapped() const { return m_swapped; }
    // Ends the watch when nothing was staged.
    void finish() { m_stopRequested = true; }
    SwapDuringCopy(const SwapDuringCopy&) = delete;
    SwapDuringCopy& operator=(const SwapDuringCopy&) = delete;

private:
    void swap(const QString& folder, const QString& source)
    {
        static const QRegularExpression staging(u"\\.velmora-(\\d+)-"_s);
        for (int waited = 0; waited < 60000 && !m_stopRequested; waited += 10) {
            for (const QString& name : inotifyNames(m_watch, 10)) {
                const auto match = staging.match(name);
                if (!match.hasMatch())
                    continue;
                const pid_t pid = match.captured(1).toInt();
                ::kill(pid, SIGSTOP);
                waitUntilStopped(pid);
                // The copy is built as "new" inside the staging folder.
                const QString staged = folder + u'/' + name + u"/new"_s;
                for (int i = 39; i >= 0 && m_swapped.isEmpty(); --i) {
                    const QString relative = u"Contents/Resources/Data%1.bin"_s.arg(i);
                    if (!QFile::exists(staged + u'/' + relative)) {
                        editFile(source + u'/' + relative, [](QByteArray& b) { b[0] = '!'; });
                        m_swapped = relative;
                    }
                }
                ::kill(pid, SIGCONT);
                return;
            }
        }
    }
    static void waitUntilStopped(pid_t pid)
    {
        for (int i = 0; i < 1000 && !readFile(u"/proc/%1/stat"_s.arg(pid)).contains(") T "); ++i)
            QThread::usleep(1000);
    }

    int m_watch = -1;
    std::atomic<bool> m_stopRequested{false};
    QString m_swapped;
    std::thread m_thread;
};

// The decision is made on the copy that is put into place: a file of the source replaced
// after the copy began ends up in the staged copy and fails there, in the installer's own
// copy and in root's tool alike.
TEST_F(BundleSignatureTest, ASourceChangedDuringTheCopyIsRefusedAndThePreviousCopyKept)
{
    const QString passThrough = tmp.write(u"pkexec-pass.sh"_s, "#!/bin/sh\nexec \"$@\"\n",
                                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const bool privileged : {false, true}) {
        SCOPED_TRACE(privileged ? "train" : "plain copy");
        QDir(apps).removeRecursively();
        QDir(tmp.file(u"new"_s)).removeRecursively();
        const QString previous = makeProduct(u"Apps"_s, u"1.0"_s, u"old"_s, {u"old"_s});
        // Large enough, and the copier niced, that the copy cannot end before the watcher stops it.
        const QString source = makeProduct(u"new"_s, u"2.0"_s, u"old"_s, {u"old"_s}, 1 << 20);
        const auto before = snapshotTree(previous);
        QString swapped, output;
        int status = -1;
        {
            SwapDuringCopy swap(apps, source);
            QProcess process;
            process.setProcessChannelMode(QProcess::MergedChannels);
            const QStringList niced{u"-n"_s, u"19"_s};
            if (privileged)
                process.start(u"nice"_s, niced + QStringList{passThrough, kTrain, source, destination});
            else
                process.start(u"nice"_s, niced + QStringList{QStringLiteral(RV_INSTALL_HELPER), apps, source, destination});
            process.waitForFinished(60000);
            swap.finish();
            status = process.exitCode();
            output = QString::fromUtf8(process.readAll());
            swapped = swap.swapped();
        }
        ASSERT_FALSE(swapped.isEmpty()) << "the copy ended before the swap";
        EXPECT_EQ(status, privileged ? kTrainExitUntrusted : InstallResultCopyFailed) << output.toStdString();
        EXPECT_TRUE(output.contains(u"ERROR -- Refusing the new copy for %1: it does not match its signed manifest: %2 was changed"_s
                                        .arg(destination, swapped)))
            << output.toStdString();
        EXPECT_EQ(snapshotTree(previous), before);
        EXPECT_EQ(hiddenItems(), QStringList());
    }
}

// The vendor's tool: a key is made once and never overwritten, the public key is printed
// again from it, a signed bundle verifies, and bad input is refused with a reason.
TEST_F(BundleSignatureTest, SignToolRoundTripAndRefusals)
{
    const QString keyPath = keyFile("old");
    const QFileInfo key(keyPath);
    EXPECT_EQ(key.size(), 32);
    EXPECT_EQ(key.permissions() & 0x0777, QFile::ReadUser | QFile::WriteUser);
    const QByteArray seed = readFile(keyPath);
    EXPECT_EQ(QString::fromLatin1(RVBundleSignature::publicKeyOfSeed(seed).toBase64()), keys[u"old"_s]);

    const QString app = makeProduct(u"new"_s, u"2.0"_s, u"old"_s, {});
    const QString notKey = tmp.write(u"short.key"_s, "too short");
    const QString plainFolder = tmp.mkdir(u"Plain"_s);
    struct Case
    {
        QStringList arguments;
        int status;
        QString output;
    } cases[] = {
        {{"public-key", keyPath}, 0, keys[u"old"_s]},
        {{"generate-key", keyPath}, 1, "cannot create " + keyPath + ": File exists"},
        {{"public-key", tmp.file("missing.key")}, 1, "cannot read " + tmp.file("missing.key")},
        {{"sign", notKey, app}, 1, notKey + " is not a key made by velmora-sign generate-key"},
        {{"sign", tmp.mkdir("folder.key"), app}, 1, "cannot read " + tmp.file("folder.key")},
        {{"verify", app}, 1, "it carries no signature"},
        {{"sign", keyPath, plainFolder}, 1, plainFolder + " is not an application bundle"},
        {{"sign", keyPath, app}, 0, "signed with " + keys[u"old"_s]},
        {{"verify", app}, 0, "valid"},
        {{"verify", app, keys[u"new"_s]}, 1, "it is not signed with the key " + keys[u"new"_s]},
        {{"sign", keyFile("new"), app}, 0, "signed with " + keys[u"new"_s]},
        {{"verify", app, keys[u"new"_s]}, 0, "valid"},
        {{"verify", app}, 0, "valid"},
        {{"sign", keyFile("attacker"), app}, 1, "already carries two signatures"},
        {{"verify", plainFolder}, 1, "is not an application bundle"},
        {{"frobnicate"}, 64, "usage: velmora-sign"},
    };
    for (const Case& c : cases) {
        const Tool result = runTool(c.arguments);
        EXPECT_EQ(result.status, c.status) << c.arguments.join(u' ').toStdString() << ": " << result.output.toStdString();
        EXPECT_TRUE(result.output.contains(c.output)) << c.arguments.join(u' ').toStdString() << ": " << result.output.toStdString();
    }
    EXPECT_EQ(readFile(keyPath), seed);
}

} // namespace
