#pragma once

#include "RVCoreOnly.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <variant>

// The named arguments of one session: a string per key, or an ordered list of strings for
// the keys whose name ends in "Code".
class RVInstallerArguments
{
public:
    using Value = std::variant<QString, QStringList>;

    // The parsing rule over the process's argument list, the program's path first.
    static RVInstallerArguments fromArgumentList(const QStringList& arguments);
    static bool isListKey(const QString& key);

    bool contains(const QString& key) const { return m_values.contains(key); }
    // Null when absent or when the key holds a list.
    QString string(const QString& key) const;
    // Null-safe: empty when absent or when the key holds a string.
    QStringList list(const QString& key) const;
    bool hasList(const QString& key) const;

    void setString(const QString& key, const QString& value);
    // Appends to the key's list, creating it first.
    void appendToList(const QString& key, const QString& value);
    void remove(const QString& key) { m_values.remove(key); }

    qsizetype size() const { return m_values.size(); }
    QStringList keys() const { return m_values.keys(); }
    // For the log lines: strings and string lists by key.
    QVariantMap toVariantMap() const;

private:
    QHash<QString, Value> m_values;
};
