#include "RVPropertyList.h"

#include <QDateTime>
#include <QVariantList>
#include <QVariantMap>

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>

namespace {

constexpr int kMaxDepth = 512;

// Seconds between the Unix epoch and the property-list epoch, 2001-01-01.
constexpr qint64 kAppleEpochOffset = 978307200;

std::optional<QVariant> toVariant(plist_t node, int depth)
{
    if (!node || depth > kMaxDepth)
        return std::nullopt;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t b = 0;
        plist_get_bool_val(node, &b);
        return QVariant(b != 0);
    }
    case PLIST_UINT: {
        uint64_t v = 0;
        plist_get_uint_val(node, &v);
        // Signed unless it does not fit: keys like CFBundleVersion compare as numbers.
        if (v > uint64_t(std::numeric_limits<qlonglong>::max()))
            return QVariant(qulonglong(v));
        return QVariant(qlonglong(v));
    }
    case PLIST_REAL: {
        double d = 0;
        plist_get_real_val(node, &d);
        return QVariant(d);
    }
    case PLIST_STRING: {
        // The pointer form: Debian's libplist asserts (and aborts) in plist_get_string_val
        // when a string holds a NUL byte, which a hostile list can do.
        uint64_t length = 0;
        const char* s = plist_get_string_ptr(node, &length);
        return QVariant(QString::fromUtf8(s ? s : "", s ? qsizetype(length) : 0));
    }
    case PLIST_KEY: {
        char* s = nullptr;
        plist_get_key_val(node, &s);
        QString text = QString::fromUtf8(s ? s : "");
        free(s);
        return QVariant(text);
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(node, &length);
        return QVariant(QByteArray(bytes, bytes ? qsizetype(length) : 0));
    }
    case PLIST_DATE: {
        int32_t sec = 0, usec = 0;
        plist_get_date_val(node, &sec, &usec);
        return QVariant(QDateTime::fromMSecsSinceEpoch((kAppleEpochOffset + sec) * 1000 +
                                                           usec / 1000,
                                                       Qt::UTC));
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t n = plist_array_get_size(node);
        for (uint32_t i = 0; i < n; ++i) {
            auto item = toVariant(plist_array_get_item(node, i), depth + 1);
            if (!item)
                return std::nullopt;
            list << *item;
        }
        return QVariant(list);
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!key)
                break;
            const QString name = QString::fromUtf8(key);
            free(key);
            auto item = toVariant(value, depth + 1);
            if (!item) {
                free(it);
                return std::nullopt;
            }
            map.insert(name, *item);
        }
        free(it);
        return QVariant(map);
    }
    case PLIST_UID: {
        uint64_t v = 0;
        plist_get_uid_val(node, &v);
        return QVariant(qulonglong(v));
    }
    default:
        return std::nullopt;
    }
}

} // namespace

namespace RVPropertyList {

Result fromXmlOrBinary(const QByteArray& data)
{
    if (data.isEmpty())
        return {std::nullopt, QStringLiteral("empty file")};
    if (!data.startsWith("bplist") && data.contains('\0'))
        return {std::nullopt, QStringLiteral("NUL byte in XML text")}; // XML forbids them
    plist_t root = nullptr;
    plist_from_memory(data.constData(), uint32_t(data.size()), &root);
    if (!root)
        return {std::nullopt, QStringLiteral("not a valid property list")};
    std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    auto value = toVariant(root, 0);
    if (!value)
        return {std::nullopt, QStringLiteral("unsupported or too deeply nested content")};
    return {value, {}};
}

Result fromData(const QByteArray& data)
{
    const QByteArray head = data.left(64).trimmed();
    if (data.startsWith("bplist") || head.startsWith("<?xml") || head.startsWith("<plist") ||
        head.startsWith("<!DOCTYPE"))
        return fromXmlOrBinary(data);
    return fromOpenStep(data);
}

bool boolValue(const QVariant& value)
{
    if (!value.isValid())
        return false;
    if (value.typeId() != QMetaType::QString && value.typeId() != QMetaType::QByteArray)
        return value.toBool();
    const QString text = value.toString();
    qsizetype at = 0;
    while (at < text.size() && text[at].isSpace())
        ++at;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-'))
        ++at;
    while (at < text.size() && text[at] == u'0')
        ++at;
    if (at >= text.size())
        return false;
    const QChar first = text[at];
    return first == u'Y' || first == u'y' || first == u'T' || first == u't' || (first >= u'1' && first <= u'9');
}

} // namespace RVPropertyList
