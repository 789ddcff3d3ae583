#pragma once
// Static evaluation of a position, from the side to move's view.

#include <cstdint>

#include "board/position.h"
#include "core/score.h"
#include "eval/eval_cache.h"
#include "eval/eval_info.h"
#include "eval/pawn_hash.h"

namespace vorn {

struct LinearTrace;

// Everything the evaluation keeps per search thread. The search's ThreadData
// holds one as its member `eval`; it is large (about 0.8 MB), so it belongs
// in heap-allocated blocks.
struct EvalThreadState {
    EvalInfo info;
    EvalCacheEntry cache[kEvalCacheSize];
    PawnHashEntry pawn_hash[kPawnHashSize];
    uint64_t eval_probes = 0;
    uint64_t eval_hits = 0;
    uint64_t pawn_probes = 0;
    uint64_t pawn_hits = 0;
    // Set by the search while it searches. Outside a search (console, tools,
    // the depth-0 driver) both caches are written but never read, so every
    // such evaluation is computed afresh.
    bool searching = false;
    // Set for search thread 1: its non-searching evaluation at ply 1 fills
    // the process-wide trace (eval/eval_trace.h).
    bool trace_thread = false;
    // When set, every evaluation on this state records its linear part here
    // (the tuner's trace, eval/linear_trace.h).
    LinearTrace* linear = nullptr;
};

// Clears both caches and the counters (stale entries are harmless anyway,
// since full keys are compared).
void clear_eval_state(EvalThreadState& state);

constexpr int kInCheckScore = -kInfinite;

// Score of `pos` for its side to move. `ply` is the search ply (1 at the
// root); `out` is that ply's stack entry: evaluate zeroes it (unless in
// check) and fills threat and material_draw. In check: kInCheckScore at once.
// Needs init_attack_tables, init_hash_keys_tables, init_kpk_table and
// init_eval_tables to have run. Never allocates.
int evaluate(const Position& pos, EvalThreadState& state, EvalStackOutput& out, int ply,
             bool in_check);

}  // namespace vorn
