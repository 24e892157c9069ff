#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

// Property lists in every form a bundle may carry them: XML and binary (through libplist)
// and the OpenStep/GNUstep text form (our own reader, since libplist 2.2 has none).
// Dictionaries become QVariantMap, arrays QVariantList, strings QString, integers
// qlonglong/qulonglong, reals double, booleans bool, dates QDateTime, data QByteArray.
namespace RVPropertyList {

struct Result
{
    std::optional<QVariant> value; // empty when the data is not a property list
    QString error;                 // why, when empty
};

// Chooses the reader from the content: "bplist" → binary, '<?xml' or '<plist' → XML,
// anything else → OpenStep text.
Result fromData(const QByteArray& data);

Result fromXmlOrBinary(const QByteArray& data);
Result fromOpenStep(const QByteArray& data);

// A value read as a yes/no, as the platform reads one: booleans as they are, numbers
// non-zero, text yes when (after blanks, a sign and leading zeros) it starts with Y, y, T, t
// or a digit 1-9 ("YES", "true", "1"; "NO", "false", "0" and OpenStep's unquoted words are no).
bool boolValue(const QVariant& value);

} // namespace RVPropertyList
