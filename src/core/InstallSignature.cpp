#include "InstallSignature.h"

#include "RVBundleSignature.h"
#include "RVLog.h"
#include "RVPlatform.h"

namespace {

bool refuse(const QString& destination, const QString& reason)
{
    RVLog(QStringLiteral("ERROR -- Refusing the new copy for %@: %@"), destination, reason);
    return false;
}

} // namespace

bool verifyStagedCopy(const QString& staged, const QString& destination)
{
    RVFileManager& files = RVPlatform::current().fileManager();
    // The key comes from the copy being replaced: a forged bundle cannot bring its own.
    QList<QByteArray> keys;
    if (files.itemExists(destination)) {
        const auto previous = files.readSignedTree(destination, false);
        if (previous && previous->namesKey)
            keys << previous->publicKey;
    }
    // A glance first: an unsigned bundle that nothing asks to be signed is not hashed.
    const auto outline = files.readSignedTree(staged, false);
    if (outline && keys.isEmpty() && !outline->namesKey && outline->storedManifest.isNull() &&
        outline->signatures.isNull()) {
        RVLog(QStringLiteral("%@ is not signed and names no key; installed unchecked"), destination);
        return true;
    }
    const auto tree = files.readSignedTree(staged, true);
    if (!tree)
        return refuse(destination, QStringLiteral("the new copy cannot be read"));
    if (tree->namesKey && !keys.contains(tree->publicKey))
        keys << tree->publicKey;
    // Signed but naming no key anywhere: still checked against its own signatures, for damage.
    if (keys.isEmpty()) {
        for (const auto& signature : RVBundleSignature::parseSignatures(tree->signatures).value_or(
                 QList<RVBundleSignature::Signature>()))
            keys << signature.publicKey;
    }
    const QString reason = RVBundleSignature::whyInvalid(*tree, keys);
    if (!reason.isEmpty())
        return refuse(destination, reason);
    RVLog(QStringLiteral("signature of %@ verified"), destination);
    return true;
}
