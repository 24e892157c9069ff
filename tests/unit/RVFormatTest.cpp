#include "QtPrinters.h"
#include "RVFormat.h"
#include "RVFourCharCode.h"
#include "RVLog.h"
#include "RVRichText.h"

#include <QRegularExpression>
#include <QTemporaryFile>

#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

struct FormatCase { const char* format; std::initializer_list<RVFormatArg> args; const char* expected; };

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
    struct Case { QString text; RVOSType code; } cases[] = {
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

TEST(RichText, FormatIsToldFromTheContent)
{
    using F = RVRichText::Format;
    struct Case { const char* text; F format; } cases[] = {{"{\\rtf1\\ansi hello}", F::Rtf},
                 {"  <html><body>x</body></html>", F::Html},
                 {"<p>a paragraph</p>", F::Html},
                 {"# Title\n\ntext", F::Markdown},
                 {"Some **bold** words", F::Markdown},
                 {"- item\n- item", F::Markdown},
                 {"Just a plain read me.\nSecond line.", F::Plain},
                 {"", F::Plain}};
    for (const auto& c : cases)
        EXPECT_EQ(RVRichText::detect(c.text), c.format) << c.text;
}

TEST(RichText, RtfBecomesHtmlWithStylesAndCharacters)
{
    const QByteArray rtf = "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0 Helvetica;}}{\\colortbl;\\red0\\green0\\blue0;}"
                           "{\\*\\generator Writer;}\\f0 Hello \\b bold\\b0  and \\i italic\\i0 .\\par "
                           "Caf\\'e9 \\u8364? 5 < 6 & \\'ac {\\ul under}\\line next}";
    const QString html = RVRichText::rtfToHtml(rtf);
    EXPECT_TRUE(html.contains(QStringLiteral("Hello <b>bold</b> and <i>italic</i>."))) << html.toStdString();
    EXPECT_TRUE(html.contains(QStringLiteral("</p><p>Café € 5 &lt; 6 &amp; ¬ <u>under</u><br>next"))) << html.toStdString();
    EXPECT_FALSE(html.contains(QStringLiteral("Helvetica")));
    EXPECT_FALSE(html.contains(QStringLiteral("Writer")));

    // RTFD: the attachment's file becomes an image; its placeholder character goes.
    const QString rtfd = RVRichText::rtfToHtml(
        "{\\rtf1 Logo: {{\\NeXTGraphic Pasted Graphic.png \\width640 \\height480\n}\\'ac} end}");
    EXPECT_TRUE(rtfd.contains(QStringLiteral("Logo: <img src=\"Pasted Graphic.png\"> end"))) << rtfd.toStdString();
}

TEST(RichText, BrokenRtfGivesWhatCouldBeRead)
{
    for (const QByteArray& rtf : {QByteArray("{\\rtf1 unterminated \\b bold"), QByteArray("}}}{\\"),
                                  QByteArray(3000, '{') + "deep", QByteArray("{\\rtf1 \\u-3 \\'zz \\uc5\\u66 x}")}) {
        const QString html = RVRichText::rtfToHtml(rtf);
        EXPECT_TRUE(html.startsWith(QStringLiteral("<html>"))) << rtf.left(40).toStdString();
    }
    EXPECT_TRUE(RVRichText::rtfToHtml("{\\rtf1 unterminated \\b bold").contains(QStringLiteral("<b>bold</b>")));
}

TEST(Log, LinesFromTwoThreadsNeverInterleave)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    RVLogging::setProcessName(QStringLiteral("VelmoraInstaller"));
    auto writer = [](const char* who) {
        for (int i = 0; i < 500; ++i)
            RVLog(QStringLiteral("%s line %d of a fairly long text that must stay in one piece %@"), who, i,
                  QStringList{QStringLiteral("a"), QStringLiteral("b")});
    };
    std::thread other(writer, "other");
    writer("main");
    other.join();
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);

    file.seek(0);
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 1000);
    static const QRegularExpression form(QStringLiteral(
        "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} VelmoraInstaller\\[\\d+:\\d+\\] "
        "(main|other) line \\d+ of a fairly long text that must stay in one piece \\(a, b\\)$"));
    for (const QString& line : lines)
        ASSERT_TRUE(form.match(line).hasMatch()) << line.toStdString();
}

} // namespace
