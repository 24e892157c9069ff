// The OpenStep text form of property lists, with GNUstep's typed extensions (<*I12>,
// <*R1.5>, <*BY>, <*D...>), comments, and a top level that may be a bare list of
// "key = value;" entries, as in GNUstep's Info-gnustep.plist and strings files.
#include "RVPropertyList.h"

#include <QDateTime>
#include <QVariantList>
#include <QVariantMap>

namespace {

constexpr int kMaxDepth = 512;

class Parser
{
public:
    explicit Parser(const QString& text) : m_text(text) {}

    RVPropertyList::Result parseDocument()
    {
        skipSpace();
        if (atEnd())
            return fail(QStringLiteral("empty property list"));
        const qsizetype start = m_pos;
        auto value = parseValue(0);
        skipSpace();
        if (value && atEnd())
            return {value, {}};
        // Not a single value: a bare dictionary body.
        m_pos = start;
        m_error.clear();
        QVariantMap map;
        if (!parseDictionaryBody(map, 0, /*closing=*/QChar()))
            return fail(m_error);
        return {QVariant(map), {}};
    }

private:
    const QString& m_text;
    qsizetype m_pos = 0;
    QString m_error;

    RVPropertyList::Result fail(const QString& why) const
    {
        return {std::nullopt, why.isEmpty() ? QStringLiteral("syntax error") : why};
    }

    bool atEnd() const { return m_pos >= m_text.size(); }
    QChar peek(qsizetype ahead = 0) const
    {
        return m_pos + ahead < m_text.size() ? m_text[m_pos + ahead] : QChar();
    }

    bool error(const QString& what)
    {
        if (m_error.isEmpty())
            m_error = QStringLiteral("%1 at offset %2").arg(what).arg(m_pos);
        return false;
    }

    void skipSpace()
    {
        while (!atEnd()) {
            const QChar c = peek();
            if (c.isSpace()) {
                ++m_pos;
            } else if (c == u'/' && peek(1) == u'/') {
                while (!atEnd() && peek() != u'\n')
                    ++m_pos;
            } else if (c == u'/' && peek(1) == u'*') {
                const qsizetype end = m_text.indexOf(QStringLiteral("*/"), m_pos + 2);
                m_pos = end < 0 ? m_text.size() : end + 2;
            } else {
                return;
            }
        }
    }

    static bool isUnquotedChar(QChar c)
    {
        return c.isLetterOrNumber() || QStringLiteral("_$+/:.-").contains(c);
    }

    std::optional<QVariant> parseValue(int depth)
    {
        if (depth > kMaxDepth) {
            error(QStringLiteral("nesting too deep"));
            return std::nullopt;
        }
        skipSpace();
        const QChar c = peek();
        if (c == u'{') {
            ++m_pos;
            QVariantMap map;
            if (!parseDictionaryBody(map, depth, u'}'))
                return std::nullopt;
            return QVariant(map);
        }
        if (c == u'(')
            return parseArray(depth);
        if (c == u'"' || c == u'\'')
            return parseQuoted();
        if (c == u'<')
            return parseAngle();
        if (isUnquotedChar(c)) {
            const qsizetype start = m_pos;
            while (!atEnd() && isUnquotedChar(peek()))
                ++m_pos;
            return QVariant(m_text.mid(start, m_pos - start));
        }
        error(atEnd() ? QStringLiteral("unexpected end") : QStringLiteral("unexpected character"));
        return std::nullopt;
    }

    // After the opening brace (or at the top level, where closing is null).
    bool parseDictionaryBody(QVariantMap& map, int depth, QChar closing)
    {
        for (;;) {
            skipSpace();
            if (closing.isNull() ? atEnd() : peek() == closing) {
                if (!closing.isNull())
                    ++m_pos;
                return true;
            }
            if (atEnd())
                return error(QStringLiteral("unterminated dictionary"));
            auto key = parseValue(depth + 1);
            if (!key)
                return false;
            if (key->typeId() != QMetaType::QString)
                return error(QStringLiteral("dictionary key is not a string"));
            skipSpace();
            if (peek() != u'=')
                return error(QStringLiteral("expected '='"));
            ++m_pos;
            auto value = parseValue(depth + 1);
            if (!value)
                return false;
            skipSpace();
            if (peek() == u';')
                ++m_pos;
            else if (!(closing.isNull() ? atEnd() : peek() == closing))
                return error(QStringLiteral("expected ';'"));
            map.insert(key->toString(), *value);
        }
    }

    std::optional<QVariant> parseArray(int depth)
    {
        ++m_pos; // '('
        QVariantList list;
        for (;;) {
            skipSpace();
            if (peek() == u')') {
                ++m_pos;
                return QVariant(list);
            }
            auto item = parseValue(depth + 1);
            if (!item)
                return std::nullopt;
            list << *item;
            skipSpace();
            if (peek() == u',') {
                ++m_pos;
            } else if (peek() != u')') {
                error(QStringLiteral("expected ',' or ')'"));
                return std::nullopt;
            }
        }
    }

    std::optional<QVariant> parseQuoted()
    {
        const QChar quote = m_text[m_pos++];
        QString out;
        while (!atEnd()) {
            QChar c = m_text[m_pos++];
            if (c == quote)
                return QVariant(out);
            if (c != u'\\') {
                out += c;
                continue;
            }
            if (atEnd())
                break;
            c = m_text[m_pos++];
            switch (c.unicode()) {
            case 'n': out += u'\n'; break;
            case 't': out += u'\t'; break;
            case 'r': out += u'\r'; break;
            case 'a': out += u'\a'; break;
            case 'b': out += u'\b'; break;
            case 'f': out += u'\f'; break;
            case 'v': out += u'\v'; break;
            case 'U': case 'u': {
                uint code = 0;
                int digits = 0;
                while (digits < 4 && !atEnd() && isHex(peek())) {
                    code = code * 16 + hexValue(m_text[m_pos++]);
                    ++digits;
                }
                out += QChar(char16_t(code));
                break;
            }
            default:
                if (c >= u'0' && c <= u'7') {
                    uint code = c.unicode() - '0';
                    for (int k = 0; k < 2 && peek() >= u'0' && peek() <= u'7'; ++k)
                        code = code * 8 + (m_text[m_pos++].unicode() - '0');
                    out += QChar(char16_t(code & 0xff));
                } else {
                    out += c;
                }
            }
        }
        error(QStringLiteral("unterminated string"));
        return std::nullopt;
    }

    static bool isHex(QChar c)
    {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    }
    static uint hexValue(QChar c)
    {
        const ushort u = c.unicode();
        return u <= '9' ? u - '0' : (u | 0x20) - 'a' + 10;
    }

    std::optional<QVariant> parseAngle()
    {
        ++m_pos; // '<'
        if (peek() == u'*')
            return parseTyped();
        QByteArray data;
        int pending = -1;
        while (!atEnd() && peek() != u'>') {
            const QChar c = m_text[m_pos++];
            if (c.isSpace())
                continue;
            if (!isHex(c)) {
                error(QStringLiteral("bad character in data"));
                return std::nullopt;
            }
            if (pending < 0) {
                pending = int(hexValue(c));
            } else {
                data += char(pending * 16 + int(hexValue(c)));
                pending = -1;
            }
        }
        if (atEnd() || pending >= 0) {
            error(QStringLiteral("unterminated or odd data"));
            return std::nullopt;
        }
        ++m_pos; // '>'
        return QVariant(data);
    }

    std::optional<QVariant> parseTyped()
    {
        ++m_pos; // '*'
        const QChar type = peek();
        ++m_pos;
        const qsizetype end = m_text.indexOf(u'>', m_pos);
        if (end < 0) {
            error(QStringLiteral("unterminated typed value"));
            return std::nullopt;
        }
        const QString body = m_text.mid(m_pos, end - m_pos).trimmed();
        m_pos = end + 1;
        bool ok = false;
        switch (type.unicode()) {
        case 'I': {
            const qlonglong n = body.toLongLong(&ok);
            if (ok)
                return QVariant(n);
            break;
        }
        case 'R': {
            const double d = body.toDouble(&ok);
            if (ok)
                return QVariant(d);
            break;
        }
        case 'B':
            if (body == u"Y" || body == u"N")
                return QVariant(body == u"Y");
            break;
        case 'D': {
            const QDateTime date =
                QDateTime::fromString(body, QStringLiteral("yyyy-MM-dd HH:mm:ss t"));
            if (date.isValid())
                return QVariant(date);
            break;
        }
        default:
            break;
        }
        error(QStringLiteral("bad typed value"));
        return std::nullopt;
    }
};

} // namespace

RVPropertyList::Result RVPropertyList::fromOpenStep(const QByteArray& data)
{
    const QString text = QString::fromUtf8(data);
    Parser parser(text);
    return parser.parseDocument();
}
