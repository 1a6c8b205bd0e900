#include "platform/WorkQueue.h"

#include "platform/BackgroundJobs.h"

#include <QThread>
#include <algorithm>

namespace corvane {

WorkQueue::WorkQueue(int width) {
    threads_.reserve(static_cast<size_t>(std::max(1, width)));
    for (int index = 0; index < std::max(1, width); ++index)
        threads_.emplace_back([this] {
            yieldToTheWindow();
            work();
        });
}

WorkQueue::~WorkQueue() {
    {
        std::lock_guard guard(lock_);
        stopping_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
}

void WorkQueue::enqueue(std::function<void()> job) {
    {
        std::lock_guard guard(lock_);
        jobs_.push_back(std::move(job));
    }
    changed_.notify_one();
}

void WorkQueue::waitUntilIdle() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return jobs_.empty() && running_ == 0; });
}

void WorkQueue::discardQueued() {
    {
        std::lock_guard guard(lock_);
        jobs_.clear();
    }
    changed_.notify_all();
}

int WorkQueue::defaultWidth() {
    return std::max(2, QThread::idealThreadCount());
}

void WorkQueue::work() {
    for (;;) {
        std::function<void()> job;
        {
            std::unique_lock guard(lock_);
            changed_.wait(guard, [this] { return stopping_ || !jobs_.empty(); });
            if (jobs_.empty())
                return;
            job = std::move(jobs_.front());
            jobs_.pop_front();
            ++running_;
        }
        job();
        {
            std::lock_guard guard(lock_);
            --running_;
        }
        changed_.notify_all();
    }
}

} // namespace corvane
