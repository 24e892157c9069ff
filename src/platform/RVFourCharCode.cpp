#include "RVFourCharCode.h"

RVOSType RVOSTypeFromString(const QString& text)
{
    if (text.size() != 4)
        return 0;
    RVOSType code = 0;
    for (QChar c : text) {
        if (c.unicode() > 0x7f)
            return 0;
        code = (code << 8) | c.unicode();
    }
    return code;
}

QString RVStringFromOSType(RVOSType code)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += QChar::fromLatin1(char((code >> shift) & 0xff));
    return text;
}
