#include "RVPackageWriter.h"

#include "RVPackage.h"
#include "RVPackageFile.h"

#include <archive.h>
#include <archive_entry.h>
#include <sodium.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Archive = std::unique_ptr<archive, int (*)(archive*)>;
constexpr std::size_t kBlock = 256 * 1024;

std::string archiveError(archive* a)
{
    const char* text = archive_error_string(a);
    return text ? text : "unknown archive error";
}

bool writeAll(int fd, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(fd, bytes, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        size -= std::size_t(n);
    }
    return true;
}

// The archive as it is written: into the output file, hashed on the way.
struct Sink
{
    int fd = -1;
    crypto_generichash_state hash{};
    std::uint64_t written = 0;

    static la_ssize_t write(archive*, void* self, const void* data, size_t size)
    {
        auto* sink = static_cast<Sink*>(self);
        if (!writeAll(sink->fd, data, size))
            return -1;
        crypto_generichash_update(&sink->hash, static_cast<const unsigned char*>(data), size);
        sink->written += size;
        return la_ssize_t(size);
    }
};

// The output is written under a temporary name beside it and renamed when complete.
class PartialFile
{
public:
    explicit PartialFile(const std::string& output) : m_output(output), m_temporary(output + ".partial-XXXXXX")
    {
        m_fd = ::mkstemp(m_temporary.data());
    }
    ~PartialFile()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
            ::unlink(m_temporary.c_str());
        }
    }
    int fd() const { return m_fd; }
    bool commit()
    {
        const bool done = ::fchmod(m_fd, 0755) == 0 && ::fsync(m_fd) == 0 && ::close(m_fd) == 0;
        m_fd = -1;
        if (done && ::rename(m_temporary.c_str(), m_output.c_str()) == 0)
            return true;
        ::unlink(m_temporary.c_str());
        return false;
    }

private:
    std::string m_output;
    std::string m_temporary;
    int m_fd = -1;
};

std::string baseName(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

std::string RVPackage::write(const std::string& launcher, const std::string& bundle, const std::string& output, int level)
{
    char resolved[PATH_MAX];
    struct stat info{};
    if (::stat(bundle.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || !::realpath(bundle.c_str(), resolved))
        return bundle + " is no folder";
    const std::string root = resolved;
    const File in(launcher);
    if (!in)
        return "cannot read " + launcher;
    if (sodium_init() < 0)
        return "no hash function";
    PartialFile out(output);
    if (out.fd() < 0)
        return "cannot write " + output;
    const std::uint64_t program = launcherSize(launcher);
    std::vector<char> block(kBlock);
    for (std::uint64_t offset = 0; offset < program;) {
        const std::size_t count = std::size_t(std::min<std::uint64_t>(program - offset, kBlock));
        if (!in.readAt(offset, block.data(), count) || !writeAll(out.fd(), block.data(), count))
            return "cannot copy " + launcher;
        offset += count;
    }

    Sink sink;
    sink.fd = out.fd();
    crypto_generichash_init(&sink.hash, nullptr, 0, kChecksumSize);
    Archive writer(archive_write_new(), archive_write_free);
    archive_write_set_format_pax_restricted(writer.get());
    if (archive_write_add_filter_zstd(writer.get()) != ARCHIVE_OK)
        return archiveError(writer.get());
    archive_write_set_filter_option(writer.get(), "zstd", "compression-level", std::to_string(level).c_str());
    // Spread the compression over the cores where this libarchive can.
    archive_write_set_filter_option(writer.get(), "zstd", "threads",
                                    std::to_string(std::max(1u, std::thread::hardware_concurrency())).c_str());
    archive_write_set_bytes_in_last_block(writer.get(), 1); // no padding after the archive
    if (archive_write_open(writer.get(), &sink, nullptr, &Sink::write, nullptr) != ARCHIVE_OK)
        return archiveError(writer.get());

    Archive disk(archive_read_disk_new(), archive_read_free);
    archive_read_disk_set_symlink_physical(disk.get()); // links are archived as links
    archive_read_disk_set_standard_lookup(disk.get());
    if (archive_read_disk_open(disk.get(), root.c_str()) != ARCHIVE_OK)
        return archiveError(disk.get());
    const std::string top = baseName(root);
    for (;;) {
        std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
        const int r = archive_read_next_header2(disk.get(), entry.get());
        if (r == ARCHIVE_EOF)
            break;
        if (r != ARCHIVE_OK)
            return archiveError(disk.get());
        archive_read_disk_descend(disk.get());
        const std::string source = archive_entry_sourcepath(entry.get());
        archive_entry_set_pathname(entry.get(), (top + source.substr(root.size())).c_str());
        if (archive_write_header(writer.get(), entry.get()) != ARCHIVE_OK)
            return archiveError(writer.get());
        if (archive_entry_filetype(entry.get()) == AE_IFREG && archive_entry_size(entry.get()) > 0) {
            const File data(source);
            const std::uint64_t size = data ? data.size() : 0;
            if (!data)
                return "cannot read " + source;
            for (std::uint64_t offset = 0; offset < size;) {
                const std::size_t count = std::size_t(std::min<std::uint64_t>(size - offset, kBlock));
                if (!data.readAt(offset, block.data(), count) ||
                    archive_write_data(writer.get(), block.data(), count) < 0)
                    return "cannot archive " + source;
                offset += count;
            }
        }
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return archiveError(writer.get());

    unsigned char checksum[kChecksumSize];
    crypto_generichash_final(&sink.hash, checksum, sizeof checksum);
    const std::string trailer = trailerFor({program, sink.written}, checksum);
    if (!writeAll(out.fd(), trailer.data(), trailer.size()) || !out.commit())
        return "cannot write " + output;
    return {};
}
