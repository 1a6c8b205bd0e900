// The size ("1.2GB", "512kB") and date texts docker prints, one per line.
#include "FuzzSupport.h"
#include "devtools/DockerService.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::DockerService;
    for (const QByteArray& line : corvane::fuzz::bytes(data, size).split('\n')) {
        const QString text = QString::fromUtf8(line);
        if (const std::optional<qint64> bytes = DockerService::parseSize(text); bytes && *bytes < 0)
            __builtin_trap();
        if (const std::optional<QDateTime> date = DockerService::parseDate(text);
            date && !date->isValid())
            __builtin_trap();
    }
    return 0;
}
