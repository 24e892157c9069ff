#include "RVUserDefaults.h"

bool RVUserDefaults::boolForKey(const QString& key) const
{
    const QVariant value = valueForKey(key);
    if (!value.isValid())
        return false;
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed();
        if (text.compare(QStringLiteral("YES"), Qt::CaseInsensitive) == 0 ||
            text.compare(QStringLiteral("true"), Qt::CaseInsensitive) == 0)
            return true;
        return text.toInt() != 0;
    }
    return value.toBool();
}
