#include "eval/kpk.h"

#include <cstdlib>

#include "board/attacks.h"

uint8_t kpk_table[2][32][64][64];

namespace {

// Entry values while the table is being built.
constexpr uint8_t kImpossible = 0;
constexpr uint8_t kNotWon = 1;
constexpr uint8_t kWon = 2;
constexpr uint8_t kUnknown = 4;

int king_distance(int a, int b) {
    int df = std::abs((a & 7) - (b & 7));
    int dr = std::abs((a >> 3) - (b >> 3));
    return df > dr ? df : dr;
}

int pawn_index(int pawn) { return (pawn & 7) + 4 * (pawn >> 3); }

void initialise_entries() {
    for (int rank = 0; rank < 8; ++rank) {
        for (int file = 0; file < 4; ++file) {
            int pawn = rank * 8 + file;
            int idx = pawn_index(pawn);
            for (int k = 0; k < 64; ++k) {
                for (int w = 0; w < 64; ++w) {
                    uint8_t& mover = kpk_table[0][idx][k][w];
                    uint8_t& defender = kpk_table[1][idx][k][w];
                    if (k == w || k == pawn || w == pawn || king_distance(k, w) <= 1) {
                        mover = defender = kImpossible;
                        continue;
                    }
                    mover = defender = kUnknown;
                    bool pawn_checks = w == pawn + 9 || (file != 0 && w == pawn + 7);
                    if (pawn_checks) {
                        mover = kImpossible;  // the lone king cannot be in check
                    } else if (rank == 7) {
                        // A new queen: won unless the lone king can take it.
                        mover = kWon;
                        if (king_distance(w, pawn) > 1 || king_distance(k, pawn) <= 1)
                            defender = kWon;
                    }
                }
            }
        }
    }
}

// Pawn's side to move: won when some move reaches a won position.
bool pawn_side_pass() {
    bool changed = false;
    for (int pawn = 8; pawn < 56; ++pawn) {
        if ((pawn & 7) > 3) continue;
        int idx = pawn_index(pawn);
        for (int k = 0; k < 64; ++k) {
            for (int w = 0; w < 64; ++w) {
                uint8_t& entry = kpk_table[0][idx][k][w];
                if (entry != kUnknown) continue;
                uint8_t seen = kpk_table[1][pawn_index(pawn + 8)][k][w];
                if (pawn < 16 && seen != kImpossible)
                    seen |= kpk_table[1][pawn_index(pawn + 16)][k][w];
                for (Bitboard b = king_attacks[k]; b; b &= b - 1)
                    seen |= kpk_table[1][idx][lowest_square(b)][w];
                if (seen & kWon) entry = kWon;
                else if (!(seen & kUnknown)) entry = kNotWon;
                else continue;
                changed = true;
            }
        }
    }
    return changed;
}

// Lone king to move: not won as soon as one move escapes (or takes the pawn).
bool lone_king_pass() {
    bool changed = false;
    for (int pawn = 8; pawn < 56; ++pawn) {
        if ((pawn & 7) > 3) continue;
        int idx = pawn_index(pawn);
        for (int k = 0; k < 64; ++k) {
            bool pawn_defended = king_distance(k, pawn) <= 1;
            for (int w = 0; w < 64; ++w) {
                uint8_t& entry = kpk_table[1][idx][k][w];
                if (entry != kUnknown) continue;
                uint8_t seen = 0;
                for (Bitboard b = king_attacks[w]; b; b &= b - 1) {
                    int to = lowest_square(b);
                    seen |= kpk_table[0][idx][k][to];
                    if (to == pawn && !pawn_defended) seen |= kNotWon;
                }
                if (seen & kNotWon) entry = kNotWon;
                else if (seen & kUnknown) continue;
                else entry = (seen & kWon) ? kWon : kNotWon;  // no move: stalemate
                changed = true;
            }
        }
    }
    return changed;
}

}  // namespace

void init_kpk_table() {
    initialise_entries();
    for (;;) {
        bool changed = pawn_side_pass();
        changed |= lone_king_pass();
        if (!changed) break;
    }
    for (int pawn = 8; pawn < 56; ++pawn) {
        if ((pawn & 7) > 3) continue;
        int idx = pawn_index(pawn);
        for (int side = 0; side < 2; ++side)
            for (int k = 0; k < 64; ++k)
                for (int w = 0; w < 64; ++w)
                    if (kpk_table[side][idx][k][w] != kWon) kpk_table[side][idx][k][w] = kNotWon;
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
