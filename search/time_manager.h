#pragma once
// The search clock and the decision when to stop. The main thread calls
// check_time from its polling loop; workers never stop on the clock by
// themselves, they only read elapsed_now() for their progress lines.

#include "search/search_limits.h"

namespace vorn {

// Seconds since the search started, as of the last read_clock(0).
extern double elapsed;

// reset != 0: the search starts now (elapsed = 0); otherwise elapsed = now - start.
void read_clock(int reset);

// Seconds since the last read_clock(1), without touching `elapsed`; safe
// from any thread.
double elapsed_now();

// Fills limits.moves_to_go (clock modes) and limits.target_time for the game
// position and prints the start lines unless the noise silences them.
void compute_target();

// The target for explicit inputs: side to move, plies played since the
// position was set, console (true) or UCI. Updates l.moves_to_go (and the
// clock in fixed-time mode) and l.target_time; returns the target.
double compute_target_time(SearchLimits& l, int side, int plies, bool console);

// Reads the clock and may set stop_signal.
void check_time();

// check_time for a given elapsed time (seconds).
void check_time_at(double seconds);

}  // namespace vorn
