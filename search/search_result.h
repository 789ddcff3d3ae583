#pragma once
// The one record that carries a search's outcome to the shell's printer.
// Written by the first worker under result_lock while the search runs; the
// shell reads it once every worker is idle.

#include <cstdint>

#include "core/score.h"

namespace vorn {

inline constexpr int kMaxPly = 70;  // search stack and principal-variation length

struct SearchResult {
    uint16_t best_move = 0;     // pv[1]
    uint16_t ponder_move = 0;   // pv[2]
    int16_t score = -kInfinite;
    int16_t depth = 0;
    uint16_t pv[kMaxPly] = {};  // index 1 = best move, zero-terminated
    double elapsed = 0.0;       // seconds, set by sum_counters

    // Totals over all workers, filled by sum_counters.
    uint64_t nodes = 0;
    uint64_t hash_probes = 0;
    uint64_t hash_hits = 0;
    uint64_t pawn_probes = 0;
    uint64_t pawn_hits = 0;
    uint64_t eval_probes = 0;
    uint64_t eval_hits = 0;
    uint64_t tb_hits = 0;
    double hash_fill = 0.0;

    // Score and best move recorded for each completed depth.
    int16_t depth_score[kMaxPly] = {};
    uint16_t depth_move[kMaxPly] = {};
};

extern SearchResult search_result;

// Resets the result for a new search: no move, score -kInfinite, depth 0.
void reset_search_result();

}  // namespace vorn
