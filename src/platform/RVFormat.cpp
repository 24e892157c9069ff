#include "RVFormat.h"

#include <QByteArray>
#include <QDateTime>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

bool needsQuotes(const QString& s)
{
    if (s.isEmpty())
        return true;
    for (QChar c : s) {
        if (!(c.isLetterOrNumber() || c == u'.' || c == u'_' || c == u'/' || c == u'-'))
            return true;
    }
    return false;
}

QString quotedIfNeeded(const QVariant& v)
{
    if (v.typeId() == QMetaType::QString) {
        QString s = v.toString();
        if (needsQuotes(s)) {
            s.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
            return u'"' + s + u'"';
        }
        return s;
    }
    return RVDescription(v);
}

QString describeNumber(double d)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.16g", d);
    return QString::fromLatin1(buf);
}

struct Conversion
{
    QByteArray flags;
    QByteArray width;
    QByteArray precision; // including the '.'
    QByteArray length;
    char conversion = 0;
    int position = 0; // 1-based for %n$, 0 for the next argument
};

// Parses one conversion after its '%'; answers the index after it, or -1 when malformed.
qsizetype parseConversion(const QString& f, qsizetype i, Conversion& conversion)
{
    const qsizetype n = f.size();
    auto isDigit = [&](qsizetype k) { return k < n && f[k] >= u'0' && f[k] <= u'9'; };

    qsizetype k = i;
    while (isDigit(k))
        ++k;
    if (k > i && k < n && f[k] == u'$') {
        conversion.position = f.mid(i, k - i).toInt();
        i = k + 1;
    }
    while (i < n && QStringLiteral("-+ #0").contains(f[i]))
        conversion.flags += char(f[i++].unicode());
    while (isDigit(i))
        conversion.width += char(f[i++].unicode());
    if (i < n && f[i] == u'.') {
        conversion.precision += '.';
        ++i;
        while (isDigit(i))
            conversion.precision += char(f[i++].unicode());
    }
    while (i < n && QStringLiteral("hlqLzjt").contains(f[i]))
        conversion.length += char(f[i++].unicode());
    if (i >= n || f[i].unicode() > 0x7f)
        return -1;
    conversion.conversion = char(f[i].unicode());
    if (!QByteArrayLiteral("@dDiuUoOxXcCsSfFeEgGaAp%").contains(conversion.conversion))
        return -1;
    return i + 1;
}

bool isLong64(const QByteArray& length)
{
    return length.contains('l') || length.contains('q') || length.contains('j') ||
           length.contains('z') || length.contains('t');
}

QString formatNumber(const Conversion& conversion, const QVariant& v)
{
    // Width and precision come from our own texts and are small; the cap keeps a hostile
    // format from asking for a huge buffer.
    if (conversion.width.toInt() > 1000 || conversion.precision.mid(1).toInt() > 1000)
        return QStringLiteral("(bad format)");
    const QByteArray prefix = '%' + conversion.flags + conversion.width + conversion.precision;
    char buf[2200];
    switch (conversion.conversion) {
    case 'd': case 'i': case 'D': {
        const qlonglong n = v.toLongLong();
        if (isLong64(conversion.length) || conversion.conversion == 'D')
            std::snprintf(buf, sizeof buf, (prefix + "lld").constData(), n);
        else
            std::snprintf(buf, sizeof buf, (prefix + "d").constData(), static_cast<int>(n));
        break;
    }
    case 'u': case 'U': case 'o': case 'O': case 'x': case 'X': {
        const qulonglong n = v.toULongLong() ? v.toULongLong()
                                             : static_cast<qulonglong>(v.toLongLong());
        const char conv = conversion.conversion == 'U' ? 'u' : conversion.conversion == 'O' ? 'o'
                                                                                : conversion.conversion;
        if (isLong64(conversion.length) || conversion.conversion == 'U' || conversion.conversion == 'O')
            std::snprintf(buf, sizeof buf, (prefix + "ll" + conv).constData(), n);
        else
            std::snprintf(buf, sizeof buf, (prefix + conv).constData(),
                          static_cast<unsigned>(n));
        break;
    }
    case 'p':
        std::snprintf(buf, sizeof buf, "0x%llx", v.toULongLong());
        break;
    default: // floating point
        std::snprintf(buf, sizeof buf, (prefix + conversion.conversion).constData(), v.toDouble());
        break;
    }
    return QString::fromLatin1(buf);
}

QString padded(const Conversion& conversion, const QString& text)
{
    const int width = conversion.width.toInt();
    if (text.size() >= width || width > 1000)
        return text;
    const QString fill(width - text.size(), u' ');
    return conversion.flags.contains('-') ? text + fill : fill + text;
}

QString formatOne(const Conversion& conversion, const QVariant* arg)
{
    const QVariant none;
    const QVariant& v = arg ? *arg : none;
    switch (conversion.conversion) {
    case '@':
        return padded(conversion, RVDescription(v));
    case 's': case 'S': {
        QString s = v.isNull() ? QStringLiteral("(null)") : RVDescription(v);
        if (!conversion.precision.isEmpty())
            s.truncate(conversion.precision.mid(1).toInt());
        return padded(conversion, s);
    }
    case 'c': case 'C':
        return padded(conversion, QString(QChar(static_cast<char16_t>(v.toUInt()))));
    default:
        return formatNumber(conversion, v);
    }
}

} // namespace

QString RVDescription(const QVariant& value)
{
    if (!value.isValid() || value.isNull())
        return QStringLiteral("(null)");
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Double:
    case QMetaType::Float:
        return describeNumber(value.toDouble());
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        QStringList parts;
        for (const QVariant& item : value.toList())
            parts << quotedIfNeeded(item);
        return u'(' + parts.join(QStringLiteral(", ")) + u')';
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        QString out = QStringLiteral("{");
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            out += quotedIfNeeded(it.key()) + QStringLiteral(" = ") + quotedIfNeeded(it.value()) +
                   QStringLiteral("; ");
        if (!map.isEmpty())
            out.chop(1);
        return out + u'}';
    }
    case QMetaType::QByteArray:
        return u'<' + QString::fromLatin1(value.toByteArray().toHex()) + u'>';
    case QMetaType::QDateTime:
        return value.toDateTime().toString(Qt::ISODate);
    default:
        return value.toString();
    }
}

QString RVFormat(const QString& format, std::initializer_list<RVFormatArg> args)
{
    const std::vector<RVFormatArg> list(args);
    QString out;
    out.reserve(format.size() + 32);
    std::size_t next = 0;
    const qsizetype n = format.size();
    for (qsizetype i = 0; i < n;) {
        const QChar c = format[i];
        if (c != u'%') {
            out += c;
            ++i;
            continue;
        }
        Conversion conversion;
        const qsizetype end = parseConversion(format, i + 1, conversion);
        if (end < 0) {
            out += c;
            ++i;
            continue;
        }
        i = end;
        if (conversion.conversion == '%') {
            out += u'%';
            continue;
        }
        std::size_t index = conversion.position > 0 ? std::size_t(conversion.position - 1) : next++;
        out += formatOne(conversion, index < list.size() ? &list[index].value() : nullptr);
    }
    return out;
}
