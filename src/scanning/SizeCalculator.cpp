#include "scanning/SizeCalculator.h"

#include <QFile>
#include <cstdlib>
#include <fts.h>
#include <sys/stat.h>

namespace corvane {
namespace {

constexpr int cancellationCheckInterval = 512;

qint64 checkedAdd(qint64 sum, qint64 bytes) {
    qint64 result = 0;
    if (__builtin_add_overflow(sum, bytes, &result))
        std::abort();
    return result;
}

} // namespace

qint64 SizeCalculator::size(const QString& path, const CancellationToken& cancellation) {
    QByteArray encoded = QFile::encodeName(path);
    char* roots[] = {encoded.data(), nullptr};
    // Physical: links are reported, never followed; no chdir, so threads can measure at once.
    FTS* tree = ::fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    if (!tree)
        return 0;
    qint64 total = 0;
    qint64 entries = 0;
    while (FTSENT* entry = ::fts_read(tree)) {
        if (++entries % cancellationCheckInterval == 0 && cancellation.isCancelled()) {
            ::fts_close(tree);
            throw CancelledError();
        }
        if (entry->fts_info == FTS_F)
            total = checkedAdd(total, static_cast<qint64>(entry->fts_statp->st_blocks) * 512);
    }
    ::fts_close(tree);
    return total;
}

} // namespace corvane
