// The Android SDK's "source.properties" and the emulator's ".ini" files.
#include "FuzzSupport.h"
#include "devtools/AndroidProperties.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto properties = corvane::AndroidProperties::parse(corvane::fuzz::bytes(data, size));
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        if (it.key().isEmpty())
            __builtin_trap();
    }
    return 0;
}
