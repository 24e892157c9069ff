#include "RVLocalization.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTranslator>

#include <algorithm>
#include <memory>
#include <mutex>

namespace {
std::mutex g_mutex;
std::shared_ptr<QTranslator> g_translator;
} // namespace

bool RVLocalization::load(const QStringList& languages, const QString& directory)
{
    auto translator = std::make_shared<QTranslator>();
    // Exactly the table of a language: the loader's own fallback would end at a table of none.
    const auto loads = [&](const QString& language) {
        const QString file = QStringLiteral("VelmoraInstaller_") + language + QStringLiteral(".qm");
        return QFileInfo::exists(directory + u'/' + file) && translator->load(file, directory);
    };
    if (std::none_of(languages.begin(), languages.end(), loads) && !loads(QStringLiteral("en")))
        return false;
    std::lock_guard lock(g_mutex);
    g_translator = std::move(translator);
    return true;
}

QString RVLocalization::loadedLanguage()
{
    std::lock_guard lock(g_mutex);
    return g_translator ? g_translator->language() : QString();
}

void RVLocalization::installIntoApplication()
{
    std::lock_guard lock(g_mutex);
    if (g_translator && QCoreApplication::instance())
        QCoreApplication::installTranslator(g_translator.get());
}

void RVLocalization::uninstallFromApplication()
{
    std::lock_guard lock(g_mutex);
    if (g_translator && QCoreApplication::instance())
        QCoreApplication::removeTranslator(g_translator.get());
}

void RVLocalization::unload()
{
    std::lock_guard lock(g_mutex);
    g_translator.reset();
}

QString RVLocalizedString(const QString& key)
{
    std::shared_ptr<QTranslator> translator;
    {
        std::lock_guard lock(g_mutex);
        translator = g_translator;
    }
    if (!translator)
        return key;
    const QString text = translator->translate("Localizable", key.toUtf8().constData());
    return text.isEmpty() ? key : text;
}
