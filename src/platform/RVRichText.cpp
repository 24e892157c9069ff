#include "RVRichText.h"

#include <QList>
#include <QStringDecoder>

#include <algorithm>
#include <cctype>
#include <vector>

namespace {

struct State
{
    bool bold = false, italic = false, underline = false, skip = false;
    int unicodeSkip = 1;
};

// The destinations whose text is not part of the document.
bool isIgnoredDestination(const QByteArray& word)
{
    static const QByteArray ignored[] = {"fonttbl", "colortbl", "stylesheet", "info", "pict", "header",
                                         "footer", "listtable", "listoverridetable", "themedata",
                                         "datastore", "latentstyles", "generator", "xmlnstbl", "rsidtbl"};
    for (const QByteArray& name : ignored) {
        if (word == name)
            return true;
    }
    return false;
}

class RtfReader
{
public:
    explicit RtfReader(const QByteArray& data) : m_data(data) {}

    QString read()
    {
        std::vector<State> stack{State()};
        while (m_pos < m_data.size() && !stack.empty()) {
            const char c = m_data[m_pos++];
            if (c == '{') {
                if (stack.size() > 256)
                    break; // deeper than any real document
                stack.push_back(stack.back());
            } else if (c == '}') {
                closeStyles(stack.back());
                stack.pop_back();
                if (!stack.empty())
                    openStyles(stack.back());
            } else if (c == '\\') {
                controlWord(stack.back());
            } else if (c != '\r' && c != '\n') {
                text(stack.back(), QChar::fromLatin1(c));
            }
        }
        if (!stack.empty())
            closeStyles(stack.back());
        return QStringLiteral("<html><body><p>") + m_html + QStringLiteral("</p></body></html>");
    }

private:
    void text(const State& state, QChar c)
    {
        if (state.skip)
            return;
        // An attachment stands in the text as one placeholder character after its group.
        const bool placeholder = m_afterAttachment && (c == QChar(0x00ac) || c == QChar(0xfffc));
        m_afterAttachment = false;
        if (placeholder)
            return;
        applyStyles(state);
        m_html += c == u'<' ? QStringLiteral("&lt;") : c == u'>' ? QStringLiteral("&gt;")
                : c == u'&' ? QStringLiteral("&amp;") : QString(c);
    }

    void applyStyles(const State& state)
    {
        if (state.bold != m_open.bold || state.italic != m_open.italic || state.underline != m_open.underline) {
            closeStyles(m_open);
            openStyles(state);
        }
    }
    void openStyles(const State& state)
    {
        if (state.skip)
            return;
        m_html += QString::fromLatin1(state.bold ? "<b>" : "") + QString::fromLatin1(state.italic ? "<i>" : "") +
                  QString::fromLatin1(state.underline ? "<u>" : "");
        m_open = state;
    }
    void closeStyles(const State&)
    {
        m_html += QString::fromLatin1(m_open.underline ? "</u>" : "") + QString::fromLatin1(m_open.italic ? "</i>" : "") +
                  QString::fromLatin1(m_open.bold ? "</b>" : "");
        m_open = State();
    }

    void controlWord(State& state)
    {
        if (m_pos >= m_data.size())
            return;
        const char first = m_data[m_pos];
        if (!std::isalpha(static_cast<unsigned char>(first))) {
            ++m_pos;
            if (first == '\'') {
                const QByteArray hex = m_data.mid(m_pos, 2);
                m_pos += 2;
                bool ok = false;
                const uint code = hex.toUInt(&ok, 16);
                if (ok)
                    text(state, windows1252(char(code)));
            } else if (first == '*') {
                state.skip = true; // an optional destination we do not know
            } else if (first == '~') {
                text(state, QChar(0x00a0));
            } else if (first == '\\' || first == '{' || first == '}') {
                text(state, QChar::fromLatin1(first));
            }
            return;
        }
        const qsizetype start = m_pos;
        while (m_pos < m_data.size() && std::isalpha(static_cast<unsigned char>(m_data[m_pos])))
            ++m_pos;
        const QByteArray word = m_data.mid(start, m_pos - start);
        const qsizetype numberStart = m_pos;
        if (m_pos < m_data.size() && m_data[m_pos] == '-')
            ++m_pos;
        while (m_pos < m_data.size() && std::isdigit(static_cast<unsigned char>(m_data[m_pos])) && m_pos - numberStart < 10)
            ++m_pos;
        const bool hasNumber = m_pos > numberStart;
        const int number = hasNumber ? m_data.mid(numberStart, m_pos - numberStart).toInt() : 1;
        if (m_pos < m_data.size() && m_data[m_pos] == ' ')
            ++m_pos;

        if (isIgnoredDestination(word)) {
            state.skip = true;
        } else if (word == "NeXTGraphic") {
            attachment(state);
        } else if (word == "par" || word == "sect") {
            if (!state.skip)
                m_html += QStringLiteral("</p><p>");
        } else if (word == "line") {
            if (!state.skip)
                m_html += QStringLiteral("<br>");
        } else if (word == "tab") {
            text(state, u'\t');
        } else if (word == "b") {
            state.bold = number != 0;
        } else if (word == "i") {
            state.italic = number != 0;
        } else if (word == "ul") {
            state.underline = number != 0;
        } else if (word == "ulnone") {
            state.underline = false;
        } else if (word == "plain") {
            state.bold = state.italic = state.underline = false;
        } else if (word == "uc") {
            state.unicodeSkip = std::max(0, number);
        } else if (word == "u") {
            text(state, QChar(char16_t(number < 0 ? number + 65536 : number)));
            skipFallback(state.unicodeSkip);
        }
    }

    // RTFD: "\NeXTGraphic name \width…" names a file of the document's folder.
    void attachment(State& state)
    {
        const qsizetype start = m_pos;
        while (m_pos < m_data.size() && m_data[m_pos] != '\\' && m_data[m_pos] != '}')
            ++m_pos;
        const QString name = QString::fromUtf8(m_data.mid(start, m_pos - start)).trimmed();
        if (!state.skip && !name.isEmpty())
            m_html += QStringLiteral("<img src=\"%1\">").arg(name.toHtmlEscaped());
        state.skip = true;
        m_afterAttachment = true;
    }

    // After \uN come N characters for readers without Unicode; they are not ours to show.
    void skipFallback(int count)
    {
        for (int i = 0; i < count && m_pos < m_data.size(); ++i) {
            if (m_data[m_pos] == '\\' && m_pos + 1 < m_data.size() && m_data[m_pos + 1] == '\'')
                m_pos += 4;
            else if (m_data[m_pos] == '{' || m_data[m_pos] == '}')
                return;
            else
                ++m_pos;
        }
    }

    static QChar windows1252(char byte)
    {
        QStringDecoder decoder("Windows-1252");
        const QString s = decoder.isValid() ? decoder.decode(QByteArray(1, byte)) : QString(QChar::fromLatin1(byte));
        return s.isEmpty() ? QChar(u'?') : s[0];
    }

    const QByteArray& m_data;
    qsizetype m_pos = 0;
    QString m_html;
    State m_open;
    bool m_afterAttachment = false;
};

} // namespace

RVRichText::Format RVRichText::detect(const QByteArray& data)
{
    const QByteArray head = data.left(4096).trimmed();
    if (head.startsWith("{\\rtf"))
        return Format::Rtf;
    const QByteArray lower = head.toLower();
    if (lower.startsWith("<!doctype html") || lower.startsWith("<html") || lower.contains("<body") ||
        lower.contains("<p>") || lower.contains("<br"))
        return Format::Html;
    for (const QByteArray& line : head.split('\n')) {
        const QByteArray t = line.trimmed();
        if (t.startsWith("# ") || t.startsWith("## ") || t.startsWith("* ") || t.startsWith("- ") ||
            t.startsWith("```") || (t.contains("](") && t.contains('[')) || t.contains("**"))
            return Format::Markdown;
    }
    return Format::Plain;
}

QString RVRichText::rtfToHtml(const QByteArray& rtf)
{
    RtfReader reader(rtf);
    return reader.read();
}
