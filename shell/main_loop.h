#pragma once
// Normal play: the main thread sleeps in 5 ms slices, reads commands, starts
// searches on the workers, watches the clock and reports finished searches.

namespace vorn {

// Runs until "quit" (or the end of input); returns to the shutdown.
void run_normal_play();

// Prints the result of the finished search: the final progress line, then
// "bestmove" (UCI) or the console summary; in console self-play the move is
// played and the next search requested.
void report_search();

}  // namespace vorn
