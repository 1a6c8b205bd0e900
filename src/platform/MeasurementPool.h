#pragma once

#include "platform/Cancellation.h"

#include <QString>
#include <functional>
#include <memory>

namespace corvane {

// Measures folders with SizeCalculator on a few worker threads of its own and reports each size
// as soon as it is known. Paths can be queued at any moment, so measuring the first project's
// items overlaps the git inspection of the next ones. Measurements run in the order queued.
//
// At most `threadLimit` measurements run at once. Destroying the pool drops what has not
// started and waits for the measurements that are running; cancel the token first so that those
// stop at their next check instead of finishing.
class MeasurementPool {
public:
    // Called on a worker thread, possibly at the same time as other reports; must not throw.
    using OnMeasured = std::function<void(qint64 bytes)>;

    // max(2, the number of cores): measuring waits on the disk as much as on the processor.
    static int defaultThreadCount();

    explicit MeasurementPool(CancellationToken cancellation,
                             int threadLimit = defaultThreadCount());
    ~MeasurementPool();

    MeasurementPool(const MeasurementPool&) = delete;
    MeasurementPool& operator=(const MeasurementPool&) = delete;

    // Queues one measurement. Once the token is cancelled, measurements still queued or cut short
    // are never reported.
    void measure(const QString& path, OnMeasured onMeasured);
    // Blocks until every measurement queued so far has been reported or dropped.
    void waitForAll();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace corvane
