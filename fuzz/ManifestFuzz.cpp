// The signature folder's readers: a manifest that parses is in canonical form (writing it
// again gives the same bytes), signatures survive a round trip, and checking any manifest
// and signature text against a tree never crashes.
#include "RVBundleSignature.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    namespace Sig = RVBundleSignature;
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    if (const auto entries = Sig::parseManifest(bytes); entries && Sig::manifestText(*entries) != bytes)
        std::abort();
    if (const auto signatures = Sig::parseSignatures(bytes)) {
        const auto again = Sig::parseSignatures(Sig::signaturesText(*signatures));
        if (!again || again->size() != signatures->size())
            std::abort();
    }
    const qsizetype cut = bytes.indexOf('\0');
    Sig::Tree tree;
    tree.manifest = "velmora-manifest 1\nd Contents\nf Contents/Info.plist "
                    "d7e2ac1651954a46024077b42e4191a75dc6638258d64289678c9cc0e9caad80\n";
    tree.storedManifest = cut < 0 ? bytes : bytes.left(cut);
    tree.signatures = cut < 0 ? QByteArray("") : bytes.mid(cut + 1);
    Sig::whyInvalid(tree, {QByteArray(32, '\1')});
    Sig::whyInvalid(tree, {});
    return 0;
}
