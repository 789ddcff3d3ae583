#pragma once
// Pseudo-legal move generators. Each appends to the list at `list` and returns
// the new first free element; the caller writes the end mark. Moves come in
// a fixed order that the move picker and perft rely on.

#include "board/position.h"
#include "board/types.h"

namespace vorn {

MoveEntry* gen_pawn_captures(const Position& pos, int side, MoveEntry* list);
MoveEntry* gen_piece_captures(const Position& pos, int side, MoveEntry* list);
MoveEntry* gen_promotions(const Position& pos, int side, MoveEntry* list);
MoveEntry* gen_quiet_moves(const Position& pos, int side, MoveEntry* list);

// All four groups for the side to move, then the end mark 0xFFFF. Returns the
// element holding the end mark. The list needs room for kMaxMoves entries.
MoveEntry* generate_all(const Position& pos, MoveEntry* list);

}  // namespace vorn
