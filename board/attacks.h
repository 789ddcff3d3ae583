#pragma once
// Precomputed attack tables and the attack queries built on them. Sliding
// attacks come from per-direction rays cut at their nearest blocker.

#include <bit>

#include "board/position.h"
#include "board/types.h"

namespace vorn {

// Ray directions: the first four ascend in square number, the last four descend.
enum RayDirection { kNorth = 0, kEast = 1, kNorthEast = 2, kNorthWest = 3,
                    kSouth = 4, kWest = 5, kSouthWest = 6, kSouthEast = 7 };

// Every table has an all-empty entry for square 64 ("no square"), so that a
// position without a king (possible after a malformed FEN) reads no attacks
// instead of reading past the end.
extern Bitboard pawn_attacks[2][65];
extern Bitboard knight_attacks[65];
extern Bitboard king_attacks[65];
extern Bitboard ray[8][65];
extern Bitboard diagonal_mask[65];
extern Bitboard orthogonal_mask[65];
extern Bitboard between[65][65];

// Builds every table above; call once before any position is used.
void init_attack_tables();

inline int lowest_square(Bitboard b) { return std::countr_zero(b); }
inline int highest_square(Bitboard b) { return 63 - std::countl_zero(b); }

inline Bitboard rook_attacks(int square, Bitboard occupancy) {
    int n = lowest_square((ray[kNorth][square] & occupancy) | square_bit(63));
    int e = lowest_square((ray[kEast][square] & occupancy) | square_bit(63));
    int s = highest_square((ray[kSouth][square] & occupancy) | 1);
    int w = highest_square((ray[kWest][square] & occupancy) | 1);
    return orthogonal_mask[square] ^ ray[kNorth][n] ^ ray[kEast][e] ^ ray[kSouth][s] ^
           ray[kWest][w];
}

inline Bitboard bishop_attacks(int square, Bitboard occupancy) {
    int ne = lowest_square((ray[kNorthEast][square] & occupancy) | square_bit(63));
    int nw = lowest_square((ray[kNorthWest][square] & occupancy) | square_bit(63));
    int sw = highest_square((ray[kSouthWest][square] & occupancy) | 1);
    int se = highest_square((ray[kSouthEast][square] & occupancy) | 1);
    return diagonal_mask[square] ^ ray[kNorthEast][ne] ^ ray[kNorthWest][nw] ^
           ray[kSouthWest][sw] ^ ray[kSouthEast][se];
}

inline Bitboard queen_attacks(int square, Bitboard occupancy) {
    return rook_attacks(square, occupancy) | bishop_attacks(square, occupancy);
}

// True when any piece of `side` attacks `square`.
bool is_attacked(const Position& pos, int square, int side);

}  // namespace vorn
