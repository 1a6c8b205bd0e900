// Docker's JSON lines (image listings) and the prune summary.
#include "FuzzSupport.h"
#include "devtools/DockerService.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::DockerService;
    const QByteArray input = corvane::fuzz::bytes(data, size);
    // A listing it cannot read is refused with DockerServiceError, as the inventory expects.
    try {
        DockerService::parseImageReferences(input);
    } catch (const corvane::DockerServiceError&) {
    }
    try {
        if (const std::optional<qint64> total = DockerService::parseImageTotal(input);
            total && *total < 0)
            __builtin_trap();
    } catch (const corvane::DockerServiceError&) {
    }
    if (const std::optional<qint64> freed = DockerService::parsePrunedBytes(input);
        freed && *freed < 0)
        __builtin_trap();
    return 0;
}
