#pragma once

#include "scanning/ScanModel.h"
#include "scanning/ScanStream.h"

#include <memory>

namespace corvane {

// Runs one scan of a folder: walks it, inspects each git working tree once (with bounded
// parallelism), classifies candidate folders and measures every item, streaming `ScanEvent`s.
// For one project, `gitStatusUpdated` comes before `itemsClassified`, which comes before its
// `sizeUpdated` events; the stream always ends with `scanCompleted`, also when cancelled.
struct ScanEngine {
    // Starts the scan at once on background threads. The stream belongs to the calling thread;
    // destroying it cancels the scan.
    static std::unique_ptr<ScanStream> scan(const QString& root, const ScanOptions& options);
};

} // namespace corvane
