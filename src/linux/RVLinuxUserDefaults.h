#pragma once

#include "RVUserDefaults.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <mutex>
#include <optional>

// User defaults as INI files, one per domain: $XDG_CONFIG_HOME/<domain>.conf
// (~/.config when unset). The argument domain is the command line's "-key value" pairs.
// The global domain's "AppleInterfaceStyle" is the desktop's own: "Dark" when it prefers a
// dark colour scheme, absent when it prefers none; its file is read only when the desktop
// cannot tell.
class RVLinuxUserDefaults : public RVUserDefaults
{
public:
    using DarkPreference = std::function<std::optional<bool>()>;
    RVLinuxUserDefaults(const QStringList& arguments, const QString& ownDomain,
                        DarkPreference desktopPrefersDark = nullptr);

    QVariant valueForKey(const QString& key) const override;
    QVariant valueForKeyWithSuite(const QString& key, const QString& suite) const override;
    QVariant valueForKeyInDomain(const QString& key, const QString& domain) const override;
    void setValueForKey(const QString& key, const QVariant& value) override;

    static QString domainFilePath(const QString& domain);
    static const QString globalDomain;

private:
    QHash<QString, QString> m_argumentDomain;
    QString m_ownDomain;
    DarkPreference m_desktopPrefersDark;
    mutable std::mutex m_writeMutex;
};
