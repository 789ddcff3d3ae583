#pragma once
// King and pawn against king: a won/not-won table built by retrograde
// analysis at start-up.

#include <cstdint>

namespace vorn {

// [0: pawn's side to move, 1: lone king to move][pawn file a-d + 4 x rank]
// [square of the pawn side's king][square of the lone king], with the pawn's
// side as White moving up the board. 2 = won; every other entry means not won
// once the table is built.
extern uint8_t kpk_table[2][32][64][64];

// Builds kpk_table; call once at start-up before any evaluation.
void init_kpk_table();

// True when the side owning the pawn wins. Squares as on the board; `pawn_side`
// is the pawn's colour and `pawn_side_to_move` whether that side moves.
bool kpk_won(int pawn_side, int pawn_square, int strong_king, int weak_king,
             bool pawn_side_to_move);

}  // namespace vorn
