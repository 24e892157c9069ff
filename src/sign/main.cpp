// velmora-sign: the vendor's side of the signature check. A private key is a file holding
// the 32-byte Ed25519 seed; the public key goes into the product's Info.plist as
// VelmoraPublicEDKey; signing writes the bundle's manifest and signature into
// Contents/_Signature.
#include "RVBundleSignature.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 64;

namespace Sig = RVBundleSignature;

int fail(const QString& message)
{
    std::fprintf(stderr, "velmora-sign: %s\n", message.toLocal8Bit().constData());
    return kFailed;
}

int usage()
{
    std::fprintf(stderr, "usage: velmora-sign generate-key KEYFILE\n"
                         "       velmora-sign public-key KEYFILE\n"
                         "       velmora-sign sign KEYFILE PRODUCT.app\n"
                         "       velmora-sign verify PRODUCT.app [PUBLIC-KEY]\n");
    return kUsage;
}

void print(const QByteArray& line)
{
    std::printf("%s\n", line.constData());
}

int generateKey(const QString& keyFile)
{
    const QByteArray seed = Sig::newSeed();
    const int fd = ::open(QFile::encodeName(keyFile).constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                          0600);
    if (fd < 0)
        return fail(QStringLiteral("cannot create %1: %2").arg(keyFile, QString::fromLocal8Bit(std::strerror(errno))));
    const bool written = ::write(fd, seed.constData(), std::size_t(seed.size())) == seed.size();
    if (::close(fd) != 0 || !written || seed.isEmpty()) {
        ::unlink(QFile::encodeName(keyFile).constData());
        return fail(QStringLiteral("cannot write %1").arg(keyFile));
    }
    print(Sig::publicKeyOfSeed(seed).toBase64());
    return 0;
}

std::optional<QByteArray> readKey(const QString& keyFile)
{
    QFile file(keyFile);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("cannot read %1: %2").arg(keyFile, file.errorString()));
        return std::nullopt;
    }
    const QByteArray seed = file.read(64);
    if (Sig::publicKeyOfSeed(seed).isEmpty()) {
        fail(QStringLiteral("%1 is not a key made by velmora-sign generate-key").arg(keyFile));
        return std::nullopt;
    }
    return seed;
}

std::optional<Sig::Tree> readBundle(const QString& bundle)
{
    if (!bundle.endsWith(QStringLiteral(".app")) || !QFileInfo(bundle).isDir() ||
        !(QFileInfo::exists(bundle + QStringLiteral("/Contents/Info.plist")) ||
          QFileInfo::exists(bundle + QStringLiteral("/Resources/Info-gnustep.plist")))) {
        fail(QStringLiteral("%1 is not an application bundle").arg(bundle));
        return std::nullopt;
    }
    QString error;
    auto tree = Sig::readTree(QDir::cleanPath(QFileInfo(bundle).absoluteFilePath()), true, &error);
    if (!tree)
        fail(QStringLiteral("cannot read %1: %2").arg(bundle, error));
    return tree;
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() &&
           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther) &&
           file.commit();
}

int sign(const QString& keyFile, const QString& bundle)
{
    const auto seed = readKey(keyFile);
    if (!seed)
        return kFailed;
    const auto tree = readBundle(bundle);
    if (!tree)
        return kFailed;
    const Sig::Signature signature = Sig::sign(tree->manifest, *seed);
    // Signatures of this very manifest by other keys stay: signing once with the old key
    // and once with the new one is how a vendor moves to a new key.
    QList<Sig::Signature> signatures;
    if (tree->storedManifest == tree->manifest) {
        for (const Sig::Signature& earlier : Sig::parseSignatures(tree->signatures).value_or(QList<Sig::Signature>())) {
            if (earlier.publicKey != signature.publicKey)
                signatures << earlier;
        }
    }
    if (signatures.size() >= Sig::kMaximumSignatures)
        return fail(QStringLiteral("%1 already carries two signatures by other keys").arg(bundle));
    signatures << signature;
    const QString folder = bundle + u'/' + QLatin1String(Sig::kFolder);
    if (!QDir().mkpath(folder) || !writeFile(folder + u'/' + QLatin1String(Sig::kManifestName), tree->manifest) ||
        !writeFile(folder + u'/' + QLatin1String(Sig::kSignaturesName), Sig::signaturesText(signatures)))
        return fail(QStringLiteral("cannot write the signature into %1").arg(folder));
    if (!tree->namesKey)
        std::fprintf(stderr, "velmora-sign: note: the Info.plist names no %s yet; installed copies will not "
                             "require a signature\n", Sig::kInfoKey);
    else if (tree->publicKey != signature.publicKey)
        std::fprintf(stderr, "velmora-sign: note: the Info.plist names another key, %s\n",
                     tree->publicKey.toBase64().constData());
    print("signed with " + signature.publicKey.toBase64());
    return 0;
}

int verify(const QString& bundle, const QString& publicKey)
{
    const auto tree = readBundle(bundle);
    if (!tree)
        return kFailed;
    QList<QByteArray> keys;
    if (!publicKey.isEmpty()) {
        const auto key =
            QByteArray::fromBase64Encoding(publicKey.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (!key || key.decoded.size() != 32)
            return fail(QStringLiteral("%1 is not a public key").arg(publicKey));
        keys << *key;
    } else if (tree->namesKey) {
        keys << tree->publicKey;
    } else {
        return fail(QStringLiteral("%1 names no %2; give the public key to check against")
                        .arg(bundle, QLatin1String(Sig::kInfoKey)));
    }
    const QString reason = Sig::whyInvalid(*tree, keys);
    if (!reason.isEmpty())
        return fail(QStringLiteral("%1 is not validly signed: %2").arg(bundle, reason));
    print("valid");
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const QString command = arguments.value(0);
    if (command == u"generate-key" && arguments.size() == 2)
        return generateKey(arguments[1]);
    if (command == u"public-key" && arguments.size() == 2) {
        const auto seed = readKey(arguments[1]);
        if (!seed)
            return kFailed;
        print(Sig::publicKeyOfSeed(*seed).toBase64());
        return 0;
    }
    if (command == u"sign" && arguments.size() == 3)
        return sign(arguments[1], arguments[2]);
    if (command == u"verify" && (arguments.size() == 2 || arguments.size() == 3))
        return verify(arguments[1], arguments.value(2));
    return usage();
}
