// The count line the SSH server prints for a tree: files, bytes, top-level entries.
#include "FuzzSupport.h"
#include "archive/SSHArchiveService.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto counts = corvane::SSHArchiveService::parseCounts(corvane::fuzz::bytes(data, size));
    if (counts && (counts->files < 0 || counts->bytes < 0 || counts->topLevelEntries < 0))
        __builtin_trap();
    return 0;
}
