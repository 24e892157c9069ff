#include "RVPackage.h"

#include "RVPackageFile.h"

#include <archive.h>
#include <archive_entry.h>
#include <elf.h>
#include <sodium.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr char kMagic[8] = {'V', 'E', 'L', 'M', 'O', 'R', 'A', '\2'};
constexpr std::size_t kBlock = 256 * 1024;

using Archive = std::unique_ptr<archive, int (*)(archive*)>;
using RVPackage::File;

std::string archiveError(archive* a)
{
    const char* text = archive_error_string(a);
    return text ? text : "unknown archive error";
}

// Where the program ends: its section header table is the last part of an ELF file.
// Anything after it was appended.
std::optional<std::uint64_t> programSize(const File& file)
{
    Elf64_Ehdr header{};
    if (!file.readAt(0, &header, sizeof header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64)
        return std::nullopt;
    return std::uint64_t(header.e_shoff) + std::uint64_t(header.e_shnum) * std::uint64_t(header.e_shentsize);
}

std::uint64_t littleEndian(const unsigned char* bytes)
{
    std::uint64_t value = 0;
    for (int i = 7; i >= 0; --i)
        value = value << 8 | bytes[i];
    return value;
}

void putLittleEndian(std::string& out, std::uint64_t value)
{
    for (int i = 0; i < 8; ++i, value >>= 8)
        out.push_back(char(value & 0xff));
}

struct Trailer
{
    RVPackage::Payload payload;
    unsigned char checksum[RVPackage::kChecksumSize];
};

std::optional<Trailer> trailerOf(const File& file)
{
    const std::uint64_t size = file.size();
    unsigned char bytes[RVPackage::kTrailerSize];
    if (size < sizeof bytes || !file.readAt(size - sizeof bytes, bytes, sizeof bytes) ||
        std::memcmp(bytes, kMagic, sizeof kMagic) != 0)
        return std::nullopt;
    Trailer trailer{};
    trailer.payload.offset = littleEndian(bytes + 8);
    trailer.payload.size = littleEndian(bytes + 16);
    std::memcpy(trailer.checksum, bytes + 24, sizeof trailer.checksum);
    // The archive lies between the launcher and the trailer, exactly.
    if (trailer.payload.offset > size || trailer.payload.size > size ||
        trailer.payload.offset + trailer.payload.size + sizeof bytes != size ||
        programSize(file) != trailer.payload.offset)
        return std::nullopt;
    return trailer;
}

// The archive as it is read: the payload's bytes only, hashed on the way, with the share
// read so far.
struct Source
{
    const File* file = nullptr;
    std::uint64_t position = 0;
    std::uint64_t left = 0;
    std::uint64_t total = 0;
    std::vector<unsigned char> buffer = std::vector<unsigned char>(kBlock);
    crypto_generichash_state hash{};
    const std::function<bool(double)>* progress = nullptr;

    static la_ssize_t read(archive* reader, void* self, const void** data)
    {
        auto* source = static_cast<Source*>(self);
        const std::size_t want = std::size_t(std::min<std::uint64_t>(source->left, kBlock));
        if (want > 0 && !source->file->readAt(source->position, source->buffer.data(), want)) {
            archive_set_error(reader, EIO, "cannot read the archive");
            return -1;
        }
        crypto_generichash_update(&source->hash, source->buffer.data(), want);
        source->position += want;
        source->left -= want;
        if (*source->progress && source->total &&
            !(*source->progress)(double(source->total - source->left) / double(source->total))) {
            archive_set_error(reader, ECANCELED, "stopped");
            return -1;
        }
        *data = source->buffer.data();
        return la_ssize_t(want);
    }
};

bool copyData(archive* from, archive* to)
{
    const void* block = nullptr;
    size_t size = 0;
    la_int64_t offset = 0;
    for (;;) {
        const int r = archive_read_data_block(from, &block, &size, &offset);
        if (r == ARCHIVE_EOF)
            return true;
        if (r != ARCHIVE_OK || archive_write_data_block(to, block, size, offset) != ARCHIVE_OK)
            return false;
    }
}

std::string firstComponent(const std::string& name)
{
    const std::size_t start = name.find_first_not_of('/');
    if (start == std::string::npos)
        return {};
    return name.substr(start, name.find('/', start) - start);
}

// An archived name that stays inside the one bundle folder: relative, no "..".
bool isInside(const std::string& name, const std::string& top)
{
    if (name.empty() || name.front() == '/' || firstComponent(name) != top)
        return false;
    std::size_t start = 0;
    while (start <= name.size()) {
        const std::size_t end = std::min(name.find('/', start), name.size());
        if (name.compare(start, end - start, "..") == 0 && end - start == 2)
            return false;
        start = end + 1;
    }
    return true;
}

bool endsWith(const std::string& text, const char* suffix)
{
    const std::size_t n = std::strlen(suffix);
    return text.size() >= n && text.compare(text.size() - n, n, suffix) == 0;
}

} // namespace

std::string RVPackage::trailerFor(const Payload& payload, const unsigned char (&checksum)[kChecksumSize])
{
    std::string trailer(kMagic, sizeof kMagic);
    putLittleEndian(trailer, payload.offset);
    putLittleEndian(trailer, payload.size);
    trailer.append(reinterpret_cast<const char*>(checksum), kChecksumSize);
    return trailer;
}

std::optional<RVPackage::Payload> RVPackage::payloadOf(const std::string& path)
{
    const File file(path);
    const auto trailer = file ? trailerOf(file) : std::nullopt;
    return trailer ? std::optional(trailer->payload) : std::nullopt;
}

std::uint64_t RVPackage::launcherSize(const std::string& path)
{
    const File file(path);
    if (!file)
        return 0;
    return std::min(programSize(file).value_or(file.size()), file.size());
}

bool RVPackage::carriesData(const std::string& path)
{
    const File file(path);
    const auto program = file ? programSize(file) : std::nullopt;
    return program && file.size() > *program;
}

std::string RVPackage::extract(const std::string& path, const Payload& payload, const std::string& folder,
                               const std::function<bool(double)>& progress, std::string* error)
{
    const auto fail = [error](const std::string& why) {
        if (error)
            *error = why;
        return std::string();
    };
    const File file(path);
    const auto trailer = file ? trailerOf(file) : std::nullopt;
    if (!trailer || trailer->payload.offset != payload.offset || trailer->payload.size != payload.size)
        return fail("cannot read " + path);
    if (sodium_init() < 0)
        return fail("no hash function");
    Source source;
    source.file = &file;
    source.position = payload.offset;
    source.left = source.total = payload.size;
    source.progress = &progress;
    crypto_generichash_init(&source.hash, nullptr, 0, kChecksumSize);

    Archive reader(archive_read_new(), archive_read_free);
    archive_read_support_format_tar(reader.get());
    archive_read_support_filter_zstd(reader.get());
    if (archive_read_open(reader.get(), &source, nullptr, &Source::read, nullptr) != ARCHIVE_OK)
        return fail(archiveError(reader.get()));
    Archive writer(archive_write_disk_new(), archive_write_free);
    archive_write_disk_set_options(writer.get(), ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM |
                                                     ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                                     ARCHIVE_EXTRACT_NO_OVERWRITE);

    std::string top;
    for (;;) {
        archive_entry* entry = nullptr;
        const int r = archive_read_next_header(reader.get(), &entry);
        if (r == ARCHIVE_EOF)
            break;
        if (r != ARCHIVE_OK)
            return fail(archiveError(reader.get()));
        const std::string name = archive_entry_pathname(entry) ? archive_entry_pathname(entry) : "";
        if (top.empty())
            top = firstComponent(name);
        if (!endsWith(top, ".app") || !isInside(name, top))
            return fail(name + " lies outside the product");
        archive_entry_set_pathname(entry, (folder + '/' + name).c_str());
        if (const char* link = archive_entry_hardlink(entry)) {
            if (!isInside(link, top))
                return fail(name + " links outside the product");
            archive_entry_set_hardlink(entry, (folder + '/' + link).c_str());
        }
        if (archive_write_header(writer.get(), entry) != ARCHIVE_OK || !copyData(reader.get(), writer.get()) ||
            archive_write_finish_entry(writer.get()) != ARCHIVE_OK)
            return fail(archiveError(writer.get()));
    }
    if (top.empty())
        return fail("the archive is empty");
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return fail(archiveError(writer.get()));
    // The end of the archive may come before the end of the payload: what follows counts too.
    while (source.left > 0) {
        const void* ignored = nullptr;
        if (Source::read(reader.get(), &source, &ignored) < 0)
            return fail(archiveError(reader.get()));
    }
    unsigned char checksum[kChecksumSize];
    crypto_generichash_final(&source.hash, checksum, sizeof checksum);
    if (sodium_memcmp(checksum, trailer->checksum, sizeof checksum) != 0)
        return fail("its checksum does not match");
    return folder + '/' + top;
}
