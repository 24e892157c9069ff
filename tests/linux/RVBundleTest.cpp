#include "FakePlatform.h"
#include "RVBundle.h"
#include "TempDir.h"

#include "BinaryPlist.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kInfoXml = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>Demo</string>
<key>CFBundleIdentifier</key><string>com.velmora.demo</string>
<key>CFBundleSignature</key><string>VDMO</string>
</dict></plist>)";


class BundleTest : public ::testing::Test
{
protected:
    TempDir tmp;
    FakePlatform platform;
    LogCapture log;

    QString makeMacBundle(const QString& name, const QByteArray& info)
    {
        tmp.write(name + QStringLiteral("/Contents/Info.plist"), info);
        tmp.write(name + QStringLiteral("/Contents/MacOS/Demo"), "#!/bin/sh\n",
                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        tmp.write(name + QStringLiteral("/Contents/Resources/Done.wav"), "RIFF");
        tmp.write(name + QStringLiteral("/Contents/Resources/train"), "tool");
        return tmp.file(name);
    }
};

TEST_F(BundleTest, ReadsTheMacLayoutInXmlAndBinaryForm)
{
    for (const QByteArray& info : {kInfoXml, binaryPlistOf(kInfoXml)}) {
        const QString path = makeMacBundle(QStringLiteral("Demo.app"), info);
        const auto bundle = RVBundle::bundleWithPath(path);
        ASSERT_TRUE(bundle);
        EXPECT_EQ(bundle->layout(), RVBundle::Layout::MacOS);
        EXPECT_TRUE(bundle->hasInfoDictionary());
        EXPECT_EQ(bundle->bundleIdentifier(), QStringLiteral("com.velmora.demo"));
        EXPECT_EQ(bundle->executablePath(), path + QStringLiteral("/Contents/MacOS/Demo"));
        EXPECT_EQ(bundle->resourcePath(), path + QStringLiteral("/Contents/Resources"));
        EXPECT_EQ(bundle->pathForResourceOfType(QStringLiteral("Done"), QStringLiteral("wav")),
                  path + QStringLiteral("/Contents/Resources/Done.wav"));
        EXPECT_EQ(bundle->pathForResourceOfType(QStringLiteral("train"), QString()),
                  path + QStringLiteral("/Contents/Resources/train"));
        EXPECT_TRUE(bundle->pathForResourceOfType(QStringLiteral("Done"), QStringLiteral("aiff")).isNull());
        EXPECT_TRUE(bundle->pathForResourceOfType(QStringLiteral("../Info"), QStringLiteral("plist")).isNull());
    }
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join(u'\n').toStdString();
}

TEST_F(BundleTest, ReadsTheGnustepLayout)
{
    tmp.write(QStringLiteral("Tool.app/Resources/Info-gnustep.plist"),
              "{ NSExecutable = Tool; CFBundleIdentifier = org.example.tool; }");
    tmp.write(QStringLiteral("Tool.app/Tool"), "#!/bin/sh\n");
    const auto bundle = RVBundle::bundleWithPath(tmp.file(QStringLiteral("Tool.app")));
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->layout(), RVBundle::Layout::GNUstep);
    EXPECT_EQ(bundle->bundleIdentifier(), QStringLiteral("org.example.tool"));
    EXPECT_EQ(bundle->executablePath(), tmp.file(QStringLiteral("Tool.app/Tool")));
    EXPECT_EQ(bundle->resourcePath(), tmp.file(QStringLiteral("Tool.app/Resources")));
}

TEST_F(BundleTest, MalformedOrMissingListGivesNoDictionaryAndOneLine)
{
    struct Case
    {
        const char* name;
        QByteArray info;
        int lines;
    } cases[] = {
        {"Broken.app", "<?xml version=\"1.0\"?><plist><dict><key>x", 1},
        {"Array.app", "(a, b)", 1},
        {"Garbage.app", QByteArray("\xff\xfe\x00{{{", 6), 1},
    };
    for (const auto& c : cases) {
        const qsizetype before = log.lines().size();
        const auto bundle = RVBundle::bundleWithPath(makeMacBundle(QString::fromUtf8(c.name), c.info));
        ASSERT_TRUE(bundle) << c.name;
        EXPECT_FALSE(bundle->hasInfoDictionary()) << c.name;
        EXPECT_TRUE(bundle->infoDictionary().isEmpty()) << c.name;
        EXPECT_TRUE(bundle->executablePath().isNull()) << c.name;
        ASSERT_EQ(log.lines().size() - before, c.lines) << c.name;
        EXPECT_TRUE(log.lines().last().contains(QString::fromUtf8(c.name))) << c.name;
    }
    tmp.mkdir(QStringLiteral("Empty.app"));
    const auto empty = RVBundle::bundleWithPath(tmp.file(QStringLiteral("Empty.app")));
    ASSERT_TRUE(empty);
    EXPECT_FALSE(empty->hasInfoDictionary());
    EXPECT_FALSE(RVBundle::bundleWithPath(tmp.file(QStringLiteral("Missing.app"))));
    EXPECT_FALSE(RVBundle::bundleWithPath(QString()));
}

TEST_F(BundleTest, MainBundleIsTheAppHoldingTheExecutableElseItsFolder)
{
    const QString app = makeMacBundle(QStringLiteral("Outer.app"), kInfoXml);
    platform.facts->executable = app + QStringLiteral("/Contents/MacOS/Demo");
    auto bundle = RVBundle::mainBundle();
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->bundlePath(), app);

    const QString loose = tmp.write(QStringLiteral("bin/tool"), "x");
    platform.facts->executable = loose;
    bundle = RVBundle::mainBundle();
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->bundlePath(), tmp.file(QStringLiteral("bin")));
}

TEST_F(BundleTest, EnclosingAppFolderClimbsToTheNearestApp)
{
    EXPECT_EQ(RVBundle::enclosingAppFolder(QStringLiteral("/a/P.app/Contents/Resources/I.app/Contents/MacOS")),
              QStringLiteral("/a/P.app/Contents/Resources/I.app"));
    EXPECT_EQ(RVBundle::enclosingAppFolder(QStringLiteral("/a/P.app")), QStringLiteral("/a/P.app"));
    EXPECT_TRUE(RVBundle::enclosingAppFolder(QStringLiteral("/usr/bin")).isNull());
}

} // namespace
