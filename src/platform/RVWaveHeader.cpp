#include "RVWaveHeader.h"

#include <QtEndian>

double RVWaveDuration(const QByteArray& head)
{
    if (!head.startsWith("RIFF") || head.mid(8, 4) != "WAVE")
        return 0;
    quint32 byteRate = 0;
    for (qsizetype at = 12; at + 8 <= head.size();) {
        const QByteArray id = head.mid(at, 4);
        const quint32 size = qFromLittleEndian<quint32>(head.constData() + at + 4);
        if (id == "fmt " && at + 20 <= head.size())
            byteRate = qFromLittleEndian<quint32>(head.constData() + at + 16);
        if (id == "data")
            return byteRate ? double(size) / byteRate : 0;
        at += 8 + qsizetype(size) + (size & 1);
    }
    return 0;
}
