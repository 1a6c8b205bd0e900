// An app's Info.plist, in any of its forms (XML, binary, old-style).
#include "FuzzSupport.h"
#include "apps/AppBundle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    corvane::AppBundle::parseInfo(corvane::fuzz::bytes(data, size));
    return 0;
}
