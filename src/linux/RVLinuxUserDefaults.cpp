#include "RVLinuxUserDefaults.h"

#include "RVDesktopAppearance.h"

#include <QDir>
#include <QSettings>

const QString RVLinuxUserDefaults::globalDomain = QStringLiteral("NSGlobalDomain");

RVLinuxUserDefaults::RVLinuxUserDefaults(const QStringList& arguments, const QString& ownDomain,
                                         DarkPreference prefersDark)
    : m_ownDomain(ownDomain), m_desktopPrefersDark(prefersDark ? std::move(prefersDark) : desktopPrefersDark)
{
    // Only a "-key" directly followed by a word that is not itself a key forms a pair.
    for (qsizetype i = 1; i + 1 < arguments.size(); ++i) {
        const QString& key = arguments[i];
        const QString& value = arguments[i + 1];
        if (key.size() > 1 && key.startsWith(u'-') && !value.startsWith(u'-')) {
            m_argumentDomain.insert(key.mid(1), value);
            ++i;
        }
    }
}

QString RVLinuxUserDefaults::domainFilePath(const QString& domain)
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + u'/' + domain + QStringLiteral(".conf");
}

QVariant RVLinuxUserDefaults::valueForKey(const QString& key) const
{
    return valueForKeyWithSuite(key, QString());
}

QVariant RVLinuxUserDefaults::valueForKeyWithSuite(const QString& key, const QString& suite) const
{
    const auto argument = m_argumentDomain.constFind(key);
    if (argument != m_argumentDomain.cend())
        return *argument;
    for (const QString& domain : {m_ownDomain, suite, globalDomain}) {
        if (const QVariant value = valueForKeyInDomain(key, domain); value.isValid())
            return value;
    }
    return {};
}

QVariant RVLinuxUserDefaults::valueForKeyInDomain(const QString& key, const QString& domain) const
{
    if (domain.isEmpty() || domain.contains(u'/'))
        return {};
    if (domain == globalDomain && key == QStringLiteral("AppleInterfaceStyle")) {
        if (const std::optional<bool> dark = m_desktopPrefersDark())
            return *dark ? QVariant(QStringLiteral("Dark")) : QVariant();
    }
    const QSettings settings(domainFilePath(domain), QSettings::IniFormat);
    return settings.value(key);
}

void RVLinuxUserDefaults::setValueForKey(const QString& key, const QVariant& value)
{
    std::lock_guard lock(m_writeMutex);
    QSettings settings(domainFilePath(m_ownDomain), QSettings::IniFormat);
    settings.setValue(key, value);
}
