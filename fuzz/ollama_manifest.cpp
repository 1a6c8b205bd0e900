// An Ollama manifest: the data files ("blobs") a model is made of.
#include "FuzzSupport.h"
#include "devtools/AIModelCatalog.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto digests = corvane::AIModelCatalog::manifestDigests(corvane::fuzz::bytes(data, size));
    // A digest names a file in "blobs" and nowhere else.
    for (const QString& digest : digests.value_or(QStringList())) {
        if (digest.contains(u'/') || digest.contains(QStringLiteral("..")))
            __builtin_trap();
    }
    return 0;
}
