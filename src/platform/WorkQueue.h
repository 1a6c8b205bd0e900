#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corvane {

// A fixed number of worker threads that run jobs in the order they were queued. Bounding the
// width is the point: a scan queues one job per repository or folder, and only `width` of them
// (and so of their child processes) run at once. The destructor waits for queued jobs to finish.
class WorkQueue {
public:
    explicit WorkQueue(int width);
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;
    ~WorkQueue();

    void enqueue(std::function<void()> job);
    // Blocks until every job queued so far has finished.
    void waitUntilIdle();
    // Drops the jobs that have not started; running ones go on.
    void discardQueued();

    // The number of active processor cores, but at least 2.
    static int defaultWidth();

private:
    void work();

    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_;
    int running_ = 0;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

} // namespace corvane
