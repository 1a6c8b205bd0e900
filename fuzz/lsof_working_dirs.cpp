// `lsof -F pcn` over every process's current directory, as the organizer reads it.
#include "FuzzSupport.h"
#include "organize/ProcessInspector.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::ProcessInspector;
    const auto processes = ProcessInspector::parse(corvane::fuzz::bytes(data, size))
                               .value_or(QList<ProcessInspector::WorkingProcess>());
    for (const ProcessInspector::WorkingProcess& process : processes) {
        if (process.pid <= 0 || process.cwd.isEmpty())
            __builtin_trap();
        ProcessInspector::displayName(process);
    }
    ProcessInspector::inside(processes, QStringLiteral("/Users/me/project"));
    return 0;
}
