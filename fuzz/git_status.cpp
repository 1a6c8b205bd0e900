// `git status --porcelain=v2 --branch -z` output, as the scan's git inspection reads it.
#include "FuzzSupport.h"
#include "scanning/GitInspector.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::GitInspector;
    const QByteArray output = corvane::fuzz::bytes(data, size);
    const corvane::GitStatusReport report = GitInspector::parseStatus(output);
    // Output refused as a whole leaves the status unknown, which is never clean.
    if (report.problem) {
        if (GitInspector::decideStatus(report, true).kind() != corvane::GitStatus::Case::notARepo)
            __builtin_trap();
        return 0;
    }
    // Whatever git printed besides headers and ignored files may be work: a project whose status
    // holds such a record is never clean.
    bool anyChange = false;
    for (const QByteArray& record : output.split('\0'))
        anyChange =
            anyChange || !(record.isEmpty() || record.startsWith('#') || record.startsWith("! "));
    if (anyChange && report.changes.isEmpty())
        __builtin_trap();
    GitInspector::decideStatus(report, true);
    return 0;
}
