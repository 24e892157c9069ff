#include "RVCopyHasher.h"
#include "RVFd.h"
#include "TempDir.h"

#include <QCryptographicHash>
#include <QFile>

#include <gtest/gtest.h>

#include <fcntl.h>

// The check of a signed copy reuses the digests worked out while it was copied, but only for
// the very files they were worked out for: a file changed since is hashed again.
TEST(CopyHasher, ADigestIsReusedOnlyForTheFileItWasWorkedOutFor)
{
    TempDir dir;
    RVCopyHasher hasher;
    for (const char* name : {"one", "two"}) {
        const QString path = dir.write(QStringLiteral("A.app/Contents/") + QLatin1String(name), name);
        hasher.add(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC),
                   std::string("Contents/") + name);
    }
    RVBundleSignature::KnownDigests known = hasher.finish();
    ASSERT_EQ(known.size(), 2u);
    EXPECT_EQ(known.at("Contents/one").digest, QCryptographicHash::hash("one", QCryptographicHash::Sha256).toHex());

    // Planted digests show which ones the check took.
    const QByteArray planted(64, '0');
    known.at("Contents/one").digest = planted;
    known.at("Contents/two").digest = planted;
    dir.write(QStringLiteral("A.app/Contents/two"), "changed");
    const RVFd folder(::open(QFile::encodeName(dir.path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto tree = RVBundleSignature::readTree(folder.get(), "A.app", true, nullptr, &known);
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->manifest.count(planted), 1);
    EXPECT_TRUE(tree->manifest.contains(QCryptographicHash::hash("changed", QCryptographicHash::Sha256).toHex()));
}
