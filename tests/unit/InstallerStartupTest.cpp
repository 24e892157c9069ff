#include "FakeInstallerView.h"
#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVInstallerArguments.h"
#include "RVInstallerInterface.h"
#include "RVLocalization.h"
#include "RVProcess.h"
#include "TempDir.h"
#include "TestApplication.h"

#include <QSignalSpy>

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

using Field = RVInstallerView::Field;
using Button = RVInstallerView::Button;

class StartupTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RVProcess::resetCacheForTesting();
        platform.facts->home = QStringLiteral("/home/anna");
        platform.facts->gestaltAnswers = {{RVFourCC("sys1"), 6}, {RVFourCC("sys2"), 1}, {RVFourCC("sys3"), 0}};
        // The installer inside the product: P.app/Contents/Resources/VelmoraInstaller.app.
        product = tmp.mkdir(QStringLiteral("Disk/Product.app"));
        writeInfo(QByteArray("{ CFBundleSignature = PROD; CFBundleShortVersionString = \"2.1\"; "
                             "CFBundleIconFile = icon; LSMinimumSystemVersion = \"5.10\"; }"));
        tmp.write(QStringLiteral("Disk/Product.app/Contents/Resources/icon.icns"), "icns");
        platform.facts->executable = tmp.mkdir(QStringLiteral("Disk/Product.app/Contents/Resources/VelmoraInstaller.app/Contents/MacOS")) +
                                     QStringLiteral("/VelmoraInstaller");
        files.existing = {QStringLiteral("/Applications")};
        files.writable = {QStringLiteral("/Applications")};
        view.readableIcons << product + QStringLiteral("/Contents/Resources/icon.icns");
        controller.setView(&view);
        platform.processTable->add(1, QStringLiteral("VelmoraInstaller"), "VLMI");
        platform.processTable->current = 1;
    }
    void TearDown() override
    {
        RVProcess::resetCacheForTesting();
        RVLocalization::unload();
    }

    void writeInfo(const QByteArray& info)
    {
        tmp.write(QStringLiteral("Disk/Product.app/Contents/Info.plist"), info);
    }
    void start(std::initializer_list<QString> words)
    {
        platform.facts->arguments = QStringList{platform.facts->executable} + QStringList(words);
        controller.awakeFromNib();
    }
    QString argument(const QString& key) const { return controller.arguments()->string(key); }
    std::unique_ptr<FreshSession> startFresh(const QStringList& words)
    {
        auto session = std::make_unique<FreshSession>();
        platform.facts->arguments = QStringList{platform.facts->executable} + words;
        session->controller.awakeFromNib();
        return session;
    }

    TestApplication app;
    TempDir tmp;
    FakePlatform platform;
    FakeFileManager& files = *platform.fileManager;
    LogCapture log;
    FakeInstallerView view;
    InstallerWinController controller;
    QString product;
};

TEST_F(StartupTest, DirectInvocationClimbsToTheProductAndFillsThePage)
{
    start({});
    EXPECT_EQ(log.lines().first(), QStringLiteral("direct invocation"));
    EXPECT_TRUE(platform.facts->reopened.isEmpty());
    EXPECT_TRUE(log.lines().contains(QStringLiteral("shortened path = %1/Contents").arg(product)));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("shortened path = %1").arg(product)));
    EXPECT_EQ(argument(RVInstallerKeySourcePath), product);
    EXPECT_EQ(argument(RVInstallerKeyProductName), QStringLiteral("Product"));
    EXPECT_EQ(argument(RVInstallerKeyDestinationPath), QStringLiteral("/Applications/Product.app"));
    EXPECT_EQ(controller.arguments()->list(RVInstallerKeyQuitCode), QStringList{QStringLiteral("PROD")});
    EXPECT_EQ(controller.arguments()->list(RVInstallerKeyProductCode), QStringList{QStringLiteral("PROD")});
    EXPECT_EQ(view.title, QStringLiteral("Product Installer"));
    EXPECT_EQ(view.texts[Field::Name], QStringLiteral("Product 2.1"));
    EXPECT_EQ(view.texts[Field::Intro], QStringLiteral("This installs Product."));
    EXPECT_EQ(view.texts[Field::Explanation], QStringLiteral("Product goes here."));
    EXPECT_EQ(view.texts[Field::Path], QStringLiteral("/Applications/Product"));
    EXPECT_EQ(view.icon, product + QStringLiteral("/Contents/Resources/icon.icns"));
    EXPECT_TRUE(view.hiddenFields.contains(Field::Message));
    EXPECT_TRUE(view.hiddenButtons.contains(Button::Help));
    EXPECT_TRUE(view.hiddenImages.contains(RVInstallerView::Image::Checkmark));
    EXPECT_EQ(view.page, 1);
    EXPECT_EQ(view.buttonTitles[Button::Install], QStringLiteral("Install"));
    EXPECT_EQ(view.buttonTitles[Button::Cancel], QStringLiteral("Quit")); // no read-me: untouched
    EXPECT_TRUE(view.inFront);
    EXPECT_EQ(platform.windowSystem->calls.last(), QStringLiteral("activate 1"));
    EXPECT_FALSE(view.alert);
    EXPECT_FALSE(controller.finished());
}

TEST_F(StartupTest, NamedArgumentsRedirectTheLogWithItsFallback)
{
    const QString logFile = QStringLiteral("/home/anna/Library/Logs/VelmoraInstaller.log");
    platform.facts->unopenable = {logFile};
    start({QStringLiteral("-sourcePath"), product});
    EXPECT_EQ(platform.facts->reopened,
              (QStringList{QStringLiteral("1 %1 a+").arg(logFile), QStringLiteral("1 /dev/null a+"),
                           QStringLiteral("2 %1 a+").arg(logFile), QStringLiteral("2 /dev/null a+")}));
    EXPECT_FALSE(log.lines().contains(QStringLiteral("direct invocation")));

    struct Case { QStringList words; bool redirected; } cases[] = {
        {{QStringLiteral("-AppleLanguages"), QStringLiteral("(de)"), QStringLiteral("-sourcePath"), product}, false},
        {{QStringLiteral("-sourcePath")}, false},
    };
    for (const auto& c : cases) {
        platform.facts->reopened.clear();
        startFresh(c.words);
        EXPECT_EQ(!platform.facts->reopened.isEmpty(), c.redirected) << c.words.join(u' ').toStdString();
    }
}

TEST_F(StartupTest, SetupErrorsEndStartUpOnTheFinalPage)
{
    // No enclosing bundle at all.
    platform.facts->executable = tmp.mkdir(QStringLiteral("opt/VelmoraInstaller.app/Contents/MacOS")) +
                                 QStringLiteral("/VelmoraInstaller");
    start({});
    EXPECT_TRUE(controller.finished());
    EXPECT_EQ(log.lines().last(), QStringLiteral("missing source path"));
    EXPECT_EQ(view.texts[Field::Intro], QStringLiteral("missing source path"));
    EXPECT_EQ(view.title, QStringLiteral("")); // the placeholder was never filled
    EXPECT_EQ(view.buttonTitles[Button::Install], QStringLiteral("OK"));
    EXPECT_TRUE(view.hiddenButtons.contains(Button::Cancel));
    EXPECT_TRUE(view.inFront); // shown, so that "OK" can end it
    EXPECT_EQ(controller.exitStatus(), InstallerWinController::ExitSetupError);
    EXPECT_TRUE(log.lines().contains(QStringLiteral("shortened path = %1").arg(tmp.path())));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("shortened path = /")));
}

// An empty product name would begin every login item's name; an Info.plist that is a FIFO
// or far too big is read no further (no hang), and says why.
TEST_F(StartupTest, EmptyNameAndUnreadableInfoPlistAreSetupErrors)
{
    const QString info = product + QStringLiteral("/Contents/Info.plist");
    const QString fifo = tmp.mkdir(QStringLiteral("Fifo.app/Contents")) + QStringLiteral("/Info.plist");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0644), 0);
    const QString big = tmp.mkdir(QStringLiteral("Big.app/Contents")) + QStringLiteral("/Info.plist");
    ASSERT_TRUE(QFile(big).open(QIODevice::WriteOnly) && QFile::resize(big, 9 * 1024 * 1024)); // sparse
    struct Case { QStringList words; QString error, line; } cases[] = {
        {{QStringLiteral("-sourcePath"), product, QStringLiteral("-productName"), QString()}, QStringLiteral("missing program name"), {}},
        {{QStringLiteral("-sourcePath"), tmp.file(QStringLiteral("Fifo.app"))}, QStringLiteral("missing product signature"),
         QStringLiteral("cannot read property list %1: not a regular file").arg(fifo)},
        {{QStringLiteral("-sourcePath"), tmp.file(QStringLiteral("Big.app"))}, QStringLiteral("missing product signature"),
         QStringLiteral("cannot read property list %1: larger than 8388608 bytes").arg(big)},
    };
    for (const Case& c : cases) {
        const qsizetype seen = log.lines().size();
        const auto session = startFresh(c.words);
        EXPECT_TRUE(session->controller.finished()) << c.error.toStdString();
        EXPECT_EQ(session->view.texts[Field::Intro], c.error);
        if (!c.line.isEmpty()) {
            EXPECT_TRUE(log.lines().mid(seen).contains(c.line)) << c.line.toStdString();
        }
    }
    EXPECT_TRUE(QFile::exists(info));
}

TEST_F(StartupTest, MissingSignatureKeepsTheTitleAndTheDestination)
{
    writeInfo("{ CFBundleShortVersionString = \"2.1\"; }");
    start({});
    EXPECT_TRUE(controller.finished());
    EXPECT_EQ(view.title, QStringLiteral("Product Installer"));
    EXPECT_TRUE(view.inFront);
    EXPECT_EQ(argument(RVInstallerKeyDestinationPath), QStringLiteral("/Applications/Product.app"));
    EXPECT_EQ(log.lines().last(), QStringLiteral("missing product signature"));
}

TEST_F(StartupTest, WrapperDocumentationReadMeAndCodes)
{
    const QString wrapper = tmp.mkdir(QStringLiteral("Disk/Product Folder"));
    const QString readMe = tmp.write(QStringLiteral("Disk/Read Me.rtf"), "{\\rtf1 hi}");
    const QString docs = tmp.write(QStringLiteral("Disk/Manual.pdf"), "%PDF");
    files.existing << wrapper << readMe << docs;
    start({QStringLiteral("-sourcePath"), product, QStringLiteral("-wrapperPath"), wrapper,
           QStringLiteral("-readMePath"), readMe, QStringLiteral("-documentationPath"), docs,
           QStringLiteral("-productCode"), QStringLiteral("PRO1"), QStringLiteral("-quitCode"), QStringLiteral("HELP"),
           QStringLiteral("-version"), QStringLiteral("3.0")});
    EXPECT_TRUE(log.lines().contains(QStringLiteral("wrapper = %1").arg(wrapper)));
    EXPECT_EQ(argument(RVInstallerKeyDestinationPath), QStringLiteral("/Applications/Product Folder/Product.app"));
    EXPECT_EQ(controller.arguments()->list(RVInstallerKeyQuitCode), (QStringList{QStringLiteral("HELP"), QStringLiteral("PRO1")}));
    EXPECT_EQ(controller.arguments()->list(RVInstallerKeyProductCode), QStringList{QStringLiteral("PRO1")});
    EXPECT_EQ(view.texts[Field::Name], QStringLiteral("Product 3.0"));
    EXPECT_EQ(view.texts[Field::Explanation],
              QStringLiteral("If you wish to read the documentation first, click the \"?\" button. Product goes here."));
    EXPECT_FALSE(view.hiddenButtons.contains(Button::Help));
    EXPECT_EQ(view.readMe, readMe);
    EXPECT_EQ(view.page, 0);
    EXPECT_EQ(view.buttonTitles[Button::Install], QStringLiteral("Continue"));
    EXPECT_EQ(view.buttonTitles[Button::Cancel], QStringLiteral("Cancel"));

    // Continue moves on; Go Back returns.
    controller.install();
    EXPECT_EQ(view.page, 1);
    EXPECT_EQ(view.buttonTitles[Button::Cancel], QStringLiteral("Go Back"));
    controller.cancel();
    EXPECT_EQ(view.page, 0);
}

TEST_F(StartupTest, ProductCodesWithoutQuitCodesBecomeTheQuitList)
{
    start({QStringLiteral("-sourcePath"), product, QStringLiteral("-productCode"), QStringLiteral("PRO1"),
           QStringLiteral("-productCode"), QStringLiteral("PRO2")});
    const QStringList codes{QStringLiteral("PRO1"), QStringLiteral("PRO2")};
    EXPECT_EQ(controller.arguments()->list(RVInstallerKeyProductCode), codes);
    EXPECT_EQ(controller.arguments()->list(RVInstallerKeyQuitCode), codes);

    // Codes that name no application stay product codes but leave the quit list, with a line each.
    const auto other = startFresh({QStringLiteral("-sourcePath"), product, QStringLiteral("-quitCode"), QStringLiteral("QUIT"),
                                   QStringLiteral("-quitCode"), QStringLiteral(""), QStringLiteral("-productCode"),
                                   QStringLiteral("????")});
    EXPECT_EQ(other->controller.arguments()->list(RVInstallerKeyProductCode), QStringList{QStringLiteral("????")});
    EXPECT_EQ(other->controller.arguments()->list(RVInstallerKeyQuitCode), QStringList{QStringLiteral("QUIT")});
    EXPECT_TRUE(log.lines().contains(QStringLiteral("quit code '' names no application; left out")));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("quit code '?\?\?\?' names no application; left out")));
}

TEST_F(StartupTest, WrapperOutsideTheSourceFolderAndMissingFilesAreDropped)
{
    files.existing << QStringLiteral("/elsewhere/Folder");
    start({QStringLiteral("-sourcePath"), product, QStringLiteral("-wrapperPath"), QStringLiteral("/elsewhere/Folder"),
           QStringLiteral("-documentationPath"), QStringLiteral("/missing.pdf"), QStringLiteral("-readMePath"),
           QStringLiteral("/missing.rtf"), QStringLiteral("-destinationPath"), QStringLiteral("/opt/X/Product.app")});
    EXPECT_FALSE(controller.arguments()->contains(RVInstallerKeyWrapperPath));
    EXPECT_FALSE(controller.arguments()->contains(RVInstallerKeyDocumentationPath));
    EXPECT_TRUE(controller.arguments()->contains(RVInstallerKeyReadMePath));
    EXPECT_EQ(argument(RVInstallerKeyDestinationPath), QStringLiteral("/opt/X/Product.app"));
    EXPECT_EQ(view.page, 1);
    EXPECT_EQ(view.buttonTitles[Button::Cancel], QStringLiteral("Go Back"));
    controller.openDocumentation();
    EXPECT_EQ(view.beeps, 1);
    EXPECT_EQ(log.lines().last(), QStringLiteral("documentation path missing"));
}

TEST_F(StartupTest, TooOldSystemShowsTheAlertAndBothAnswersQuit)
{
    struct Case { QStringList words; QByteArray bundleMinimum; bool alert; } cases[] = {
        {{}, "5.10", false}, // older than 6.1
        {{}, "6.2", true},
        {{QStringLiteral("-minSystemVersion"), QStringLiteral("6.2")}, "5.10", true},
        {{QStringLiteral("-minSystemVersion"), QStringLiteral("6.1")}, "5.10", false},
        {{QStringLiteral("-minSystemVersion"), QStringLiteral("6.1.0")}, "5.10", true}, // 6.1 is older than 6.1.0
        {{QStringLiteral("-minSystemVersion"), QStringLiteral("5.4")}, "9.0", false},   // the argument wins
    };
    for (const auto& c : cases) {
        writeInfo("{ CFBundleSignature = PROD; CFBundleShortVersionString = \"2.1\"; LSMinimumSystemVersion = \"" +
                  c.bundleMinimum + "\"; }");
        const auto session = startFresh(c.words);
        EXPECT_EQ(session->view.alert.has_value(), c.alert) << c.words.join(u' ').toStdString() << " bundle " << c.bundleMinimum.toStdString();
        EXPECT_EQ(session->controller.exitStatus(),
                  c.alert ? InstallerWinController::ExitSystemTooOld : InstallerWinController::ExitCancelled);
    }
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    start({QStringLiteral("-minSystemVersion"), QStringLiteral("7")});
    const auto& fresh = view;
    ASSERT_TRUE(fresh.alert);
    EXPECT_EQ(fresh.alert->message,
              QStringLiteral("Product 2.1 cannot be installed on this computer because it requires Mac OS X 7 or newer."));
    EXPECT_EQ(fresh.alert->first, QStringLiteral("Quit"));
    EXPECT_EQ(fresh.alert->second, QStringLiteral("Visit Archive"));
    fresh.alert->answer(1000);
    EXPECT_TRUE(platform.launcher->requests.empty());
    fresh.alert->answer(1001);
    ASSERT_EQ(platform.launcher->requests.size(), 1u);
    EXPECT_TRUE(platform.launcher->requests[0].arguments.first().startsWith(QStringLiteral("http://")));
    EXPECT_TRUE(platform.launcher->requests[0].arguments.first().endsWith(QStringLiteral("/downloads/archive/")));
    EXPECT_EQ(quits.count(), 2);
}

TEST_F(StartupTest, GermanTableMakesTheWholePageGerman)
{
    ASSERT_TRUE(RVLocalization::load({QStringLiteral("de")}, QStringLiteral(RV_TRANSLATIONS_DIR)));
    platform.facts->executable = tmp.mkdir(QStringLiteral("opt/VelmoraInstaller.app/Contents/MacOS")) +
                                 QStringLiteral("/VelmoraInstaller");
    start({});
    EXPECT_EQ(view.texts[Field::Intro], QStringLiteral("Der Pfad des Produkts fehlt."));
    EXPECT_EQ(view.buttonTitles[Button::Install], QStringLiteral("OK"));
}

QStringList words(std::initializer_list<const char*> list)
{
    QStringList out{QStringLiteral("/Apps/P.app/Contents/MacOS/VelmoraInstaller")};
    for (const char* w : list)
        out << QString::fromUtf8(w);
    return out;
}

struct ParseCase
{
    const char* name;
    QStringList argv;
    QVariantMap expected; // besides the program's path under ""
};

QVariantMap entries(std::initializer_list<std::pair<const char*, QVariant>> list)
{
    QVariantMap map;
    for (const auto& [key, value] : list)
        map.insert(QString::fromUtf8(key), value);
    return map;
}

TEST(RVInstallerArguments, ParsesTheCommandLineByTheKeyValueRule)
{
    const QString abcd = QStringLiteral("ABCD"), efgh = QStringLiteral("EFGH");
    const ParseCase cases[] = {
        {"no arguments", words({}), {}},
        {"plain pair", words({"-productName", "Product"}),
         entries({{"productName", QStringLiteral("Product")}})},
        {"key at the end gets nothing", words({"-productName", "P", "-sourcePath"}),
         entries({{"productName", QStringLiteral("P")}})},
        {"key followed by key", words({"-quitCode", "-productCode", "ABCD"}),
         entries({{"productCode", QStringList{abcd}}})},
        {"last plain value wins", words({"-productName", "A", "B"}),
         entries({{"productName", QStringLiteral("B")}})},
        {"repeated plain key", words({"-productName", "A", "-productName", "C"}),
         entries({{"productName", QStringLiteral("C")}})},
        {"list values collect", words({"-quitCode", "ABCD", "EFGH"}),
         entries({{"quitCode", QStringList{abcd, efgh}}})},
        {"repeated list key collects", words({"-quitCode", "ABCD", "-quitCode", "EFGH"}),
         entries({{"quitCode", QStringList{abcd, efgh}}})},
        {"double dash names -x", words({"--x", "v"}), entries({{"-x", QStringLiteral("v")}})},
        {"number stays text", words({"-completionQuit", "2.5"}),
         entries({{"completionQuit", QStringLiteral("2.5")}})},
        {"spaces kept whole", words({"-readMePath", "/tmp/Read Me.rtf"}),
         entries({{"readMePath", QStringLiteral("/tmp/Read Me.rtf")}})},
        {"keys are case-sensitive", words({"-ProductName", "X", "-productcode", "ABCD"}),
         entries({{"ProductName", QStringLiteral("X")}, {"productcode", abcd}})},
        {"system options pass by the same rule",
         words({"-AppleLanguages", "(de)", "-NSDocumentRevisionsDebugMode"}),
         entries({{"AppleLanguages", QStringLiteral("(de)")}})},
        {"empty value is a value", words({"-productName", ""}),
         entries({{"productName", QStringLiteral("")}})},
        {"lone dash names the empty key", words({"-", "value"}), entries({{"", QStringLiteral("value")}})},
    };
    for (const ParseCase& c : cases) {
        QVariantMap expected = c.expected;
        // The program's path is under the empty key, unless a lone "-" names that key again.
        if (!expected.contains(QString()))
            expected.insert(QString(), c.argv.first());
        EXPECT_EQ(RVInstallerArguments::fromArgumentList(c.argv).toVariantMap(), expected)
            << c.name;
    }
}

TEST(RVInstallerArguments, ListAccessorsKeepStringsAndListsApart)
{
    auto args = RVInstallerArguments::fromArgumentList(
        words({"-productCode", "ABCD", "-productName", "P"}));
    EXPECT_TRUE(args.hasList(RVInstallerKeyProductCode));
    EXPECT_TRUE(args.string(RVInstallerKeyProductCode).isNull());
    EXPECT_TRUE(args.list(RVInstallerKeyProductName).isEmpty());
    EXPECT_FALSE(args.hasList(RVInstallerKeyQuitCode));
    args.appendToList(RVInstallerKeyQuitCode, QStringLiteral("WXYZ"));
    EXPECT_EQ(args.list(RVInstallerKeyQuitCode), QStringList{QStringLiteral("WXYZ")});
    args.remove(RVInstallerKeyProductName);
    EXPECT_FALSE(args.contains(RVInstallerKeyProductName));
}

TEST(InstallerWinController, ExtractArgumentsLogsOnceAndKeepsTheFirstResult)
{
    FakePlatform platform;
    LogCapture log;
    platform.facts->arguments = words({"-productName", "First"});
    InstallerWinController controller;
    EXPECT_FALSE(controller.arguments().has_value());

    controller.extractArguments();
    platform.facts->arguments = words({"-productName", "Second"});
    controller.extractArguments();

    ASSERT_TRUE(controller.arguments().has_value());
    EXPECT_EQ(controller.arguments()->string(RVInstallerKeyProductName), QStringLiteral("First"));
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_EQ(log.lines().first(),
              QStringLiteral("arguments: (/Apps/P.app/Contents/MacOS/VelmoraInstaller, "
                             "-productName, First)"));
}

} // namespace
