// What the SSH server prints: the tool probe (two lines) and the tree's digest listing.
#include "FuzzSupport.h"
#include "archive/RemoteTree.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::RemoteTree;
    const QByteArray input = corvane::fuzz::bytes(data, size);
    const qsizetype newline = input.indexOf('\n');
    RemoteTree::parseTools(input.left(newline),
                           newline < 0 ? QByteArray() : input.mid(newline + 1));
    if (const auto manifest = RemoteTree::parseManifest(input)) {
        for (const auto& [path, entry] : manifest->entries) {
            if (path.isEmpty() || entry.size < 0)
                __builtin_trap();
        }
    }
    return 0;
}
