// `flatpak list` / `flatpak ps` columns, the Linux counterpart of installed app bundles.
#include "FuzzSupport.h"
#include "apps/FlatpakApps.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    corvane::FlatpakApps::parse(corvane::fuzz::bytes(data, size));
    return 0;
}
