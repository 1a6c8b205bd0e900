#pragma once

namespace corvane::bench {

// `corvane_ui_bench --agent-storage HOME`: opens the coding agents' Storage tab in the real main
// window over HOME (the agents bench's home of 20,000 sessions), waits until the store is
// measured and listed, then ticks one session and reports the longest gap of a 10 ms main-thread
// timer through it all and the slowest events. Returns 0 within the 50 ms goal.
int runAgentStorageBench(int argc, char** argv);

} // namespace corvane::bench
