#include "RVNumbers.h"

#include <QRegularExpression>

double RVLeadingDouble(const QString& text)
{
    static const QRegularExpression real(
        QStringLiteral("^\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?)"));
    return real.match(text).captured(1).toDouble();
}

int RVLeadingInt(const QString& text)
{
    static const QRegularExpression integer(QStringLiteral("^\\s*([+-]?\\d+)"));
    return integer.match(text).captured(1).toInt();
}
