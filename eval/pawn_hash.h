#pragma once
// Pawn structure: the per-pawn terms kept in a per-thread pawn hash, the
// blocked-pawn penalties, passed and candidate pawns.

#include <cstdint>

#include "board/position.h"
#include "board/types.h"
#include "eval/eval_info.h"

namespace vorn {

// One slot of the pawn hash (indexed by the low 13 bits of pawn_key).
struct PawnHashEntry {
    uint64_t key;
    Bitboard attack_span[2];  // squares own pawns could ever attack by advancing
    Bitboard passed;          // passed pawns of both colours
    Bitboard candidates;      // candidate passed pawns of both colours
    int16_t score_op[2];
    int16_t score_en[2];
    uint16_t files[2];        // bit f: the side has a pawn on file f
};

constexpr int kPawnHashSize = 8192;

// Probes (only while searching) or fills the pawn hash slot of the position,
// adds the per-pawn scores to the positional accumulators and applies the
// blocked-pawn penalties. Sets info.pawn_entry and info.blocked_by_pawn.
template <bool Traced>
void evaluate_pawns(EvalInfo& info, PawnHashEntry* table, bool searching,
                    uint64_t& probes, uint64_t& hits);

// Passed pawns and, from stage 14 on, candidate passers.
template <bool Traced>
void evaluate_passers(EvalInfo& info);

// Per-pawn terms of both sides computed from scratch into `entry`. `booking`
// is the evaluation that traces its terms (the report's trace or the tuner's
// linear trace), else null.
void compute_pawn_entry(const Position& pos, PawnHashEntry& entry, EvalInfo* booking);

}  // namespace vorn
