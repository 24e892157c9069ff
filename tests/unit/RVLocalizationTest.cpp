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

// The C and POSIX locales, English ones and those without a table of their own read the
// English table, which words for Linux what the keys say of macOS.
TEST_F(LocalizationTest, EveryLocaleWithoutItsOwnTableGetsTheEnglishForLinux)
{
    const QString key = QStringLiteral("%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.");
    for (const QLocale& locale : {QLocale::c(), QLocale(QStringLiteral("POSIX")), QLocale(QStringLiteral("en_US")),
                                  QLocale(QStringLiteral("en_GB")), QLocale(QLocale::Japanese)}) {
        ASSERT_TRUE(RVLocalization::load(locale, QStringLiteral(RV_TRANSLATIONS_DIR))) << locale.name().toStdString();
        EXPECT_TRUE(RVLocalizedString(key).contains(QStringLiteral("requires Linux with kernel")))
            << locale.name().toStdString();
        EXPECT_EQ(RVLocalizedString(QStringLiteral("Install")), QStringLiteral("Install"));
    }
    EXPECT_FALSE(RVLocalization::load(QLocale::c(), QStringLiteral("/nonexistent")));
    RVLocalization::unload();
    EXPECT_EQ(RVLocalizedString(key), key);
}

} // namespace
