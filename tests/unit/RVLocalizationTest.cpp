#include "RVLocalization.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace {

class LocalizationTest : public ::testing::Test
{
protected:
    void TearDown() override { RVLocalization::unload(); }
};

// English (the C and POSIX locales read as English) and languages without a table of their
// own read the English table, which words for Linux what the keys say of macOS.
TEST_F(LocalizationTest, EveryLocaleWithoutItsOwnTableGetsTheEnglishForLinux)
{
    const QString key = QStringLiteral("%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.");
    const QStringList cases[] = {{QStringLiteral("en")}, {QStringLiteral("en_US"), QStringLiteral("en")},
                                 {QStringLiteral("en_GB"), QStringLiteral("en")}, {QStringLiteral("sw_KE"), QStringLiteral("sw")},
                                 {}};
    for (const QStringList& languages : cases) {
        ASSERT_TRUE(RVLocalization::load(languages, QStringLiteral(RV_TRANSLATIONS_DIR))) << languages.join(u' ').toStdString();
        EXPECT_TRUE(RVLocalizedString(key).contains(QStringLiteral("requires Linux with kernel")))
            << languages.join(u' ').toStdString();
        EXPECT_EQ(RVLocalizedString(QStringLiteral("Install")), QStringLiteral("Install"));
    }
    EXPECT_FALSE(RVLocalization::load({QStringLiteral("en")}, QStringLiteral("/nonexistent")));
    RVLocalization::unload();
    EXPECT_EQ(RVLocalizedString(key), key);
}

// Every table but the English one (which words only what names macOS) translates every key
// of the German reference, finished, with the same placeholders as the key.
TEST(StringTables, EveryLanguageIsCompleteWithTheKeysPlaceholders)
{
    using Table = QMap<QString, QString>; // context + key -> translation
    const auto read = [](const QString& path, QStringList* unfinished) {
        Table table;
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        QXmlStreamReader xml(&file);
        QString context, source;
        while (xml.readNext() != QXmlStreamReader::EndDocument && !xml.hasError()) {
            if (!xml.isStartElement())
                continue;
            if (xml.name() == u"name")
                context = xml.readElementText();
            else if (xml.name() == u"source")
                source = xml.readElementText();
            else if (xml.name() == u"translation") {
                if (xml.attributes().hasAttribute(QStringLiteral("type")))
                    *unfinished << source;
                table.insert(context + u'|' + source, xml.readElementText());
            }
        }
        EXPECT_FALSE(xml.hasError()) << path.toStdString() << ": " << xml.errorString().toStdString();
        return table;
    };
    const auto placeholders = [](const QString& text) {
        static const QRegularExpression pattern(QStringLiteral("%(\\d+\\$)?[@ds]"));
        QStringList found;
        for (auto it = pattern.globalMatch(text); it.hasNext();)
            found << it.next().captured();
        found.sort();
        return found;
    };
    const QDir folder(QStringLiteral(RV_TRANSLATION_SOURCES));
    QStringList unfinished;
    const Table reference = read(folder.filePath(QStringLiteral("VelmoraInstaller_de.ts")), &unfinished);
    ASSERT_GE(reference.size(), 26);
    const QStringList languages{QStringLiteral("de"), QStringLiteral("fr"), QStringLiteral("es"), QStringLiteral("it"),
                                QStringLiteral("pt_BR"), QStringLiteral("nl"), QStringLiteral("pl"), QStringLiteral("ru"),
                                QStringLiteral("ja"), QStringLiteral("zh_CN"), QStringLiteral("ar")};
    for (const QString& language : languages) {
        const Table table = read(folder.filePath(QStringLiteral("VelmoraInstaller_%1.ts").arg(language)), &unfinished);
        EXPECT_EQ(table.keys(), reference.keys()) << language.toStdString();
        for (auto it = table.cbegin(); it != table.cend(); ++it) {
            const QString key = it.key().section(u'|', 1);
            EXPECT_FALSE(it.value().trimmed().isEmpty()) << language.toStdString() << ": " << key.toStdString();
            EXPECT_EQ(placeholders(it.value()), placeholders(key)) << language.toStdString() << ": " << key.toStdString();
        }
    }
    EXPECT_TRUE(unfinished.isEmpty()) << unfinished.join(u'\n').toStdString();
}

// A user's languages pick the table: the first language that has one, a regional language
// falling back to its base one, English for the rest; a key without translation stays itself.
TEST_F(LocalizationTest, TheFirstLanguageWithATableWins)
{
    const struct { QStringList languages; const char* install; } cases[] = {
                 {{QStringLiteral("de_DE"), QStringLiteral("de")}, "Installieren"},
                 {{QStringLiteral("pt_BR"), QStringLiteral("pt")}, "Instalar"},
                 {{QStringLiteral("fr_CA"), QStringLiteral("fr")}, "Installer"},
                 {{QStringLiteral("eo"), QStringLiteral("ja")}, "インストール"},
                 {{QStringLiteral("eo")}, "Install"},
                 {{QStringLiteral("ar")}, "تثبيت"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(RVLocalization::load(c.languages, QStringLiteral(RV_TRANSLATIONS_DIR))) << c.install;
        EXPECT_EQ(RVLocalizedString(QStringLiteral("Install")), QString::fromUtf8(c.install));
        EXPECT_EQ(RVLocalizedString(QStringLiteral("no such key %@")), QStringLiteral("no such key %@"));
    }
    EXPECT_EQ(RVLocalization::loadedLanguage().left(2), QStringLiteral("ar"));
}

} // namespace
