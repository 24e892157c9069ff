#include "RVFormat.h"
#include "RVFourCharCode.h"

#include <gtest/gtest.h>

namespace {

struct FormatCase
{
    const char* format;
    std::initializer_list<RVFormatArg> args;
    const char* expected;
};

TEST(RVFormat, ConvertsEveryConversionTheTextsUse)
{
    const QStringList list{QStringLiteral("ABCD"), QStringLiteral("two words")};
    const FormatCase cases[] = {
        {"plain text", {}, "plain text"},
        {"arguments: %@", {QStringLiteral("x")}, "arguments: x"},
        {"%@", {QString()}, "(null)"},
        {"%@", {nullptr}, "(null)"},
        {"%@ and %@", {QStringLiteral("a")}, "a and (null)"},
        {"%2$@ before %1$@", {QStringLiteral("one"), QStringLiteral("two")}, "two before one"},
        {"%1$@ %2$@ needs %3$@", {QStringLiteral("P"), QStringLiteral("1.0"), QStringLiteral("6.1")},
         "P 1.0 needs 6.1"},
        {"%d.%d.%d", {10, 12, 6}, "10.12.6"},
        {"%d", {-42}, "-42"},
        {"%s", {"c string"}, "c string"},
        {"%s", {static_cast<const char*>(nullptr)}, "(null)"},
        {"temp-%X", {0xBEEF}, "temp-BEEF"},
        {"%X", {-1}, "FFFFFFFF"},
        {"%02X", {5}, "05"},
        {"%02X%02X", {0xAB, 0x1}, "AB01"},
        {"quit delay: %1.1f", {2.5}, "quit delay: 2.5"},
        {"%1.3f", {1.0 / 3}, "0.333"},
        {"100%%", {}, "100%"},
        {"%@", {list}, "(ABCD, \"two words\")"},
        {"%@", {7}, "7"},
        {"%@", {2.5}, "2.5"},
        {"%ld", {std::int64_t(1) << 40}, "1099511627776"},
        {"trailing %", {}, "trailing %"},
        {"%k unknown", {1}, "%k unknown"},
        {"%5$@", {QStringLiteral("a")}, "(null)"},
        {"%d", {}, "0"},
    };
    for (const FormatCase& c : cases) {
        EXPECT_EQ(RVFormat(QString::fromUtf8(c.format), c.args), QString::fromUtf8(c.expected))
            << c.format;
    }
}

TEST(RVFormat, DescribesDictionariesOnOneLine)
{
    QVariantMap map;
    map.insert(QStringLiteral("quitCode"), QStringList{QStringLiteral("ABCD")});
    map.insert(QStringLiteral("sourcePath"), QStringLiteral("/tmp/My App.app"));
    EXPECT_EQ(RVDescription(map), QStringLiteral("{quitCode = (ABCD); sourcePath = \"/tmp/My App.app\";}"));
    EXPECT_EQ(RVDescription(QVariantMap()), QStringLiteral("{}"));
}

TEST(RVFormat, HostileWidthsDoNotOverflow)
{
    EXPECT_EQ(RVFormat(QStringLiteral("%99999d"), {1}), QStringLiteral("(bad format)"));
    EXPECT_EQ(RVFormat(QStringLiteral("%.99999f"), {1.0}), QStringLiteral("(bad format)"));
}

TEST(RVFourCharCode, ConvertsOnlyFourAsciiCharacters)
{
    struct Case
    {
        QString text;
        RVOSType code;
    } cases[] = {
        {QStringLiteral("ABCD"), 0x41424344},
        {QStringLiteral("????"), 0x3F3F3F3F},
        {QStringLiteral("Mp3 "), 0x4D703320},
        {QStringLiteral("ABC"), 0},
        {QStringLiteral("ABCDE"), 0},
        {QString(), 0},
        {QStringLiteral("AB\u00e9D"), 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(RVOSTypeFromString(c.text), c.code) << c.text.toStdString();
}

TEST(RVFourCharCode, CodeToTextPutsTheMostSignificantByteFirst)
{
    EXPECT_EQ(RVStringFromOSType(0x41424344), QStringLiteral("ABCD"));
    EXPECT_EQ(RVStringFromOSType(RVFourCC("sys1")), QStringLiteral("sys1"));
    EXPECT_EQ(RVOSTypeFromString(RVStringFromOSType(RVFourCC("lgnw"))), RVFourCC("lgnw"));
}

} // namespace
