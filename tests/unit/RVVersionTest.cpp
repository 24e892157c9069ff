#include "FakePlatform.h"
#include "RVUtilities.h"

#include <gtest/gtest.h>

namespace {

TEST(RVUtilitiesVersion, CompareVersionOrdersNumbersThenStagesThenStageNumbers)
{
    struct Case
    {
        const char* a;
        const char* b;
        int expected;
    } cases[] = {
        {"1.0", "1.0", 0},
        {"10.9", "10.10", -1},
        {"10.4", "10.4.1", -1},
        {"10.12", "10.12.0", -1},
        {"2.0b3", "2.0", -1},
        {"2.0a9", "2.0b1", -1},
        {"2.0b2", "2.0b10", -1},
        {"1.0", "1.0d1", 1},
        {"1.0x1", "1.0d1", 0},   // unknown letters rank like 'd'
        {"1.0D1", "1.0d1", 0},   // upper case is unknown
        {"1.0fc2", "1.0f2", 1},  // stage numbers "c2" and "2": 'c' sorts after '2'
        {"1.0f1", "1.0", -1},
        {"2", "10", -1},
        {"007", "7", 0},         // digit runs compare by value
        {"99999999999999999999", "100000000000000000000", -1}, // longer than 64 bits
        {"1.a", "1.b", -1},      // letter at index 2: numeric parts "1." equal, ranks 1 < 2
        {"", "0", -1},
        {"", "", 0},
        {"1.2.3", "1.2.3", 0},
        {"6.1.0", "6.1", 1},
        {"1.0\u00e91", "1.0d1", 0}, // a non-ASCII letter also starts a stage
        {"1-2", "1.2", -1},          // '-' (0x2d) before '.' (0x2e)
    };
    for (const auto& c : cases) {
        const QString a = QString::fromUtf8(c.a), b = QString::fromUtf8(c.b);
        EXPECT_EQ(RVUtilities::compareVersionWithVersion(a, b), c.expected) << c.a << " vs " << c.b;
        EXPECT_EQ(RVUtilities::compareVersionWithVersion(b, a), -c.expected) << c.b << " vs " << c.a;
    }
}

TEST(RVUtilitiesVersion, DevelopmentStageRanksTheFiveLetters)
{
    EXPECT_EQ(developmentStage(u'd'), 0);
    EXPECT_EQ(developmentStage(u'a'), 1);
    EXPECT_EQ(developmentStage(u'b'), 2);
    EXPECT_EQ(developmentStage(u'f'), 3);
    EXPECT_EQ(developmentStage(u' '), 4);
    EXPECT_EQ(developmentStage(u'x'), 0);
    EXPECT_EQ(developmentStage(u'B'), 0);
}

TEST(RVUtilitiesVersion, PlainVersionKeepsTheNumericPrefix)
{
    struct Case
    {
        const char* in;
        const char* out;
    } cases[] = {
        {"2.1b3", "2.1"}, {"2.1.4 (build 7)", "2.1.4"}, {"v2", ""}, {"", ""}, {"3.2.1", "3.2.1"},
        {"10..1x", "10..1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RVUtilities::plainVersionOf(QString::fromUtf8(c.in)), QString::fromUtf8(c.out));

    // A version that is all numeric comes back as the very same string.
    const QString whole = QStringLiteral("3.2.1");
    EXPECT_EQ(RVUtilities::plainVersionOf(whole).constData(), whole.constData());
}

class SystemVersionTest : public ::testing::Test
{
protected:
    void SetUp() override { RVUtilities::resetCachesForTesting(); }
    void TearDown() override { RVUtilities::resetCachesForTesting(); }
    FakePlatform platform;
    LogCapture log;
};

TEST_F(SystemVersionTest, ThreePartVersionFromGestaltAnswersAndFailures)
{
    struct Case
    {
        const char* name;
        std::map<RVOSType, std::int32_t> answers;
        RVThreePartVersion expected;
        QStringList lines;
        const char* versionString;
    } cases[] = {
        {"all parts", {{RVFourCC("sys1"), 6}, {RVFourCC("sys2"), 1}, {RVFourCC("sys3"), 55}},
         {6, 1, 55}, {}, "6.1.55"},
        {"no bugfix", {{RVFourCC("sys1"), 6}, {RVFourCC("sys2"), 1}},
         {6, 1, 0}, {QStringLiteral("cannot get bugfix version number")}, "6.1"},
        {"no minor", {{RVFourCC("sys1"), 6}, {RVFourCC("sys3"), 2}},
         {6, 0, 2}, {QStringLiteral("cannot get minor version number")}, "6.0.2"},
        {"truncated to 16 bits", {{RVFourCC("sys1"), 0x10006}, {RVFourCC("sys2"), 1}, {RVFourCC("sys3"), 0}},
         {6, 1, 0}, {}, "6.1"},
        {"packed BCD fallback", {{RVFourCC("sysv"), 0x1049}}, {10, 4, 9}, {}, "10.4.9"},
        {"nothing known", {}, {0, 0, 0}, {}, "0.0"},
    };
    for (const auto& c : cases) {
        platform.facts->gestaltAnswers = c.answers;
        const qsizetype before = log.lines().size();
        EXPECT_EQ(RVUtilities::threePartVersion(), c.expected) << c.name;
        EXPECT_EQ(log.lines().mid(before), c.lines) << c.name;
        EXPECT_EQ(RVUtilities::systemVersionString(), QString::fromUtf8(c.versionString)) << c.name;
    }
}

TEST_F(SystemVersionTest, HexSystemVersionIsTheSysvAnswerOrZero)
{
    EXPECT_EQ(RVUtilities::hexSystemVersion(), 0u);
    platform.facts->gestaltAnswers = {{RVFourCC("sysv"), 0x0610}};
    EXPECT_EQ(RVUtilities::hexSystemVersion(), 0x0610u);
}

TEST_F(SystemVersionTest, DecimalSystemVersionIsCachedOnceKnown)
{
    // Unknown: 0 is stored, so the next call asks again.
    EXPECT_EQ(RVUtilities::decimalSystemVersion(), 0u);
    platform.facts->gestaltAnswers = {{RVFourCC("sys1"), 10}, {RVFourCC("sys2"), 12},
                                      {RVFourCC("sys3"), 6}};
    EXPECT_EQ(RVUtilities::decimalSystemVersion(), 101206u);
    platform.facts->gestaltAnswers = {{RVFourCC("sys1"), 11}, {RVFourCC("sys2"), 0},
                                      {RVFourCC("sys3"), 1}};
    EXPECT_EQ(RVUtilities::decimalSystemVersion(), 101206u);
    EXPECT_EQ(RVUtilities::systemVersionString(), QStringLiteral("11.0.1")); // never cached
}

TEST_F(SystemVersionTest, ReleaseTestsFollowTheirThresholds)
{
    using ReleaseTest = bool (*)();
    struct Case
    {
        const char* name;
        ReleaseTest test;
        double below; // false here
        double at;    // true here
    } cases[] = {
        {"leopard (strict, floored)", RVUtilities::leopardOrNewer, 824.9, 825},
        {"snow leopard (floored)", RVUtilities::snowleopardOrNewer, 1037.99, 1038},
        {"lion", RVUtilities::lionOrNewer, 1137.9, 1138},
        {"mountain lion", RVUtilities::mountainLionOrNewer, 1186.99, 1187},
        {"mavericks", RVUtilities::mavericksOrNewer, 1264.9, 1265},
        {"yosemite", RVUtilities::yosemiteOrNewer, 1342.99, 1343},
        {"el capitan", RVUtilities::elCapitanOrNewer, 1403.5, 1404},
        {"sierra", RVUtilities::sierraOrNewer, 1489.1, 1490},
    };
    for (const auto& c : cases) {
        platform.facts->appKit = c.below;
        EXPECT_FALSE(c.test()) << c.name;
        platform.facts->appKit = c.at;
        EXPECT_TRUE(c.test()) << c.name;
    }
    platform.facts->appKit = 743.9; // floored to 743
    EXPECT_TRUE(RVUtilities::pantherOrOlder());
    platform.facts->appKit = 744;
    EXPECT_FALSE(RVUtilities::pantherOrOlder());
}

TEST_F(SystemVersionTest, LocalizedDateUsesTheLocalesShortStyle)
{
    qputenv("TZ", "UTC");
    platform.facts->locale = QLocale(QLocale::German, QLocale::Germany);
    EXPECT_EQ(RVUtilities::localizedDateString(QStringLiteral("2024-03-07")), QStringLiteral("07.03.24"));
    platform.facts->locale = QLocale(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(RVUtilities::localizedDateString(QStringLiteral("2024-03-07")), QStringLiteral("3/7/24"));
    EXPECT_EQ(RVUtilities::localizedDateString(QStringLiteral("not a date")), QStringLiteral(""));
}

} // namespace
