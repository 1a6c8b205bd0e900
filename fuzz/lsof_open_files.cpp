// lsof's field output ("p<pid>" lines) and ps's "comm" column, as the open-file guard reads them.
#include "FuzzSupport.h"
#include "platform/OpenFileGuard.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using corvane::OpenFileGuard;
    const QByteArray input = corvane::fuzz::bytes(data, size);
    for (const qint64 pid : OpenFileGuard::pidsFromLsof(input).value_or(QList<qint64>())) {
        if (pid <= 0)
            __builtin_trap();
    }
    OpenFileGuard::processName(QString::fromUtf8(input));
    return 0;
}
