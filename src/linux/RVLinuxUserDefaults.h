#pragma once

#include "RVUserDefaults.h"

#include <QHash>
#include <QStringList>

#include <mutex>

// User defaults as INI files, one per domain: $XDG_CONFIG_HOME/<domain>.conf
// (~/.config when unset). The argument domain is the command line's "-key value" pairs.
class RVLinuxUserDefaults : public RVUserDefaults
{
public:
    RVLinuxUserDefaults(const QStringList& arguments, const QString& ownDomain);

    QVariant valueForKey(const QString& key) const override;
    QVariant valueForKeyInDomain(const QString& key, const QString& domain) const override;
    void setValueForKey(const QString& key, const QVariant& value) override;

    static QString domainFilePath(const QString& domain);
    static const QString globalDomain;

private:
    QHash<QString, QString> m_argumentDomain;
    QString m_ownDomain;
    mutable std::mutex m_writeMutex;
};
