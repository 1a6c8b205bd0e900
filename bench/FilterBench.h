#pragma once

namespace corvane::bench {

// `corvane_ui_bench --filter`: feeds 2,000 made-up projects into the real main window through a
// scan stream of its own, then types into the project list's filter key by key and deletes the
// text again, and reports the longest time a key took until the list had followed it (the model
// narrowed, the view laid out and drawn). Returns the process's exit status: 0 within the goal.
int runFilterBench(int argc, char** argv);

} // namespace corvane::bench
