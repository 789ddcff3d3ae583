#pragma once
// Scratch state of one evaluation call, and the two values the evaluation
// leaves in the search stack for the search.

#include <cstdint>

#include "board/position.h"
#include "board/types.h"

namespace vorn {

struct PawnHashEntry;
struct LinearTrace;

// Held by the search's SearchStackEntry (one per ply).
struct EvalStackOutput {
    // Per side: the danger to that side found by the evaluation (hung pieces,
    // enemy passed pawns, queen contact on its king). Zeroed by evaluate.
    int16_t threat[2];
    // 1 when the material left cannot win for either side.
    uint8_t material_draw;
};

// Term groups of the trace, in report order after material and position.
enum TraceGroup { kTracePawns = 0, kTraceKnights, kTraceBishops, kTraceRooks,
                  kTraceQueens, kTraceKings, kTracePassers, kTraceGroups };

// Per-term breakdown gathered only while a traced evaluation runs.
struct EvalTraceScratch {
    int16_t group_op[kTraceGroups][2];
    int16_t group_en[kTraceGroups][2];
    int16_t square_op[64];
    int16_t square_en[64];
};

struct EvalInfo {
    const Position* pos;
    EvalStackOutput* stack;
    const PawnHashEntry* pawn_entry;
    Bitboard occupancy;
    int king_square[2];

    // Attack maps per side.
    Bitboard pawn_att[2];
    Bitboard knight_att[2];
    Bitboard bishop_att[2];
    Bitboard rook_att[2];
    Bitboard queen_att[2];
    Bitboard king_att[2];
    Bitboard all_att[2];
    Bitboard twice_att[2];

    Bitboard king_zone[2];       // around each side's own king
    Bitboard mobility_area[2];
    Bitboard outpost_zone[2];
    // Squares from which a piece of this side would check the enemy king.
    Bitboard safe_knight_checks[2];
    Bitboard safe_diag_checks[2];
    Bitboard safe_orth_checks[2];
    Bitboard blocked_by_pawn[2]; // own pawns with an enemy pawn right in front
    Bitboard pinned;
    Bitboard hung;

    int16_t pos_op[2];
    int16_t pos_en[2];
    int16_t mat_op[2];
    int16_t mat_en[2];

    int pawn_count[2];
    int phase_count[2];
    int stage;
    int king_attacks_count[2];   // raised by this side's pieces near the enemy king
    int closed_value;
    bool rank7_flag[2];
    bool pawn_hash_hit;
    bool trace;
    EvalTraceScratch tr;
    LinearTrace* linear;         // the tuner's record of this call, or null
};

}  // namespace vorn
