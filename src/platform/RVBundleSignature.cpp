#include "RVBundleSignature.h"

#include "RVFd.h"
#include "RVFolderNames.h"
#include "RVPropertyList.h"

#include <QFile>
#include <QVariantMap>

#include <sodium.h>
// The low-level interface links statically without OpenSSL's provider machinery.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/sha.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <thread>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace RVBundleSignature {

namespace {

constexpr char kHeader[] = "velmora-manifest 1\n";
constexpr qsizetype kDigestHex = 2 * SHA256_DIGEST_LENGTH;
constexpr off_t kLargestInfoPlist = 1 << 20;
constexpr off_t kLargestManifest = 64 << 20;
constexpr off_t kLargestSignatures = 4096;

bool sodiumReady()
{
    static const bool ready = ::sodium_init() >= 0;
    return ready;
}

using Fd = RVFd;

QString failure(const std::string& what, const std::string& path)
{
    return QString::fromStdString(what + " " + (path.empty() ? std::string(".") : path) + ": " +
                                  std::strerror(errno));
}

// The contents of a regular file, never through a link; a hash of them when asked.
std::optional<QByteArray> readFile(int folder, const char* name, QByteArray* digest, off_t keepUpTo)
{
    const Fd file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat info {};
    if (!file.valid() || ::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    QByteArray kept;
    QByteArray ignored;
    if (!hashFile(file.get(), digest ? digest : &ignored, &kept, keepUpTo))
        return std::nullopt;
    return kept;
}

// A file that is there reads as non-null, even when empty.
QByteArray presentOrNull(const std::optional<QByteArray>& contents)
{
    return contents ? (contents->isNull() ? QByteArray("") : *contents) : QByteArray();
}

class Walker
{
public:
    QList<Entry> entries;
    QByteArray storedManifest;
    QByteArray signatures;
    QByteArray infoPlist;
    QString error;
    const KnownDigests* known = nullptr; // files untouched since these were worked out are not read

    bool walk(const std::shared_ptr<Fd>& folder, const std::string& relative)
    {
        const auto names = RVNamesIn(folder->get());
        if (!names)
            return fail("cannot list", relative);
        for (const std::string& name : *names) {
            const std::string path = relative.empty() ? name : relative + "/" + name;
            if (!visit(folder, name, path))
                return false;
        }
        return true;
    }

    bool fail(const char* what, const std::string& path)
    {
        error = failure(what, path);
        return false;
    }

    // Hashing is most of the work: the files are read on a few threads at once.
    bool hashFiles()
    {
        const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1u, 4u);
        std::atomic<std::size_t> next{0};
        const auto work = [&] {
            for (std::size_t i = next++; i < m_files.size(); i = next++) {
                FileJob& job = m_files[i];
                job.contents = readFile(job.folder->get(), job.name.c_str(), &job.digest, job.isInfo ? kLargestInfoPlist : 0);
            }
        };
        std::vector<std::thread> pool;
        for (unsigned t = 1; t < threads; ++t)
            pool.emplace_back(work);
        work();
        for (std::thread& thread : pool)
            thread.join();
        for (FileJob& job : m_files) {
            Entry& entry = entries[job.entry];
            if (!job.contents)
                return fail("cannot read", entry.path.toStdString());
            entry.detail = job.digest;
            if (job.isInfo && (infoPlist.isNull() || entry.path.startsWith('C')))
                infoPlist = *job.contents;
        }
        return true;
    }

private:
    struct FileJob
    {
        std::shared_ptr<Fd> folder;
        std::string name;
        qsizetype entry;
        bool isInfo;
        QByteArray digest;
        std::optional<QByteArray> contents;
    };
    std::vector<FileJob> m_files;

    const KnownDigest* knownDigest(const std::string& path) const
    {
        if (!known)
            return nullptr;
        const auto found = known->find(path);
        return found == known->end() ? nullptr : &found->second;
    }

    bool visit(const std::shared_ptr<Fd>& parent, const std::string& name, const std::string& path)
    {
        const int folder = parent->get();
        struct stat info {};
        if (::fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
            return fail("cannot read", path);
        const QByteArray raw = QByteArray::fromStdString(path);
        if (S_ISDIR(info.st_mode)) {
            const auto inner =
                std::make_shared<Fd>(::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (!inner->valid())
                return fail("cannot open folder", path);
            const bool signatureFolder = path == kFolder;
            if (signatureFolder)
                takeSignature(inner->get());
            else
                entries.append({'d', raw, {}});
            return walk(inner, path);
        }
        if (S_ISLNK(info.st_mode)) {
            std::vector<char> target(std::size_t(info.st_size > 0 ? info.st_size : 4096) + 1);
            const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
            if (length < 0 || std::size_t(length) >= target.size())
                return fail("cannot read link", path);
            entries.append({'l', raw, QByteArray(target.data(), length)});
            return true;
        }
        if (!S_ISREG(info.st_mode)) {
            entries.append({'o', raw, {}});
            return true;
        }
        if (isTaken(path))
            return true;
        const bool isInfo = path == "Contents/Info.plist" || path == "Resources/Info-gnustep.plist";
        const char kind = (info.st_mode & 0111) ? 'x' : 'f';
        if (const KnownDigest* before = knownDigest(path); before && !isInfo && before->isOf(info)) {
            entries.append({kind, raw, before->digest});
            return true;
        }
        m_files.push_back({parent, name, entries.size(), isInfo, {}, {}});
        entries.append({kind, raw, {}});
        return true;
    }

    // The signature files are read, not listed; anything else in their folder is listed.
    void takeSignature(int folder)
    {
        storedManifest = presentOrNull(readFile(folder, kManifestName, nullptr, kLargestManifest));
        if (!storedManifest.isNull())
            m_taken.push_back(std::string(kFolder) + "/" + kManifestName);
        signatures = presentOrNull(readFile(folder, kSignaturesName, nullptr, kLargestSignatures));
        if (!signatures.isNull())
            m_taken.push_back(std::string(kFolder) + "/" + kSignaturesName);
    }
    bool isTaken(const std::string& path) const
    {
        return std::find(m_taken.begin(), m_taken.end(), path) != m_taken.end();
    }

    std::vector<std::string> m_taken;
};

// Only the key: Info.plist and the signature files, without a walk.
Tree readKeyOnly(int root)
{
    Tree tree;
    for (const char* path : {"Contents/Info.plist", "Resources/Info-gnustep.plist"}) {
        const std::string folderName = std::string(path).substr(0, std::string(path).find('/'));
        const Fd folder(::openat(root, folderName.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        const auto plist = folder.valid() ? readFile(folder.get(), std::strchr(path, '/') + 1, nullptr, kLargestInfoPlist)
                                          : std::nullopt;
        if (plist) {
            tree.publicKey = publicKeyInInfoPlist(*plist, &tree.namesKey);
            break;
        }
    }
    const Fd signature(::openat(root, kFolder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (signature.valid()) {
        tree.storedManifest = presentOrNull(readFile(signature.get(), kManifestName, nullptr, kLargestManifest));
        tree.signatures = presentOrNull(readFile(signature.get(), kSignaturesName, nullptr, kLargestSignatures));
    }
    return tree;
}

QByteArray encoded(const QByteArray& raw)
{
    QByteArray text;
    text.reserve(raw.size());
    for (const char c : raw) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte == 0x7f || byte == '%')
            text += '%' + QByteArray::number(byte, 16).rightJustified(2, '0').toUpper();
        else
            text += c;
    }
    return text;
}

std::optional<QByteArray> decoded(const QByteArray& text)
{
    const QByteArray raw = QByteArray::fromPercentEncoding(text);
    if (raw.isEmpty() || encoded(raw) != text)
        return std::nullopt;
    return raw;
}

bool isRelativePath(const QByteArray& path)
{
    for (const QByteArray& part : path.split('/')) {
        if (part.isEmpty() || part == "." || part == "..")
            return false;
    }
    return true;
}

QString differenceBetween(const QByteArray& signedManifest, const QByteArray& actual)
{
    const auto before = parseManifest(signedManifest);
    const auto now = parseManifest(actual);
    if (!before || !now)
        return QStringLiteral("its signed manifest cannot be read");
    auto nameOf = [](const Entry& entry) { return QString::fromUtf8(entry.path); };
    qsizetype i = 0, j = 0;
    while (i < before->size() || j < now->size()) {
        if (j == now->size() || (i < before->size() && before->at(i).path < now->at(j).path))
            return QStringLiteral("%1 is missing").arg(nameOf(before->at(i)));
        if (i == before->size() || now->at(j).path < before->at(i).path)
            return QStringLiteral("%1 was added").arg(nameOf(now->at(j)));
        if (!(before->at(i) == now->at(j)))
            return QStringLiteral("%1 was changed").arg(nameOf(now->at(j)));
        ++i, ++j;
    }
    return QStringLiteral("its signed manifest is not in canonical form");
}

} // namespace

namespace {

std::int64_t nanoseconds(const decltype(stat::st_mtim)& time)
{
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

} // namespace

KnownDigest KnownDigest::of(const struct stat& info, const QByteArray& digest)
{
    return {info.st_dev, info.st_ino, info.st_size, nanoseconds(info.st_mtim), nanoseconds(info.st_ctim), digest};
}

bool KnownDigest::isOf(const struct stat& info) const
{
    return device == info.st_dev && inode == info.st_ino && size == info.st_size &&
           modifiedNs == nanoseconds(info.st_mtim) && changedNs == nanoseconds(info.st_ctim);
}

bool hashFile(int fd, QByteArray* digest, QByteArray* kept, off_t keepUpTo)
{
    // OpenSSL's SHA-256 uses the processor's SHA instructions; libsodium's does not, and
    // hashing is nearly all of a signed install's extra time.
    SHA256_CTX state;
    SHA256_Init(&state);
    std::vector<unsigned char> buffer(256 * 1024);
    for (off_t offset = 0;;) {
        const ssize_t got = ::pread(fd, buffer.data(), buffer.size(), offset);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            break;
        offset += got;
        SHA256_Update(&state, buffer.data(), std::size_t(got));
        if (kept && kept->size() + got <= keepUpTo)
            kept->append(reinterpret_cast<const char*>(buffer.data()), got);
    }
    unsigned char out[SHA256_DIGEST_LENGTH];
    SHA256_Final(out, &state);
    *digest = QByteArray(reinterpret_cast<const char*>(out), sizeof out).toHex();
    return true;
}

std::optional<Tree> readTree(int folder, const QByteArray& name, bool walk, QString* error, const KnownDigests* known)
{
    const auto root = std::make_shared<Fd>(::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!root->valid()) {
        if (error)
            *error = failure("cannot open", name.toStdString());
        return std::nullopt;
    }
    if (!walk)
        return readKeyOnly(root->get());
    if (!sodiumReady())
        return std::nullopt;
    Walker walker;
    walker.known = known;
    if (!walker.walk(root, {}) || !walker.hashFiles()) {
        if (error)
            *error = walker.error;
        return std::nullopt;
    }
    Tree tree;
    tree.manifest = manifestText(std::move(walker.entries));
    tree.storedManifest = walker.storedManifest;
    tree.signatures = walker.signatures;
    if (!walker.infoPlist.isNull())
        tree.publicKey = publicKeyInInfoPlist(walker.infoPlist, &tree.namesKey);
    return tree;
}

std::optional<Tree> readTree(const QString& path, bool walk, QString* error)
{
    QString folder = path.section(u'/', 0, -2, QString::SectionSkipEmpty);
    folder = path.startsWith(u'/') ? u'/' + folder : (folder.isEmpty() ? QStringLiteral(".") : folder);
    const Fd parent(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.valid()) {
        if (error)
            *error = failure("cannot open", QFile::encodeName(folder).toStdString());
        return std::nullopt;
    }
    return readTree(parent.get(), QFile::encodeName(path.section(u'/', -1, -1, QString::SectionSkipEmpty)), walk,
                    error);
}

QByteArray publicKeyInInfoPlist(const QByteArray& plist, bool* names)
{
    const auto value = RVPropertyList::fromData(plist).value;
    const QVariant key = value ? value->toMap().value(QString::fromLatin1(kInfoKey)) : QVariant();
    if (names)
        *names = key.isValid();
    if (!key.isValid())
        return {};
    const auto decodedKey =
        QByteArray::fromBase64Encoding(key.toString().trimmed().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decodedKey && decodedKey.decoded.size() == crypto_sign_PUBLICKEYBYTES ? *decodedKey : QByteArray("");
}

std::optional<QList<Signature>> parseSignatures(const QByteArray& text)
{
    QList<Signature> signatures;
    const QList<QByteArray> lines = text.split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines[i].isEmpty() && i == lines.size() - 1)
            break;
        const QList<QByteArray> words = lines[i].split(' ');
        if (words.size() != 3 || words[0] != "ed25519")
            return std::nullopt;
        const auto key = QByteArray::fromBase64Encoding(words[1], QByteArray::AbortOnBase64DecodingErrors);
        const auto signature = QByteArray::fromBase64Encoding(words[2], QByteArray::AbortOnBase64DecodingErrors);
        if (!key || !signature || key.decoded.size() != crypto_sign_PUBLICKEYBYTES || signature.decoded.size() != crypto_sign_BYTES)
            return std::nullopt;
        signatures.append({*key, *signature});
    }
    if (signatures.isEmpty() || signatures.size() > kMaximumSignatures)
        return std::nullopt;
    return signatures;
}

QByteArray signaturesText(const QList<Signature>& signatures)
{
    QByteArray text;
    for (const Signature& signature : signatures)
        text += "ed25519 " + signature.publicKey.toBase64() + ' ' + signature.signature.toBase64() + '\n';
    return text;
}

std::optional<QList<Entry>> parseManifest(const QByteArray& text)
{
    if (!text.startsWith(kHeader) || !text.endsWith('\n'))
        return std::nullopt;
    QList<Entry> entries;
    const QByteArray body = text.mid(qsizetype(std::strlen(kHeader)));
    for (const QByteArray& line : body.isEmpty() ? QList<QByteArray>() : body.chopped(1).split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.isEmpty() || words[0].size() != 1)
            return std::nullopt;
        Entry entry;
        entry.kind = words[0][0];
        const bool hasDetail = entry.kind == 'f' || entry.kind == 'x' || entry.kind == 'l';
        if (!QByteArrayView("dfxlo").contains(entry.kind) || words.size() != (hasDetail ? 3 : 2))
            return std::nullopt;
        const auto path = decoded(words[1]);
        if (!path || !isRelativePath(*path) || (!entries.isEmpty() && entries.last().path >= *path))
            return std::nullopt;
        entry.path = *path;
        if (entry.kind == 'l') {
            const auto target = decoded(words[2]);
            if (!target)
                return std::nullopt;
            entry.detail = *target;
        } else if (hasDetail) {
            entry.detail = words[2];
            if (entry.detail.size() != kDigestHex || entry.detail.toLower() != entry.detail ||
                QByteArray::fromHex(entry.detail).toHex() != entry.detail)
                return std::nullopt;
        }
        entries.append(entry);
    }
    return entries;
}

QByteArray manifestText(QList<Entry> entries)
{
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.path < b.path; });
    QByteArray text(kHeader);
    for (const Entry& entry : entries) {
        text += entry.kind;
        text += ' ' + encoded(entry.path);
        if (entry.kind == 'l')
            text += ' ' + encoded(entry.detail);
        else if (!entry.detail.isEmpty())
            text += ' ' + entry.detail;
        text += '\n';
    }
    return text;
}

QString whyInvalid(const Tree& tree, const QList<QByteArray>& keys)
{
    if (tree.storedManifest.isNull() || tree.signatures.isNull())
        return QStringLiteral("it carries no signature");
    const auto signatures = parseSignatures(tree.signatures);
    if (!signatures || !sodiumReady())
        return QStringLiteral("its signatures are damaged");
    for (const QByteArray& key : keys) {
        const auto by = std::find_if(signatures->begin(), signatures->end(),
                                     [&](const Signature& signature) { return signature.publicKey == key; });
        const QString name = QString::fromLatin1(key.toBase64());
        if (key.size() != crypto_sign_PUBLICKEYBYTES)
            return QStringLiteral("the key it must be signed with is not an Ed25519 public key");
        if (by == signatures->end())
            return QStringLiteral("it is not signed with the key %1").arg(name);
        if (::crypto_sign_verify_detached(reinterpret_cast<const unsigned char*>(by->signature.constData()),
                                          reinterpret_cast<const unsigned char*>(tree.storedManifest.constData()),
                                          std::size_t(tree.storedManifest.size()),
                                          reinterpret_cast<const unsigned char*>(key.constData())) != 0)
            return QStringLiteral("its signature by the key %1 is not valid").arg(name);
    }
    if (tree.storedManifest != tree.manifest)
        return QStringLiteral("it does not match its signed manifest: %1")
            .arg(differenceBetween(tree.storedManifest, tree.manifest));
    return {};
}

QByteArray newSeed()
{
    if (!sodiumReady())
        return {};
    QByteArray seed(crypto_sign_SEEDBYTES, '\0');
    ::randombytes_buf(seed.data(), std::size_t(seed.size()));
    return seed;
}

namespace {

struct KeyPair
{
    unsigned char publicKey[crypto_sign_PUBLICKEYBYTES];
    unsigned char secretKey[crypto_sign_SECRETKEYBYTES];
    ~KeyPair() { ::sodium_memzero(secretKey, sizeof secretKey); }
};

bool keyPairOfSeed(const QByteArray& seed, KeyPair& pair)
{
    return sodiumReady() && seed.size() == crypto_sign_SEEDBYTES &&
           ::crypto_sign_seed_keypair(pair.publicKey, pair.secretKey,
                                      reinterpret_cast<const unsigned char*>(seed.constData())) == 0;
}

} // namespace

QByteArray publicKeyOfSeed(const QByteArray& seed)
{
    KeyPair pair;
    if (!keyPairOfSeed(seed, pair))
        return {};
    return QByteArray(reinterpret_cast<const char*>(pair.publicKey), sizeof pair.publicKey);
}

Signature sign(const QByteArray& manifest, const QByteArray& seed)
{
    KeyPair pair;
    if (!keyPairOfSeed(seed, pair))
        return {};
    QByteArray signature(crypto_sign_BYTES, '\0');
    ::crypto_sign_detached(reinterpret_cast<unsigned char*>(signature.data()), nullptr,
                           reinterpret_cast<const unsigned char*>(manifest.constData()), std::size_t(manifest.size()),
                           pair.secretKey);
    return {QByteArray(reinterpret_cast<const char*>(pair.publicKey), sizeof pair.publicKey), signature};
}

} // namespace RVBundleSignature
