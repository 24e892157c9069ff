#include "RVInstallerArguments.h"

bool RVInstallerArguments::isListKey(const QString& key)
{
    return key.endsWith(QStringLiteral("Code"));
}

RVInstallerArguments RVInstallerArguments::fromArgumentList(const QStringList& arguments)
{
    RVInstallerArguments result;
    QString key; // the program's own path lands under the empty key
    for (const QString& argument : arguments) {
        if (argument.startsWith(u'-')) {
            key = argument.mid(1);
            continue;
        }
        if (isListKey(key))
            result.appendToList(key, argument);
        else
            result.setString(key, argument);
    }
    return result;
}

QString RVInstallerArguments::string(const QString& key) const
{
    const auto it = m_values.constFind(key);
    if (it == m_values.cend() || !std::holds_alternative<QString>(*it))
        return {};
    return std::get<QString>(*it);
}

QStringList RVInstallerArguments::list(const QString& key) const
{
    const auto it = m_values.constFind(key);
    if (it == m_values.cend() || !std::holds_alternative<QStringList>(*it))
        return {};
    return std::get<QStringList>(*it);
}

bool RVInstallerArguments::hasList(const QString& key) const
{
    const auto it = m_values.constFind(key);
    return it != m_values.cend() && std::holds_alternative<QStringList>(*it);
}

void RVInstallerArguments::setString(const QString& key, const QString& value)
{
    m_values.insert(key, value);
}

void RVInstallerArguments::appendToList(const QString& key, const QString& value)
{
    auto it = m_values.find(key);
    if (it == m_values.end() || !std::holds_alternative<QStringList>(*it))
        it = m_values.insert(key, QStringList());
    std::get<QStringList>(*it).append(value);
}

QVariantMap RVInstallerArguments::toVariantMap() const
{
    QVariantMap map;
    for (auto it = m_values.cbegin(); it != m_values.cend(); ++it) {
        if (std::holds_alternative<QString>(*it))
            map.insert(it.key(), std::get<QString>(*it));
        else
            map.insert(it.key(), std::get<QStringList>(*it));
    }
    return map;
}
