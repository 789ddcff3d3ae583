#pragma once
// Program entry: the fixed start-up order, one mode, the fixed shutdown.

namespace vorn {

// Returns the process exit status: 0 after a normal run, 1 when thread block 0,
// the transposition table or the worker threads cannot be created.
int run_engine(int argc, const char* const* argv);

}  // namespace vorn
