#include "board/attacks.h"

namespace vorn {

Bitboard pawn_attacks[2][65];
Bitboard knight_attacks[65];
Bitboard king_attacks[65];
Bitboard ray[8][65];
Bitboard diagonal_mask[65];
Bitboard orthogonal_mask[65];
Bitboard between[65][65];

namespace {

// File and rank steps of the eight ray directions, in RayDirection order.
constexpr int kRayFileStep[8] = {0, 1, 1, -1, 0, -1, -1, 1};
constexpr int kRayRankStep[8] = {1, 0, 1, 1, -1, 0, -1, -1};

Bitboard bit_if_on_board(int file, int rank) {
    return (file >= 0 && file < 8 && rank >= 0 && rank < 8) ? square_bit(rank * 8 + file) : 0;
}

int sign(int x) { return (x > 0) - (x < 0); }

}  // namespace

void init_attack_tables() {
    static constexpr int kKnightSteps[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2},
                                               {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
    for (int sq = 0; sq < 64; sq++) {
        int f = file_of(sq), r = rank_of(sq);
        pawn_attacks[kWhite][sq] = r < 7 ? bit_if_on_board(f - 1, r + 1) | bit_if_on_board(f + 1, r + 1) : 0;
        pawn_attacks[kBlack][sq] = r > 0 ? bit_if_on_board(f - 1, r - 1) | bit_if_on_board(f + 1, r - 1) : 0;
        knight_attacks[sq] = 0;
        for (const auto& step : kKnightSteps) knight_attacks[sq] |= bit_if_on_board(f + step[0], r + step[1]);
        king_attacks[sq] = 0;
        for (int df = -1; df <= 1; df++)
            for (int dr = -1; dr <= 1; dr++)
                if (df || dr) king_attacks[sq] |= bit_if_on_board(f + df, r + dr);
        for (int d = 0; d < 8; d++) {
            ray[d][sq] = 0;
            for (int tf = f + kRayFileStep[d], tr = r + kRayRankStep[d];
                 tf >= 0 && tf < 8 && tr >= 0 && tr < 8; tf += kRayFileStep[d], tr += kRayRankStep[d])
                ray[d][sq] |= square_bit(tr * 8 + tf);
        }
        orthogonal_mask[sq] = ray[kNorth][sq] | ray[kEast][sq] | ray[kSouth][sq] | ray[kWest][sq];
        diagonal_mask[sq] = ray[kNorthEast][sq] | ray[kNorthWest][sq] | ray[kSouthWest][sq] |
                            ray[kSouthEast][sq];
    }
    for (int a = 0; a < 65; a++)
        for (int b = 0; b < 65; b++) between[a][b] = 0;
    for (int a = 0; a < 64; a++) {
        for (int b = 0; b < 64; b++) {
            int df = file_of(b) - file_of(a), dr = rank_of(b) - rank_of(a);
            if (a == b || !(df == dr || df == -dr || df == 0 || dr == 0)) continue;
            int step = sign(dr) * 8 + sign(df);
            for (int s = a + step; s != b; s += step) between[a][b] |= square_bit(s);
        }
    }
    // Entry 64 ("no square") stays empty in every table.
    pawn_attacks[0][64] = pawn_attacks[1][64] = knight_attacks[64] = king_attacks[64] = 0;
    diagonal_mask[64] = orthogonal_mask[64] = 0;
    for (int d = 0; d < 8; d++) ray[d][64] = 0;
}

bool is_attacked(const Position& pos, int square, int side) {
    const Bitboard* p = pos.pieces[side];
    if ((p[kPawn] & pawn_attacks[side ^ 1][square]) | (p[kKnight] & knight_attacks[square]) |
        (p[kKing] & king_attacks[square]))
        return true;
    Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    for (Bitboard b = (p[kBishop] | p[kQueen]) & diagonal_mask[square]; b; b &= b - 1)
        if (!(between[lowest_square(b)][square] & occupancy)) return true;
    for (Bitboard b = (p[kRook] | p[kQueen]) & orthogonal_mask[square]; b; b &= b - 1)
        if (!(between[lowest_square(b)][square] & occupancy)) return true;
    return false;
}

}  // namespace vorn
