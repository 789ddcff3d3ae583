#pragma once
// The search trace: every move the first worker makes down to a given ply,
// written to "trace.txt" as an indented tree, one block per iteration.

#include <cstdint>

namespace vorn {

// Plies traced; 0 = off. Set through set_search_trace only.
extern int16_t trace_depth;

// Turns the trace on to `plies` plies, or off with 0. Call only while no
// search runs. "trace.txt" is created (emptied) when the first move is
// traced; when it cannot be, one line says so and the trace goes off.
void set_search_trace(int plies);

}  // namespace vorn
