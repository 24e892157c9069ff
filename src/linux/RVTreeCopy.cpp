#include "RVTreeCopy.h"

#include "RVCopyHasher.h"
#include "RVFd.h"
#include "RVSafePath.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <linux/fs.h>
#include <map>
#include <pwd.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Fd = RVFd;

} // namespace

namespace {

class TreeCopier
{
public:
    TreeCopier(RVCopyOwner owner, RVCopyHasher* hasher) : m_owner(owner), m_hasher(hasher) {}
    bool copy(int sourceDir, const char* sourceName, int targetDir, const char* targetName,
              const std::string& relative);
    QString error;

private:
    bool fail(const std::string& what, const std::string& path)
    {
        if (error.isEmpty())
            error = QString::fromStdString(what + " " + path + ": " + std::strerror(errno));
        return false;
    }
    bool copyFolder(int sourceDir, const char* sourceName, int targetDir, const char* targetName,
                    const struct stat& info, const std::string& relative);
    bool copyFile(int sourceDir, const char* sourceName, int targetDir, const char* targetName,
                  const struct stat& info, const std::string& relative);
    bool copyLink(int sourceDir, const char* sourceName, int targetDir, const char* targetName,
                  const struct stat& info, const std::string& relative);
    static bool copyData(int from, int to, off_t size);
    static bool copyRange(int from, int to, off_t offset, off_t length);
    void copyAttributes(int from, int to) const;
    void copyOwnerAndMode(int fd, const struct stat& info) const;
    static void keepTimes(int fd, const struct stat& info)
    {
        const decltype(info.st_atim) times[2] = {info.st_atim, info.st_mtim};
        ::futimens(fd, times);
    }

    // Hard links inside the tree: the first copy of each (device, inode) seen.
    std::map<std::pair<dev_t, ino_t>, std::string> m_links;
    int m_rootTarget = -1;
    std::string m_rootName;
    RVCopyOwner m_owner;
    RVCopyHasher* m_hasher;

public:
    void setRoot(int targetDir, const char* targetName)
    {
        m_rootTarget = targetDir;
        m_rootName = targetName;
    }
};

bool TreeCopier::copy(int sourceDir, const char* sourceName, int targetDir, const char* targetName,
                      const std::string& relative)
{
    struct stat info {};
    if (::fstatat(sourceDir, sourceName, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return fail("cannot read", relative);
    if (S_ISDIR(info.st_mode))
        return copyFolder(sourceDir, sourceName, targetDir, targetName, info, relative);
    if (S_ISREG(info.st_mode))
        return copyFile(sourceDir, sourceName, targetDir, targetName, info, relative);
    if (S_ISLNK(info.st_mode))
        return copyLink(sourceDir, sourceName, targetDir, targetName, info, relative);
    if (m_owner == RVCopyOwner::Root) {
        errno = EPERM;
        return fail("refusing device, FIFO or socket", relative);
    }
    if (::mknodat(targetDir, targetName, info.st_mode, info.st_rdev) != 0)
        return fail("cannot make special file", relative);
    return true;
}

bool TreeCopier::copyFolder(int sourceDir, const char* sourceName, int targetDir,
                            const char* targetName, const struct stat& info,
                            const std::string& relative)
{
    Fd from(::openat(sourceDir, sourceName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!from.valid())
        return fail("cannot open folder", relative);
    // Private until it is complete, then the source's mode.
    if (::mkdirat(targetDir, targetName, 0700) != 0)
        return fail("cannot create folder", relative);
    Fd to(::openat(targetDir, targetName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!to.valid())
        return fail("cannot open new folder", relative);

    const auto names = RVNamesIn(from.get());
    if (!names)
        return fail("cannot list", relative);
    for (const std::string& name : *names) {
        if (!copy(from.get(), name.c_str(), to.get(), name.c_str(), relative + "/" + name))
            return false;
    }
    copyAttributes(from.get(), to.get());
    copyOwnerAndMode(to.get(), info);
    keepTimes(to.get(), info);
    return true;
}

bool TreeCopier::copyFile(int sourceDir, const char* sourceName, int targetDir,
                          const char* targetName, const struct stat& info,
                          const std::string& relative)
{
    if (info.st_nlink > 1) {
        const auto key = std::make_pair(info.st_dev, info.st_ino);
        const auto seen = m_links.find(key);
        if (seen != m_links.end()) {
            // Link to the copy made earlier, addressed from the copy's root folder.
            if (::linkat(m_rootTarget, seen->second.c_str(), targetDir, targetName, 0) == 0)
                return true;
        } else {
            m_links.emplace(key, m_rootName + relative);
        }
    }
    Fd from(::openat(sourceDir, sourceName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!from.valid())
        return fail("cannot open", relative);
    // Readable too: a hasher reads the copy through this descriptor.
    Fd to(::openat(targetDir, targetName, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!to.valid())
        return fail("cannot create", relative);
    if (!copyData(from.get(), to.get(), info.st_size))
        return fail("cannot copy", relative);
    copyAttributes(from.get(), to.get());
    copyOwnerAndMode(to.get(), info);
    keepTimes(to.get(), info);
    if (m_hasher && !relative.empty())
        m_hasher->add(::fcntl(to.get(), F_DUPFD_CLOEXEC, 0), relative.substr(1));
    return true;
}

bool TreeCopier::copyLink(int sourceDir, const char* sourceName, int targetDir,
                          const char* targetName, const struct stat& info,
                          const std::string& relative)
{
    std::vector<char> buffer(std::size_t(info.st_size > 0 ? info.st_size : 255) + 1);
    const ssize_t length = ::readlinkat(sourceDir, sourceName, buffer.data(), buffer.size());
    if (length < 0 || std::size_t(length) >= buffer.size())
        return fail("cannot read link", relative);
    buffer[std::size_t(length)] = '\0';
    if (::symlinkat(buffer.data(), targetDir, targetName) != 0)
        return fail("cannot create link", relative);
    if (m_owner == RVCopyOwner::AsSource)
        ::fchownat(targetDir, targetName, info.st_uid, info.st_gid, AT_SYMLINK_NOFOLLOW);
    const decltype(info.st_atim) times[2] = {info.st_atim, info.st_mtim};
    ::utimensat(targetDir, targetName, times, AT_SYMLINK_NOFOLLOW);
    return true;
}

bool TreeCopier::copyData(int from, int to, off_t size)
{
    if (size == 0)
        return true;
    // Share the blocks where the file system can (btrfs, xfs); otherwise copy the parts
    // that hold data and leave the holes holes, as cp -a does.
    if (::ioctl(to, FICLONE, from) == 0)
        return true;
    for (off_t offset = 0; offset < size;) {
        off_t data = ::lseek(from, offset, SEEK_DATA);
        if (data < 0 && errno == ENXIO)
            break; // a hole up to the end
        off_t hole = data < 0 ? -1 : ::lseek(from, data, SEEK_HOLE);
        if (data < 0 || hole < 0) {
            if (errno != EINVAL && errno != EOPNOTSUPP)
                return false;
            data = offset; // no hole detection here: all of it is data
            hole = size;
        }
        hole = std::min(hole, size);
        if (data >= hole)
            break;
        if (!copyRange(from, to, data, hole - data))
            return false;
        offset = hole;
    }
    return ::ftruncate(to, size) == 0;
}

bool TreeCopier::copyRange(int from, int to, off_t offset, off_t length)
{
    loff_t in = offset, out = offset;
    while (length > 0) {
        const ssize_t copied = ::copy_file_range(from, &in, to, &out, std::size_t(length), 0);
        if (copied > 0) {
            length -= copied;
            continue;
        }
        if (copied == 0)
            return true; // the file shrank meanwhile
        if (errno == EINTR)
            continue;
        if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
            return false;
        break; // not supported between these files: copy through user space
    }
    char buffer[128 * 1024];
    while (length > 0) {
        const ssize_t got = ::pread(from, buffer, std::size_t(std::min<off_t>(length, off_t(sizeof buffer))), in);
        if (got == 0)
            return true;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::pwrite(to, buffer + done, std::size_t(got - done), out);
            if (put < 0) {
                if (errno == EINTR)
                    continue;
                return false;
            }
            done += put;
            out += put;
        }
        in += got;
        length -= got;
    }
    return true;
}

void TreeCopier::copyAttributes(int from, int to) const
{
    // Attributes the target cannot hold (another file system, a namespace we may not
    // write) are left out, as cp -a does.
    const ssize_t size = ::flistxattr(from, nullptr, 0);
    if (size <= 0)
        return;
    std::vector<char> names(static_cast<std::size_t>(size));
    const ssize_t listed = ::flistxattr(from, names.data(), names.size());
    for (ssize_t at = 0; at < listed;) {
        const char* name = names.data() + at;
        at += ssize_t(std::strlen(name)) + 1;
        if (m_owner == RVCopyOwner::Root && std::strncmp(name, "user.", 5) != 0)
            continue;
        const ssize_t length = ::fgetxattr(from, name, nullptr, 0);
        if (length < 0)
            continue;
        std::vector<char> value(std::size_t(length) + 1);
        const ssize_t got = ::fgetxattr(from, name, value.data(), value.size());
        if (got >= 0)
            ::fsetxattr(to, name, value.data(), std::size_t(got), 0);
    }
}

void TreeCopier::copyOwnerAndMode(int fd, const struct stat& info) const
{
    mode_t mode = info.st_mode & 07777;
    if (m_owner == RVCopyOwner::Root) {
        ::fchmod(fd, mode & ~mode_t(S_ISUID | S_ISGID));
        if (::fchown(fd, 0, 0) == 0)
            ::fchmod(fd, mode & ~mode_t(S_ISUID | S_ISGID)); // chown may not keep the mode
        return;
    }
    if (::fchown(fd, info.st_uid, info.st_gid) != 0)
        mode &= ~mode_t(S_ISUID | S_ISGID); // not the owner's any more: no set-id bits
    ::fchmod(fd, mode);
}

bool removeAt(int dir, const char* name)
{
    struct stat info {};
    if (::fstatat(dir, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    if (!S_ISDIR(info.st_mode))
        return ::unlinkat(dir, name, 0) == 0;
    Fd folder(::openat(dir, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const auto names = folder.valid() ? RVNamesIn(folder.get()) : std::nullopt;
    if (!names)
        return false;
    bool ok = true;
    for (const std::string& child : *names)
        ok = removeAt(folder.get(), child.c_str()) && ok;
    return ::unlinkat(dir, name, AT_REMOVEDIR) == 0 && ok;
}

} // namespace

bool RVCopyTree(int sourceFolder, const char* sourceName, int targetFolder, const char* targetName,
                QString* error, RVCopyOwner owner, RVCopyHasher* hasher)
{
    TreeCopier copier(owner, hasher);
    copier.setRoot(targetFolder, targetName);
    const bool ok = copier.copy(sourceFolder, sourceName, targetFolder, targetName, "");
    if (!ok && error)
        *error = copier.error;
    return ok;
}

bool RVRemoveTree(int folder, const char* name)
{
    return removeAt(folder, name);
}

namespace {

// What uid, with its groups, may do to an item by its mode alone.
bool mayRead(const struct stat& info, uid_t uid, const std::vector<gid_t>& groups)
{
    const mode_t wanted = S_ISDIR(info.st_mode) ? 5 : 4; // folders: read and search
    mode_t bits = info.st_mode & 7;
    if (info.st_uid == uid)
        bits = (info.st_mode >> 6) & 7;
    else if (std::find(groups.begin(), groups.end(), info.st_gid) != groups.end())
        bits = (info.st_mode >> 3) & 7;
    return (bits & wanted) == wanted;
}

void handOver(int folder, const char* name, uid_t uid, gid_t gid, const std::vector<gid_t>& groups)
{
    struct stat info {};
    if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !mayRead(info, uid, groups) ||
        (!S_ISDIR(info.st_mode) && !S_ISLNK(info.st_mode) && info.st_nlink > 1))
        return;
    if (S_ISDIR(info.st_mode) || S_ISREG(info.st_mode) || S_ISLNK(info.st_mode))
        ::fchownat(folder, name, uid, gid, AT_SYMLINK_NOFOLLOW);
    if (!S_ISDIR(info.st_mode))
        return;
    Fd inner(::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const auto names = inner.valid() ? RVNamesIn(inner.get()) : std::nullopt;
    for (const std::string& child : names.value_or(std::vector<std::string>()))
        handOver(inner.get(), child.c_str(), uid, gid, groups);
}

} // namespace

void RVHandOverTree(int folder, const char* name, uid_t uid, gid_t gid)
{
    std::vector<gid_t> groups(64);
    int count = int(groups.size());
    const struct passwd* entry = ::getpwuid(uid);
    if (entry && ::getgrouplist(entry->pw_name, gid, groups.data(), &count) < 0) {
        groups.resize(std::size_t(count));
        ::getgrouplist(entry->pw_name, gid, groups.data(), &count);
    }
    groups.resize(entry ? std::size_t(std::max(count, 0)) : 0);
    groups.push_back(gid);
    handOver(folder, name, uid, gid, groups);
}

bool RVRemoveTree(const QString& path)
{
    const RVSafePath::Parent parent = RVSafePath::openParent(path);
    return parent.folder.valid() && removeAt(parent.folder.get(), parent.name.constData());
}
