#pragma once

#include <functional>

namespace corvane {

// Runs `job` on a thread of its own. Jobs still running when the application object is destroyed
// are waited for then (they should have been cancelled by their owners first), so none outlives
// the objects it uses.
void runInBackground(std::function<void()> job);

// Lowers the calling thread's priority below the window's, once per thread: on a machine with few
// cores, walks and measurements that keep every core busy must not keep the window from answering.
// Background jobs and work queues call it on their threads.
void yieldToTheWindow();

// Blocks until every job started so far has ended. For tests, which must see a job's effects (or
// their absence) before they look.
void waitForBackgroundJobs();

} // namespace corvane
