#pragma once

#include <QByteArray>

#include <cstdlib>
#include <plist/plist.h>

// The binary form of an XML property list, written by libplist as a real bundle would carry it.
inline QByteArray binaryPlistOf(const QByteArray& xml)
{
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &root);
    char* bin = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bin, &length);
    QByteArray out(bin, qsizetype(length));
    free(bin);
    plist_free(root);
    return out;
}
