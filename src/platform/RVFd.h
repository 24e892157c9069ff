#pragma once

#include <unistd.h>

#include <utility>

// One open descriptor, closed when it goes out of scope.
class RVFd
{
public:
    RVFd() = default;
    explicit RVFd(int fd) : m_fd(fd) {}
    ~RVFd()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    RVFd(RVFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    RVFd& operator=(RVFd&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    RVFd(const RVFd&) = delete;
    RVFd& operator=(const RVFd&) = delete;

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};
