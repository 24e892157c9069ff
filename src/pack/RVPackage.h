#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

// One file to ship: a program (the launcher) followed by a compressed archive of one
// product bundle and a trailer that says where the archive is and what its checksum is.
//
//   [launcher][archive: tar, zstd][trailer: magic, offset, size, BLAKE2b-256 of the archive]
//
// Plain C++ over libarchive and libsodium: the launcher links them statically, so that it
// starts on a machine that has neither, nor Qt.
namespace RVPackage {

struct Payload
{
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

constexpr std::size_t kChecksumSize = 32;
constexpr std::size_t kTrailerSize = 8 + 8 + 8 + kChecksumSize;

// The trailer that says where payload lies and what it hashes to.
std::string trailerFor(const Payload& payload, const unsigned char (&checksum)[kChecksumSize]);

// Where the payload of the file at path lies; empty when the file carries none.
std::optional<Payload> payloadOf(const std::string& path);

// The launcher's length in path: where its ELF program ends.
std::uint64_t launcherSize(const std::string& path);
// Whether anything is appended to the program at path: a payload, or what is left of one.
bool carriesData(const std::string& path);

// Unpacks the payload into folder, which must exist: one bundle folder, nothing outside it
// (no absolute paths, no "..", no writing through links). The archive is hashed as it is
// read and must match the trailer's checksum, else nothing extracted may be used. progress
// receives the share of the archive read and answers whether to go on. The bundle's path,
// or empty with error set.
std::string extract(const std::string& path, const Payload& payload, const std::string& folder,
                    const std::function<bool(double)>& progress, std::string* error);

} // namespace RVPackage
