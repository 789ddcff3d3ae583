#include "search/search_trace.h"

#include <cstdio>

#include "board/make_move.h"
#include "board/notation.h"
#include "core/output.h"
#include "search/thread_data.h"

namespace vorn {

int16_t trace_depth = 0;

namespace {

std::FILE* trace_file = nullptr;
int last_iteration = 0;  // iteration depth of the last line written
int last_ply = 0;        // ply of the last move written

// Called by make_move (and by the search before a null move) on every
// thread; only the first worker's moves are written, so the tree is one
// search's and lines never mix.
void trace_move(const Position& pos, Move move) {
    ThreadData* first = thread_table[1];
    if (!first || &pos != &first->pos) return;
    const int ply = first->ply;
    if (ply > trace_depth || ply >= kMaxPly) return;
    if (!trace_file) {
        trace_file = std::fopen("trace.txt", "w");
        if (!trace_file) {
            // Only this thread reads trace_depth during a search; the hook
            // itself stays until the next "trace" command.
            send_line("cannot write trace.txt; the search trace is off");
            trace_depth = 0;
            return;
        }
        last_iteration = last_ply = 0;
    }
    const int iteration = first->iteration_depth.load(std::memory_order_relaxed);
    // A new search starts again at depth 1, so any change of depth opens a block.
    if (iteration != last_iteration) std::fprintf(trace_file, "\n\nSEARCH DEPTH= %d\n", iteration);
    if (ply <= last_ply) {
        std::fputc('\n', trace_file);
        for (int i = 1; i < ply; ++i) std::fputs("         ", trace_file);
    }
    char text[kMoveTextSize];
    std::fprintf(trace_file, "(%2d)%s ", first->stack[ply].depth, move_to_text(move, text));
    // Flushed at once: the trace is read while the engine still runs.
    std::fflush(trace_file);
    last_iteration = iteration;
    last_ply = ply;
}

}  // namespace

void set_search_trace(int plies) {
    trace_depth = static_cast<int16_t>(plies < 0 ? 0 : plies > kMaxPly ? kMaxPly : plies);
    move_trace_hook = trace_depth ? trace_move : nullptr;
}

}  // namespace vorn
