#include "scanning/MeasurementPool.h"

#include "scanning/SizeCalculator.h"

#include <QThread>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace corvane {

struct MeasurementPool::State {
    struct Job {
        QString path;
        OnMeasured onMeasured;
    };

    CancellationToken cancellation;
    std::size_t threadLimit = 2;

    std::mutex lock;
    std::condition_variable workQueued;
    std::condition_variable allDone;
    std::deque<Job> queue;
    std::size_t running = 0;
    std::size_t idleWorkers = 0;
    bool closing = false;
    std::vector<std::thread> workers;

    void work();
    // Takes the next job; false when the pool closes.
    bool take(Job& job);
    void finished();
};

bool MeasurementPool::State::take(Job& job) {
    std::unique_lock guard(lock);
    ++idleWorkers;
    workQueued.wait(guard, [this] { return closing || !queue.empty(); });
    --idleWorkers;
    if (closing)
        return false;
    job = std::move(queue.front());
    queue.pop_front();
    ++running;
    return true;
}

void MeasurementPool::State::finished() {
    std::lock_guard guard(lock);
    --running;
    if (running == 0 && queue.empty())
        allDone.notify_all();
}

void MeasurementPool::State::work() {
    Job job;
    while (take(job)) {
        if (!cancellation.isCancelled()) {
            try {
                const qint64 bytes = SizeCalculator::size(job.path, cancellation);
                job.onMeasured(bytes);
            } catch (const CancelledError&) {
                // Cut short: a partial size would be wrong, so nothing is reported.
            }
        }
        job = {};
        finished();
    }
}

int MeasurementPool::defaultThreadCount() {
    return std::max(2, QThread::idealThreadCount());
}

MeasurementPool::MeasurementPool(CancellationToken cancellation, int threadLimit)
    : state_(std::make_unique<State>()) {
    state_->cancellation = std::move(cancellation);
    state_->threadLimit = static_cast<std::size_t>(std::max(1, threadLimit));
}

MeasurementPool::~MeasurementPool() {
    {
        std::lock_guard guard(state_->lock);
        state_->closing = true;
        state_->queue.clear();
    }
    state_->workQueued.notify_all();
    for (std::thread& worker : state_->workers)
        worker.join();
}

void MeasurementPool::measure(const QString& path, OnMeasured onMeasured) {
    State& state = *state_;
    std::lock_guard guard(state.lock);
    state.queue.push_back({path, std::move(onMeasured)});
    // A new thread only when no worker is free to take the job.
    if (state.idleWorkers < state.queue.size() && state.workers.size() < state.threadLimit)
        state.workers.emplace_back([&state] { state.work(); });
    state.workQueued.notify_one();
}

void MeasurementPool::waitForAll() {
    std::unique_lock guard(state_->lock);
    state_->allDone.wait(guard, [this] { return state_->queue.empty() && state_->running == 0; });
}

} // namespace corvane
