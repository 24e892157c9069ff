#include "RVLocalization.h"

#include <gtest/gtest.h>

namespace {

class LocalizationTest : public ::testing::Test
{
protected:
    void TearDown() override { RVLocalization::unload(); }
};

TEST_F(LocalizationTest, GermanTableTranslatesKnownKeysAndFallsBackToTheKey)
{
    ASSERT_TRUE(RVLocalization::load(QLocale(QLocale::German, QLocale::Germany),
                                     QStringLiteral(RV_TRANSLATIONS_DIR)));
    EXPECT_EQ(RVLocalizedString(QStringLiteral("Install")), QStringLiteral("Installieren"));
    EXPECT_EQ(RVLocalizedString(QStringLiteral("Go Back")), QStringLiteral("Zurück"));
    EXPECT_EQ(RVLocalizedString(QStringLiteral("no such key %@")), QStringLiteral("no such key %@"));
}

TEST_F(LocalizationTest, WithoutATableEveryKeyIsItsOwnText)
{
    EXPECT_FALSE(RVLocalization::load(QLocale(QLocale::Japanese), QStringLiteral(RV_TRANSLATIONS_DIR)));
    EXPECT_EQ(RVLocalizedString(QStringLiteral("Install")), QStringLiteral("Install"));
}

} // namespace
