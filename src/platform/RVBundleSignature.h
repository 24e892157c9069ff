#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unordered_map>

// Ed25519 signatures over a bundle (libsodium). What is signed is the bundle's canonical
// manifest: one line per item below the bundle folder, sorted by path, saying its kind
// (folder, file, executable file, link, other), the SHA-256 of a file's contents and a
// link's target. The manifest and up to two signatures of it (two, so that a vendor can
// move to a new key) are kept in the bundle's Contents/_Signature, the one folder the
// manifest leaves out. A product names its key in its Info.plist as VelmoraPublicEDKey.
namespace RVBundleSignature {

inline constexpr char kFolder[] = "Contents/_Signature";
inline constexpr char kManifestName[] = "Manifest";
inline constexpr char kSignaturesName[] = "Signatures";
inline constexpr char kInfoKey[] = "VelmoraPublicEDKey";
inline constexpr int kMaximumSignatures = 2;

// What a check reads of a bundle, in one pass over open folders that never follows a link.
struct Tree
{
    QByteArray manifest;       // of the tree as it is; empty when not walked
    QByteArray storedManifest; // the one in the signature folder; null when absent
    QByteArray signatures;     // null when absent
    bool namesKey = false;     // its Info.plist names a key
    QByteArray publicKey;      // that key, 32 bytes; empty when it does not decode
};

// A file's digest worked out earlier (as it was copied), good only for the very file it was
// worked out for, untouched since.
struct KnownDigest
{
    dev_t device;
    ino_t inode;
    off_t size;
    std::int64_t modifiedNs; // since the epoch
    std::int64_t changedNs;
    QByteArray digest;
    static KnownDigest of(const struct stat& info, const QByteArray& digest);
    bool isOf(const struct stat& info) const;
};
using KnownDigests = std::unordered_map<std::string, KnownDigest>; // by path in the bundle

// The SHA-256 (hex) of an open file's contents from its start; kept gets up to keepUpTo
// bytes of them.
bool hashFile(int fd, QByteArray* digest, QByteArray* kept = nullptr, off_t keepUpTo = 0);

// Reads the bundle name inside the open folder; without walk, only the key in its
// Info.plist and the signature files, as they are. Null (error set) when the tree cannot be
// read to the end. A file with a known digest is not read again.
std::optional<Tree> readTree(int folder, const QByteArray& name, bool walk, QString* error,
                             const KnownDigests* known = nullptr);
std::optional<Tree> readTree(const QString& path, bool walk, QString* error);

// The key named by an Info.plist's contents: null when it names none, empty when the value
// is not a base64 Ed25519 public key.
QByteArray publicKeyInInfoPlist(const QByteArray& plist, bool* names);

struct Signature
{
    QByteArray publicKey; // 32 bytes
    QByteArray signature; // 64 bytes
};
// "ed25519 <key> <signature>" lines, base64; null when any line is not one, or there are
// more than two.
std::optional<QList<Signature>> parseSignatures(const QByteArray& text);
QByteArray signaturesText(const QList<Signature>& signatures);

struct Entry
{
    char kind = 0;       // d, f, x, l, o
    QByteArray path;     // relative, raw bytes
    QByteArray detail;   // a file's SHA-256 (hex), a link's target (raw bytes)
    bool operator==(const Entry&) const = default;
};
// The entries of a manifest; null when it is not one in canonical form.
std::optional<QList<Entry>> parseManifest(const QByteArray& text);
QByteArray manifestText(QList<Entry> entries);

// Why the tree is not validly signed by every one of keys; empty when it is.
QString whyInvalid(const Tree& tree, const QList<QByteArray>& keys);

// Keys: a private key is the 32-byte seed of its pair.
QByteArray newSeed();
QByteArray publicKeyOfSeed(const QByteArray& seed); // empty for a seed of the wrong size
Signature sign(const QByteArray& manifest, const QByteArray& seed);

} // namespace RVBundleSignature
