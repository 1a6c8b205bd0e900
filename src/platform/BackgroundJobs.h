#pragma once

#include <functional>

namespace corvane {

// Runs `job` on a thread of its own. Jobs still running when the application object is destroyed
// are waited for then (they should have been cancelled by their owners first), so none outlives
// the objects it uses.
void runInBackground(std::function<void()> job);

} // namespace corvane
