#include "QtPrinters.h"
#include "RVRichText.h"

#include <gtest/gtest.h>

namespace {

TEST(RichText, FormatIsToldFromTheContent)
{
    using F = RVRichText::Format;
    struct Case
    {
        const char* text;
        F format;
    } cases[] = {{"{\\rtf1\\ansi hello}", F::Rtf},
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

} // namespace
