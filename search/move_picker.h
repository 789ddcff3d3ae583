#pragma once
// Move ordering: the staged picker of the alpha-beta search (hash move,
// good captures, then quiet moves by history, killers and counter move),
// the one-pass scorer of complete lists, best-first selection, and the
// history, killer and counter-move memories.

#include <cstdint>

#include "board/position.h"
#include "board/types.h"
#include "search/thread_data.h"

namespace vorn {

// Ordering values of captured piece types (none, pawn .. king) and of
// capturing piece types (index = type; pawn 1 .. king 6).
inline constexpr int16_t kVictimValue[7] = {200, 210, 220, 220, 230, 240, 250};
inline constexpr int16_t kAttackerValue[7] = {0, 1, 2, 3, 4, 5, 6};

// Ordering value of a capture (or queen promotion) that keeps its material:
// the most valuable victim first, the least valuable attacker among equals.
inline int capture_order(const MoveEntry& e) {
    return kVictimValue[piece_type(e.victim)] - kAttackerValue[piece_type(e.mover)];
}

// A move equal to the hash move was tried first already, unless that
// attempt found it illegal (no legal move counted yet).
inline bool repeats_hash_move(const SearchStackEntry& ss, const MoveEntry* e) {
    return e->move == ss.hash_move && ss.legal_moves > 0;
}

// next_move for every stage, the end of the list included.
MoveEntry* next_move_staged(ThreadData& td, Position& pos, int ply, bool in_check);

// Next move of the node at `ply` (whose stack entry keeps the stage), or
// null when exhausted: the hash move, the captures that pass the exchange
// test best first, then the quiet moves and the losing captures together
// best first, and the tail of those in list order. The lists live in the
// thread's move buffer (end_move_list). Legality is the caller's test.
// The tail, which needs no choosing and is where most calls land, is handed
// out here without a call.
inline MoveEntry* next_move(ThreadData& td, Position& pos, int ply, bool in_check) {
    SearchStackEntry& ss = td.stack[ply];
    if (ss.stage == STAGE_REMAINING && ss.next->move != kMoveListEnd && !repeats_hash_move(ss, ss.next))
        return ss.next++;
    return next_move_staged(td, pos, ply, in_check);
}

// Swaps the highest-scored entry from `entry` to the end mark into `entry`;
// the earliest wins ties.
void pick_best(MoveEntry* entry);
// The same for a list whose end mark is known to be at `end`.
void pick_best(MoveEntry* entry, const MoveEntry* end);

// Scores a complete list (root, ProbCut) in one pass.
void score_moves(ThreadData& td, const Position& pos, MoveEntry* list);

// 0 when the side to move has a legal move, 1 checkmate, 2 stalemate.
int game_end_state(Position& pos, bool in_check);

// History bonus and malus for a quiet move of `mover` to `to`.
inline void history_bonus(int16_t& h) { h = static_cast<int16_t>(h + (8192 - h) / 64); }
inline void history_malus(int16_t& h) { h = static_cast<int16_t>(h - h / 128); }

// Killer and counter-move update after a cut-off by a non-capture at `ply`.
void update_killers(ThreadData& td, const Position& pos, int ply, Move move, bool in_check);

}  // namespace vorn
