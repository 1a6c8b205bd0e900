// The ref listing the scan's git inspection reads to find unpushed branches.
#include "FuzzSupport.h"
#include "scanning/GitInspector.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    corvane::GitInspector::parseRefs(corvane::fuzz::bytes(data, size));
    return 0;
}
