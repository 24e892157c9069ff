#include "RVResourceFork.h"

namespace {

class Reader
{
public:
    explicit Reader(const QByteArray& bytes) : m_bytes(bytes) {}

    bool has(qint64 offset, qint64 length) const
    {
        return offset >= 0 && length >= 0 && offset + length <= m_bytes.size();
    }
    std::uint32_t u32(qint64 at) const { return (std::uint32_t(u16(at)) << 16) | u16(at + 2); }
    std::uint16_t u16(qint64 at) const { return std::uint16_t((u8(at) << 8) | u8(at + 1)); }
    std::uint32_t u24(qint64 at) const { return (std::uint32_t(u8(at)) << 16) | u16(at + 1); }
    std::uint8_t u8(qint64 at) const { return std::uint8_t(m_bytes[qsizetype(at)]); }
    QByteArray mid(qint64 at, qint64 length) const { return m_bytes.mid(qsizetype(at), qsizetype(length)); }

private:
    const QByteArray& m_bytes;
};

} // namespace

std::optional<QByteArray> RVResourceFromFork(const QByteArray& fork, RVOSType type, std::int16_t id)
{
    const Reader r(fork);
    if (!r.has(0, 16))
        return std::nullopt;
    const qint64 dataOffset = r.u32(0);
    const qint64 mapOffset = r.u32(4);
    if (!r.has(mapOffset, 30))
        return std::nullopt;
    const qint64 typeList = mapOffset + r.u16(mapOffset + 24);
    if (!r.has(typeList, 2))
        return std::nullopt;
    const int typeCount = r.u16(typeList) + 1; // stored as count - 1
    for (int t = 0; t < typeCount; ++t) {
        const qint64 entry = typeList + 2 + qint64(t) * 8;
        if (!r.has(entry, 8))
            return std::nullopt;
        if (r.u32(entry) != type)
            continue;
        const int refCount = r.u16(entry + 4) + 1;
        const qint64 refList = typeList + r.u16(entry + 6);
        for (int k = 0; k < refCount; ++k) {
            const qint64 ref = refList + qint64(k) * 12;
            if (!r.has(ref, 12))
                return std::nullopt;
            if (std::int16_t(r.u16(ref)) != id)
                continue;
            const qint64 data = dataOffset + r.u24(ref + 5);
            if (!r.has(data, 4))
                return std::nullopt;
            const qint64 length = r.u32(data);
            if (!r.has(data + 4, length))
                return std::nullopt;
            return r.mid(data + 4, length);
        }
    }
    return std::nullopt;
}
