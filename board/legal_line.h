#pragma once
// Moves that do not come from this position's own generator: whether a move
// read from a command or a line of moves is legal, and whether a table
// entry's move is one the generator would produce.

#include <cstdint>

#include "board/position.h"
#include "board/types.h"

namespace vorn {

// True when move is a legal move of the side to move in pos.
bool is_legal_move(const Position& pos, Move move);

// True when the generators would produce move for the side to move in pos:
// the side's piece on the from-square, a target that is not its own, a clear
// path for a slider, a pawn step, double step, capture or en-passant capture
// with the promotion flag exactly when it reaches the last rank, or a
// castling move. Whether the king is left in check is not tested (is_legal).
// Cheap enough for every move read from the transposition table.
bool is_pseudo_legal(const Position& pos, Move move);

// How many moves at the start of line (zero-terminated, at most max_length
// read) can be played one after the other from pos. The position is not
// changed; a line that goes on after a mate is cut there.
int legal_line_length(const Position& pos, const uint16_t* line, int max_length);

}  // namespace vorn
