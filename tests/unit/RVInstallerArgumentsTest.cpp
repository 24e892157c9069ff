#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "RVInstallerArguments.h"
#include "RVInstallerInterface.h"

#include <gtest/gtest.h>

namespace {

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
    };
    for (const ParseCase& c : cases) {
        QVariantMap expected = c.expected;
        // A lone "-" names the empty key again, so the path may be overwritten; here it is not.
        expected.insert(QString(), c.argv.first());
        EXPECT_EQ(RVInstallerArguments::fromArgumentList(c.argv).toVariantMap(), expected)
            << c.name;
    }
}

TEST(RVInstallerArguments, LoneDashNamesTheEmptyKey)
{
    const auto args = RVInstallerArguments::fromArgumentList(words({"-", "value"}));
    EXPECT_EQ(args.string(QString()), QStringLiteral("value"));
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
