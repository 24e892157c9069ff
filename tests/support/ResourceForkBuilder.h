#pragma once

#include <QByteArray>
#include <QtEndian>

#include <cstdint>

// A classic resource fork holding one resource, laid out as the Resource Manager writes it.
inline QByteArray resourceForkWith(const char (&type)[5], std::int16_t id, const QByteArray& data)
{
    auto be32 = [](std::uint32_t v) { QByteArray b(4, '\0'); qToBigEndian(v, b.data()); return b; };
    auto be16 = [](std::uint16_t v) { QByteArray b(2, '\0'); qToBigEndian(v, b.data()); return b; };
    const QByteArray dataArea = be32(std::uint32_t(data.size())) + data;
    const QByteArray typeList = be16(0) + QByteArray(type, 4) + be16(0) + be16(2 + 8);
    const QByteArray reference = be16(std::uint16_t(id)) + be16(0xFFFF) + QByteArray(1, '\0') +
                                 QByteArray(3, '\0') + be32(0);
    const QByteArray map = QByteArray(24, '\0') + be16(28) + be16(std::uint16_t(28 + typeList.size() + reference.size())) +
                           typeList + reference;
    const std::uint32_t dataOffset = 256;
    const QByteArray header = be32(dataOffset) + be32(dataOffset + std::uint32_t(dataArea.size())) +
                              be32(std::uint32_t(dataArea.size())) + be32(std::uint32_t(map.size()));
    return header + QByteArray(int(dataOffset) - header.size(), '\0') + dataArea + map;
}
