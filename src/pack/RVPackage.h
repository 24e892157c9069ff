#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

// One file to ship: a program (the launcher) followed by a compressed archive of one
// product bundle and a trailer that says where the archive is and what its checksum is.
//
//   [launcher][archive: tar, zstd][trailer: magic, offset, size, SHA-256 of the archive]
namespace RVPackage {

struct Payload
{
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

// Writes launcher (without any payload of its own) followed by bundle as an archive to
// output, executable. The archive holds the bundle's folder with its links, hard links,
// modes and times. Null on success, else why not.
QString write(const QString& launcher, const QString& bundle, const QString& output);

// Where the payload of the file at path lies; empty when the file carries none.
std::optional<Payload> payloadOf(const QString& path);

// The payload of file is complete and unchanged: its bytes hash to the trailer's checksum.
bool verify(const QString& path, const Payload& payload);

// Extracts the payload into folder, which must exist: one bundle folder, nothing outside
// it (no absolute paths, no "..", no writing through links). progress receives the
// fraction of the archive read and answers whether to go on. The bundle's path, or null
// with error set.
QString extract(const QString& path, const Payload& payload, const QString& folder,
                const std::function<bool(double)>& progress, QString* error);

// The launcher's length in path: where its program ends.
std::uint64_t launcherSize(const QString& path);
// Whether anything is appended to the program at path: a payload, or what is left of one.
bool carriesData(const QString& path);

} // namespace RVPackage
