// `docker system df -v --format json`: the whole inventory in one JSON document.
#include "FuzzSupport.h"
#include "devtools/DockerService.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        corvane::DockerService::parseReport(corvane::fuzz::bytes(data, size));
    } catch (const corvane::DockerServiceError&) {
        // The refusal of a report it cannot read, which the inventory shows as the failure.
    }
    return 0;
}
