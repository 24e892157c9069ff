#pragma once

#include <QString>
#include <QVariant>

// User defaults by domain. The search of valueForKey is the usual one: the argument domain
// (the command line's "-key value" pairs), then the program's own domain, then the global
// domain; valueForKeyWithSuite puts a suite's domain before the global one (as a defaults
// object with that suite added reads); valueForKeyInDomain reads one named domain only.
class RVUserDefaults
{
public:
    virtual ~RVUserDefaults() = default;

    virtual QVariant valueForKey(const QString& key) const = 0;
    virtual QVariant valueForKeyWithSuite(const QString& key, const QString& suite) const = 0;
    virtual QVariant valueForKeyInDomain(const QString& key, const QString& domain) const = 0;
    virtual void setValueForKey(const QString& key, const QVariant& value) = 0;

    // "YES", "true", non-zero numbers are true; absent or anything else is false.
    bool boolForKey(const QString& key) const;
};
