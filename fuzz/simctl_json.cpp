// `xcrun simctl list -j runtimes|devices` and `xcodebuild -showsdks -json`.
#include "FuzzSupport.h"
#include "devtools/SimulatorService.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::SimulatorService;
    const QByteArray input = corvane::fuzz::bytes(data, size);
    // Output it cannot read is refused with SimulatorServiceError, which the inventory shows.
    try {
        SimulatorService::parseRuntimes(input);
    } catch (const corvane::SimulatorServiceError&) {
    }
    try {
        SimulatorService::parseDevices(input);
    } catch (const corvane::SimulatorServiceError&) {
    }
    try {
        SimulatorService::parseSdkVersions(input);
    } catch (const corvane::SimulatorServiceError&) {
    }
    return 0;
}
