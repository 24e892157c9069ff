#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>

namespace RVPackage {

// A file opened for reading at offsets; closed with the object.
class File
{
public:
    explicit File(const std::string& path) : m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~File()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    explicit operator bool() const { return m_fd >= 0; }

    std::uint64_t size() const
    {
        struct stat info{};
        return ::fstat(m_fd, &info) == 0 ? std::uint64_t(info.st_size) : 0;
    }

    // Reads exactly size bytes at offset.
    bool readAt(std::uint64_t offset, void* data, std::size_t size) const
    {
        auto* bytes = static_cast<char*>(data);
        while (size > 0) {
            const ssize_t n = ::pread(m_fd, bytes, size, off_t(offset));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return false;
            bytes += n;
            size -= std::size_t(n);
            offset += std::uint64_t(n);
        }
        return true;
    }

    int descriptor() const { return m_fd; }

private:
    int m_fd;
};

} // namespace RVPackage
