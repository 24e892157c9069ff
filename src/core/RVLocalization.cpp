#include "RVLocalization.h"

#include <QCoreApplication>
#include <QTranslator>

#include <memory>
#include <mutex>

namespace {
std::mutex g_mutex;
std::shared_ptr<QTranslator> g_translator;
} // namespace

bool RVLocalization::load(const QLocale& locale, const QString& directory)
{
    auto translator = std::make_shared<QTranslator>();
    const QString table = QStringLiteral("VelmoraInstaller");
    if (!translator->load(locale, table, QStringLiteral("_"), directory) &&
        !translator->load(table + QStringLiteral("_en"), directory))
        return false;
    std::lock_guard lock(g_mutex);
    g_translator = std::move(translator);
    return true;
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
