#pragma once

#include "RVBundleSignature.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

// Hashes the files of a copy on a thread of its own while the copy goes on, so that checking
// a signed copy afterwards costs little more than walking it.
class RVCopyHasher
{
public:
    RVCopyHasher();
    ~RVCopyHasher(); // stops at once; what is still queued is left unhashed

    // Takes over fd, a descriptor of a file just copied, named by its path in the copy.
    // Never waits: when many are queued already, the file is left to be hashed later.
    void add(int fd, std::string path);
    // Once everything added is hashed.
    RVBundleSignature::KnownDigests finish();

    RVCopyHasher(const RVCopyHasher&) = delete;
    RVCopyHasher& operator=(const RVCopyHasher&) = delete;

private:
    struct Job
    {
        int fd;
        std::string path;
    };
    void run();
    void stop(bool dropQueued);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_queue;
    bool m_ending = false;
    bool m_dropping = false;
    RVBundleSignature::KnownDigests m_digests; // the worker's until it is joined
    std::thread m_worker;                      // last: it starts once the rest is ready
};
