#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Reads of files that someone else may have placed: another application's bundle, the
// product being installed, a desktop entry. A FIFO or a device named there would block the
// reader or answer forever, so only regular files are read: the file is opened without
// waiting and without becoming a terminal, then checked on the open descriptor.
namespace RVFileRead {

struct Result
{
    std::optional<QByteArray> data; // empty when nothing was read
    QString error;                  // why, when empty: "not a regular file", "larger than N bytes", errno's text
};

// The whole regular file at path, refused when it holds more than maxSize bytes.
Result regularFile(const QString& path, qint64 maxSize);
// At most the first size bytes of the regular file at path.
Result head(const QString& path, qint64 size);

} // namespace RVFileRead
