#include "RVCopyHasher.h"

#include "RVFd.h"

#include <sys/stat.h>

namespace {

// Enough to keep the worker busy behind a copy of small files, and descriptors few.
constexpr std::size_t kMostQueued = 256;

} // namespace

RVCopyHasher::RVCopyHasher() : m_worker([this] { run(); }) {}

RVCopyHasher::~RVCopyHasher()
{
    stop(true);
    for (const Job& job : m_queue)
        ::close(job.fd);
}

void RVCopyHasher::add(int fd, std::string path)
{
    if (fd < 0)
        return;
    {
        std::lock_guard lock(m_mutex);
        if (!m_ending && m_queue.size() < kMostQueued) {
            m_queue.push_back({fd, std::move(path)});
            m_changed.notify_one();
            return;
        }
    }
    // The copy never waits for the hasher: a file it is too far behind on is read by the check.
    ::close(fd);
}

RVBundleSignature::KnownDigests RVCopyHasher::finish()
{
    stop(false);
    return m_digests;
}

void RVCopyHasher::stop(bool dropQueued)
{
    {
        std::lock_guard lock(m_mutex);
        m_ending = true;
        m_dropping = m_dropping || dropQueued;
    }
    m_changed.notify_all();
    if (m_worker.joinable())
        m_worker.join();
}

void RVCopyHasher::run()
{
    for (;;) {
        Job job;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return !m_queue.empty() || m_ending; });
            if (m_dropping || m_queue.empty())
                return;
            job = std::move(m_queue.front());
            m_queue.pop_front();
        }
        const RVFd file(job.fd);
        struct stat info {};
        QByteArray digest;
        if (::fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode) &&
            RVBundleSignature::hashFile(file.get(), &digest))
            m_digests[job.path] = RVBundleSignature::KnownDigest::of(info, digest);
    }
}
