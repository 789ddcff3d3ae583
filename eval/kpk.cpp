#include "eval/kpk.h"

#include "board/attacks.h"

namespace vorn {

uint8_t kpk_table[2][32][64][64];

namespace {

// Entry values. The solve below only decides won or not won; impossible and
// unknown are left on the first rank (no pawn stands there) and on the
// eighth, where a new queen the lone king can take is neither.
constexpr uint8_t kImpossible = 0;
constexpr uint8_t kNotWon = 1;
constexpr uint8_t kWon = 2;
constexpr uint8_t kUnknown = 4;

int pawn_index(int pawn) { return (pawn & 7) + 4 * (pawn >> 3); }

// Every square next to one of `squares`.
Bitboard king_steps(Bitboard squares) {
    Bitboard beside = ((squares & ~file_bits(7)) << 1) | ((squares & ~file_bits(0)) >> 1);
    Bitboard row = squares | beside;
    return beside | (row << 8) | (row >> 8);
}

// The lone king's squares that make a position with the pawn's side's king
// on k and the pawn on `pawn`: three distinct squares and the kings apart.
// With the pawn's side to move, the lone king must not stand in check.
Bitboard lone_king_squares(int pawn, int k) {
    if (k == pawn) return 0;
    return ~(king_attacks[k] | square_bit(k) | square_bit(pawn));
}
Bitboard lone_king_squares_in_turn(int pawn, int k) {
    return lone_king_squares(pawn, k) & ~pawn_attacks[kWhite][pawn];
}

// Won positions as sets of the lone king's square, per pawn square (files
// a-d) and square of the other king: [0] the pawn's side to move, [1] the
// lone king to move.
using WonSets = Bitboard[2][64][64];

// A pawn on the eighth rank is a new queen: won with its side to move, and
// with the lone king to move unless the king can take it.
void queen_rank(WonSets& won, int pawn) {
    for (int k = 0; k < 64; ++k) {
        Bitboard squares = lone_king_squares(pawn, k);
        won[0][pawn][k] = squares;
        won[1][pawn][k] = (king_attacks[k] & square_bit(pawn)) ? squares : squares & ~king_attacks[pawn];
    }
}

// Solves one pawn square once the squares the pawn can advance to are
// solved. The pawn's side wins where some move reaches a won position; the
// lone king loses where it has a move and every move (taking an undefended
// pawn included) reaches one. Starting from nothing won and repeating until
// nothing changes gives exactly the positions won in a finite number of
// moves, in whatever order they are found.
void solve_pawn_square(WonSets& won, int pawn) {
    Bitboard advance[64];
    for (int k = 0; k < 64; ++k) {
        advance[k] = won[1][pawn + 8][k];
        if (pawn < 16) advance[k] |= won[1][pawn + 16][k] & lone_king_squares(pawn + 8, k);
        won[0][pawn][k] = won[1][pawn][k] = 0;
    }
    Bitboard* pawn_side = won[0][pawn];
    Bitboard* lone_side = won[1][pawn];
    for (bool changed = true; changed;) {
        changed = false;
        for (int k = 0; k < 64; ++k) {
            Bitboard reach = advance[k];
            for (Bitboard b = king_attacks[k]; b; b &= b - 1) reach |= lone_side[lowest_square(b)];
            Bitboard next = lone_king_squares_in_turn(pawn, k) & reach;
            changed |= next != pawn_side[k];
            pawn_side[k] = next;
        }
        for (int k = 0; k < 64; ++k) {
            Bitboard moves = lone_king_squares_in_turn(pawn, k);
            Bitboard escapes = moves & ~pawn_side[k];
            if (!(king_attacks[k] & square_bit(pawn))) escapes |= square_bit(pawn);
            Bitboard next = lone_king_squares(pawn, k) & king_steps(moves) & ~king_steps(escapes);
            changed |= next != lone_side[k];
            lone_side[k] = next;
        }
    }
}

void write_row(uint8_t* row, Bitboard won_squares, Bitboard possible, uint8_t otherwise) {
    for (int w = 0; w < 64; ++w)
        row[w] = (won_squares >> w) & 1 ? kWon : (possible >> w) & 1 ? otherwise : kImpossible;
}

}  // namespace

void init_kpk_table() {
    static WonSets won;
    for (int file = 0; file < 4; ++file) {
        queen_rank(won, 56 + file);
        for (int pawn = 48 + file; pawn >= 8; pawn -= 8) solve_pawn_square(won, pawn);
    }
    for (int pawn = 0; pawn < 64; ++pawn) {
        if ((pawn & 7) > 3) continue;
        const int idx = pawn_index(pawn);
        for (int k = 0; k < 64; ++k) {
            if (pawn < 8) {
                write_row(kpk_table[0][idx][k], 0, lone_king_squares_in_turn(pawn, k), kUnknown);
                write_row(kpk_table[1][idx][k], 0, lone_king_squares(pawn, k), kUnknown);
            } else if (pawn >= 56) {
                write_row(kpk_table[0][idx][k], won[0][pawn][k], 0, kUnknown);
                write_row(kpk_table[1][idx][k], won[1][pawn][k], lone_king_squares(pawn, k), kUnknown);
            } else {
                write_row(kpk_table[0][idx][k], won[0][pawn][k], ~0ull, kNotWon);
                write_row(kpk_table[1][idx][k], won[1][pawn][k], ~0ull, kNotWon);
            }
        }
    }
}
bool kpk_won(int pawn_side, int pawn_square, int strong_king, int weak_king,
             bool pawn_side_to_move) {
    if (pawn_side == 1) {  // turn the board so the pawn moves up
        pawn_square = 63 - pawn_square;
        strong_king = 63 - strong_king;
        weak_king = 63 - weak_king;
    }
    if ((pawn_square & 7) > 3) {  // mirror onto files a-d
        pawn_square ^= 7;
        strong_king ^= 7;
        weak_king ^= 7;
    }
    return kpk_table[pawn_side_to_move ? 0 : 1][pawn_index(pawn_square)][strong_king][weak_king] ==
           kWon;
}

}  // namespace vorn
