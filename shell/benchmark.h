#pragma once
// The fixed speed benchmark: searches a list of positions one after the
// other and reports the time per position and the total nodes per second.

namespace vorn {

inline constexpr int kBenchPositionCount = 20;
extern const char* const bench_positions[kBenchPositionCount];

// Searches the first `positions` entries (10 or 20) with the current limits
// (depth 17 unless -d gave 40 or less), printing "running benchmark", one
// "pos %2d: %6.2f seconds" line per position and the total line. With
// shell.pbench set the main thread searches block 0 itself; otherwise the
// workers search while input and the clock are polled every millisecond.
// With `summary` a last line "nodes N nps N" follows, in the form test
// frameworks read.
void run_benchmark(int positions, bool summary = false);

}  // namespace vorn
