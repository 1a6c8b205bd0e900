#include "platform/MeasurementPool.h"

#include "platform/SizeCalculator.h"
#include "platform/WorkQueue.h"

namespace corvane {

struct MeasurementPool::State {
    State(CancellationToken token, int threadLimit)
        : cancellation(std::move(token))
        , queue(threadLimit) {}

    CancellationToken cancellation;
    WorkQueue queue;
};

int MeasurementPool::defaultThreadCount() {
    return WorkQueue::defaultWidth();
}

MeasurementPool::MeasurementPool(CancellationToken cancellation, int threadLimit)
    : state_(std::make_unique<State>(std::move(cancellation), threadLimit)) {}

MeasurementPool::~MeasurementPool() {
    state_->queue.discardQueued();
}

void MeasurementPool::measure(const QString& path, OnMeasured onMeasured) {
    state_->queue.enqueue(
        [path, onMeasured = std::move(onMeasured), cancellation = state_->cancellation] {
            if (cancellation.isCancelled())
                return;
            try {
                onMeasured(SizeCalculator::size(path, cancellation));
            } catch (const CancelledError&) {
                // Cut short: a partial size would be wrong, so nothing is reported.
            }
        });
}

void MeasurementPool::waitForAll() {
    state_->queue.waitUntilIdle();
}

} // namespace corvane
