#include "RVPropertyList.h"

#include <QDateTime>

#include "BinaryPlist.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kXml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>CFBundleName</key><string>Velmora Demo</string>
  <key>CFBundleSignature</key><string>VDMO</string>
  <key>Count</key><integer>42</integer>
  <key>Ratio</key><real>2.5</real>
  <key>Flag</key><true/>
  <key>List</key><array><string>a</string><string>b</string></array>
  <key>Blob</key><data>AAEC</data>
</dict>
</plist>
)";

QVariantMap expectedDictionary()
{
    return {{QStringLiteral("CFBundleName"), QStringLiteral("Velmora Demo")},
            {QStringLiteral("CFBundleSignature"), QStringLiteral("VDMO")},
            {QStringLiteral("Count"), qlonglong(42)},
            {QStringLiteral("Ratio"), 2.5},
            {QStringLiteral("Flag"), true},
            {QStringLiteral("List"), QVariantList{QStringLiteral("a"), QStringLiteral("b")}},
            {QStringLiteral("Blob"), QByteArray("\x00\x01\x02", 3)}};
}


TEST(RVPropertyList, ReadsXmlAndBinaryAlike)
{
    const auto xml = RVPropertyList::fromData(kXml);
    ASSERT_TRUE(xml.value) << xml.error.toStdString();
    EXPECT_EQ(xml.value->toMap(), expectedDictionary());

    const QByteArray binary = binaryPlistOf(kXml);
    ASSERT_TRUE(binary.startsWith("bplist00"));
    const auto bin = RVPropertyList::fromData(binary);
    ASSERT_TRUE(bin.value) << bin.error.toStdString();
    EXPECT_EQ(bin.value->toMap(), expectedDictionary());
}

TEST(RVPropertyList, ReadsOpenStepTextWithGnustepExtensions)
{
    const QByteArray text = R"(
    /* Info-gnustep.plist */
    {
        CFBundleName = "Velmora Demo";   // a comment
        CFBundleSignature = VDMO;
        Count = <*I42>;
        Ratio = <*R2.5>;
        Flag = <*BY>;
        List = (a, "b",);
        Blob = <000102>;
        Escapes = "tab\there \"quoted\" \U00e9 \101";
        Nested = { Inner = ( ); };
    })";
    const auto result = RVPropertyList::fromData(text);
    ASSERT_TRUE(result.value) << result.error.toStdString();
    QVariantMap expected = expectedDictionary();
    expected.insert(QStringLiteral("Escapes"), QStringLiteral("tab\there \"quoted\" \u00e9 A"));
    expected.insert(QStringLiteral("Nested"), QVariantMap{{QStringLiteral("Inner"), QVariantList()}});
    EXPECT_EQ(result.value->toMap(), expected);
}

TEST(RVPropertyList, ReadsABareDictionaryBody)
{
    const auto result = RVPropertyList::fromData("NSExecutable = demo;\nCFBundleName = \"D\";\n");
    ASSERT_TRUE(result.value) << result.error.toStdString();
    EXPECT_EQ(result.value->toMap(),
              (QVariantMap{{QStringLiteral("NSExecutable"), QStringLiteral("demo")},
                           {QStringLiteral("CFBundleName"), QStringLiteral("D")}}));
}

TEST(RVPropertyList, RefusesMalformedInputWithAReason)
{
    const QByteArray cases[] = {
        "",
        "{ a = b; ",
        "{ a = ; }",
        "{ a b; }",
        "( a, b",
        "\"unterminated",
        "<0g>",
        "<012>",
        "{ (a) = b; }",
        "<?xml version=\"1.0\"?><plist><dict><key>a</key>",
        "bplist00garbage",
        QByteArray(5000, '('),
        "<*Ixyz>",
    };
    for (const QByteArray& data : cases) {
        const auto result = RVPropertyList::fromData(data);
        EXPECT_FALSE(result.value.has_value()) << data.left(60).toStdString();
        EXPECT_FALSE(result.error.isEmpty()) << data.left(60).toStdString();
    }
}

TEST(RVPropertyList, StringsWithNulBytesDoNotAbort)
{
    // Found by the fuzzer: libplist aborts on such strings unless read through pointers.
    QByteArray xml = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>";
    xml += QByteArray(3, '\0') + "x</string></dict></plist>";
    const auto result = RVPropertyList::fromData(xml);
    EXPECT_FALSE(result.value.has_value());
    EXPECT_EQ(result.error, QStringLiteral("NUL byte in XML text"));
}

} // namespace
