#pragma once
// Conversions between moves and text: coordinate notation, the four
// algebraic forms, and the parser that accepts any of them.

#include "board/position.h"
#include "board/types.h"

namespace vorn {

extern const char square_names[64][3];

// Buffers for move texts must hold kMoveTextSize characters.
constexpr int kMoveTextSize = 16;

// "e2e4", "e7e8q" (UCI mode) or "e7e8=Q" (console mode), "null" for move 0.
// Returns the buffer.
char* move_to_text(Move move, char* buffer);

// Fills the coordinate form and the three algebraic forms (plain, with the
// from-file, with the from-rank) of a pseudo-legal move of the side to move.
void move_to_san(const Position& pos, Move move, char* coordinate, char* san,
                 char* san_with_file, char* san_with_rank);

// Finds the one legal move of `pos` the text names. Returns 1 and stores it,
// or 0 (after printing "ambiguous move" when two moves match).
int parse_move(const Position& pos, const char* text, Move* result);

}  // namespace vorn
