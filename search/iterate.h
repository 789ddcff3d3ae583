#pragma once
// Iterative deepening and the root search. Every worker runs
// iterative_deepening on its own block; the first worker (index 1, or block
// 0 when the main thread searches by itself) publishes results and prints
// the progress lines.

#include <atomic>
#include <cstdint>

namespace vorn {

struct ThreadData;

// Search-wide state shared by the workers, reset by prepare_search.
extern std::atomic<int> last_change_depth;  // completed depth at which the best move last changed
extern std::atomic<int> global_depth;       // the first worker's running depth
extern std::atomic<int> finished_depth;     // last depth the first worker completed
extern std::atomic<double> finished_time;   // elapsed seconds at that point
extern std::atomic<int> easy_move;          // 0, 1 only one legal move, 2 clearly best move
extern std::atomic<int> root_tb_result;     // -1 none, else 0 loss .. 4 win
extern uint16_t root_tb_move;
extern int root_tb_score[2];
extern int draw_value[2];                   // repetition value per side (contempt)

// Half-width of the first aspiration window at `depth` around the previous
// score, and the window itself (edges in the mate range opened to the full window).
int aspiration_width(int depth, int prev);
void aspiration_window(int depth, int prev, int* alpha, int* beta);

// The depth a secondary worker searches when its turn for depth d comes:
// d + 1 once enough workers are already on d or deeper.
int secondary_iteration_depth(int d);

// Runs one whole search on the block's position; returns when done.
void iterative_deepening(int thread_index);

// Searches the root moves from list position pv_index on at one depth.
void root_search(ThreadData& td, int depth, int pv_index);

// First worker only: copies the block's result into search_result when it
// improves on what is published, and prints it.
void publish_result(ThreadData& td);

// One progress line (UCI "info ... pv ..." or the console form) under the
// output lock. pv_index -1 marks an interim line; pv holds the moves from
// index 1, zero-terminated.
void print_search_line(int thread_index, int pv_index, int depth, int score, const uint16_t* pv);

// (nodes of the last completed iteration / nodes four iterations earlier)^0.25
// for the first worker; 2.0 below depth 6 or without counts.
double effective_branching_factor();

}  // namespace vorn
