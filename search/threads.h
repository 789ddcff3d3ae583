#pragma once
// The pool of worker threads. Each worker owns thread block `index` and runs
// the whole iterative deepening on its own copy of the game position when
// its state byte is set to WORKER_SEARCH; the main thread only prepares, starts, polls
// and stops them.

#include <cstdint>
#include <mutex>

namespace vorn {

// Guards SearchResult (publish_result and its readers).
extern std::mutex result_lock;
// Serialises every progress line and the counter sums taken for it.
extern std::mutex output_lock;

// Creates n detached workers (indices 1..n, n clamped to 1..64) and waits
// until each has allocated its block. Returns 0 or the thread library's error.
int start_threads(int n);

// Stops any search (STOP_EXIT), waits until every worker is idle, then
// tells workers 1..n to exit and waits until they have.
void stop_threads(int n);

// Per-search set-up before the workers start: result and per-depth state
// reset, table generation, draw values, time target, every block's counters
// cleared and the game position copied into each worker's block.
void prepare_search();

// Sets the state of workers 1..threads to "search"; the first gets a 5 ms
// head start when there are others.
void start_workers();

// Sum of the workers' state bytes: 0 when all are idle.
int count_searching();

// Starts the workers on the prepared search and waits until they finish,
// checking the clock and, between checks, sleeping 1 ms and calling
// `serve_input`. With `quiet_once_stopped` the input waits, and the loop
// no longer sleeps, once the stop flag is set.
void search_and_wait(void (*serve_input)(), bool quiet_once_stopped = false);

// Adds up every block's counters into search_result's totals and records
// the elapsed time.
void sum_counters();

// Only the node and tablebase-hit totals, safe while workers run.
uint64_t sum_node_counters(uint64_t* tb_hits);

}  // namespace vorn
