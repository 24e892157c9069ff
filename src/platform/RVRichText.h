#pragma once

#include <QByteArray>
#include <QString>

// Read-me documents as the read-me page shows them.
namespace RVRichText {

enum class Format { Rtf, Html, Markdown, Plain };
// Told from the content, not the file name.
Format detect(const QByteArray& data);

// RTF to HTML: paragraphs, line breaks, bold, italic, underline, tabs, \'hh (Windows-1252)
// and \uN characters; an RTFD attachment becomes an image of the document's folder; font,
// colour and style tables, pictures and other destinations are left out. Unbalanced or truncated input gives what could be read.
QString rtfToHtml(const QByteArray& rtf);

} // namespace RVRichText
