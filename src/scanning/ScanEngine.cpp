#include "scanning/ScanEngine.h"

#include "platform/BackgroundJobs.h"
#include "scanning/ScanRun.h"

namespace corvane {

std::unique_ptr<ScanStream> ScanEngine::scan(const QString& root, const ScanOptions& options) {
    ScanStream::Pair pair = ScanStream::create();
    runInBackground([sink = pair.sink, root, options] { ScanRun(sink, root, options).run(); });
    return std::move(pair.stream);
}

} // namespace corvane
