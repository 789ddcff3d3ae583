// The king-and-pawn-against-king table against an exhaustive solver of its
// own: a plain fixed-point iteration over every placement with a tiny king
// and pawn move generator, written without the engine's table code.

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "eval/kpk.h"
#include "tests/eval/eval_fixture.h"

namespace {

// White has king and pawn, Black the lone king. A pawn reaching the eighth
// rank counts as won unless the black king, to move, can take the new queen
// at once (stalemates on the promotion move are not looked for).
class KpkSolver {
public:
    KpkSolver() : won_(2 * 64 * 64 * 64, 0) { solve(); }

    static bool legal(int stm, int pawn, int wk, int bk) {
        if (pawn < 8 || pawn > 55) return false;
        if (wk == bk || wk == pawn || bk == pawn || dist(wk, bk) <= 1) return false;
        if (stm == 0 && pawn_attacks_square(pawn, bk)) return false;  // Black would be in check
        return true;
    }
    bool won(int stm, int pawn, int wk, int bk) const { return won_[index(stm, pawn, wk, bk)]; }

private:
    std::vector<char> won_;

    static int index(int stm, int pawn, int wk, int bk) { return ((stm * 64 + pawn) * 64 + wk) * 64 + bk; }
    static int dist(int a, int b) {
        int df = std::abs(a % 8 - b % 8), dr = std::abs(a / 8 - b / 8);
        return df > dr ? df : dr;
    }
    static bool pawn_attacks_square(int pawn, int sq) {
        return sq / 8 == pawn / 8 + 1 && std::abs(sq % 8 - pawn % 8) == 1;
    }
    template <class F>
    static void for_king_steps(int from, F f) {
        for (int dr = -1; dr <= 1; ++dr)
            for (int df = -1; df <= 1; ++df) {
                int r = from / 8 + dr, c = from % 8 + df;
                if ((dr || df) && r >= 0 && r < 8 && c >= 0 && c < 8) f(r * 8 + c);
            }
    }

    bool white_wins_by_move(int pawn, int wk, int bk) const {
        bool found = false;
        int one = pawn + 8;
        if (one != wk && one != bk) {
            if (one >= 56) {
                found = !(dist(bk, one) <= 1 && dist(wk, one) > 1);
            } else {
                found = won(1, one, wk, bk);
                int two = pawn + 16;
                if (!found && pawn / 8 == 1 && two != wk && two != bk) found = won(1, two, wk, bk);
            }
        }
        for_king_steps(wk, [&](int to) {
            if (!found && to != pawn && dist(to, bk) > 1) found = won(1, pawn, to, bk);
        });
        return found;
    }

    bool black_must_lose(int pawn, int wk, int bk) const {
        bool any_move = false, escape = false;
        for_king_steps(bk, [&](int to) {
            if (dist(to, wk) <= 1 || pawn_attacks_square(pawn, to)) return;
            any_move = true;
            if (to == pawn || !won(0, pawn, wk, to)) escape = true;
        });
        return any_move && !escape;
    }

    void solve() {
        for (bool changed = true; changed;) {
            changed = false;
            for (int pawn = 8; pawn < 56; ++pawn)
                for (int wk = 0; wk < 64; ++wk)
                    for (int bk = 0; bk < 64; ++bk)
                        for (int stm = 0; stm < 2; ++stm) {
                            char& w = won_[index(stm, pawn, wk, bk)];
                            if (w || !legal(stm, pawn, wk, bk)) continue;
                            if (stm == 0 ? white_wins_by_move(pawn, wk, bk) : black_must_lose(pawn, wk, bk)) {
                                w = 1;
                                changed = true;
                            }
                        }
        }
    }
};

const KpkSolver& solver() {
    static const KpkSolver s;
    return s;
}

TEST(KpkTable, EveryEntryMatchesTheSolver) {
    prepare_eval_tables();
    const KpkSolver& s = solver();
    int mismatches = 0, won_count = 0;
    for (int rank = 1; rank <= 6; ++rank)
        for (int file = 0; file < 4; ++file) {
            const int pawn = rank * 8 + file;
            const int idx = file + 4 * rank;
            for (int stm = 0; stm < 2; ++stm)
                for (int wk = 0; wk < 64; ++wk)
                    for (int bk = 0; bk < 64; ++bk) {
                        const uint8_t entry = kpk_table[stm][idx][wk][bk];
                        ASSERT_TRUE(entry == 1 || entry == 2);
                        const bool expected = KpkSolver::legal(stm, pawn, wk, bk) && s.won(stm, pawn, wk, bk);
                        if ((entry == 2) != expected && ++mismatches <= 5)
                            ADD_FAILURE() << "stm " << stm << " pawn " << pawn << " wk " << wk << " bk " << bk;
                        won_count += entry == 2;
                    }
        }
    EXPECT_EQ(mismatches, 0);
    EXPECT_GT(won_count, 50000);  // a healthy share of the placements is won
}

TEST(KpkTable, LookupMirrorsFilesAndColours) {
    prepare_eval_tables();
    const KpkSolver& s = solver();
    for (int pawn = 8; pawn < 56; ++pawn)
        for (int wk = 0; wk < 64; ++wk)
            for (int bk = 0; bk < 64; ++bk)
                for (int stm = 0; stm < 2; ++stm) {
                    if (!KpkSolver::legal(stm, pawn, wk, bk)) continue;
                    const bool expected = s.won(stm, pawn, wk, bk);
                    ASSERT_EQ(kpk_won(0, pawn, wk, bk, stm == 0), expected);
                    // The same placement with colours swapped and ranks mirrored.
                    ASSERT_EQ(kpk_won(1, pawn ^ 56, wk ^ 56, bk ^ 56, stm == 0), expected);
                }
}

TEST(KpkTable, KnownPositions) {
    // Opposition: the side to move gives way.
    EXPECT_EQ(eval_fen("8/4k3/8/4K3/4P3/8/8/8 w - -"), 0);
    EXPECT_EQ(eval_fen("8/4k3/8/4K3/4P3/8/8/8 b - -"), -800);
    // King on a key square wins whoever moves.
    EXPECT_EQ(eval_fen("4k3/8/4K3/8/4P3/8/8/8 w - -"), 800);
    EXPECT_EQ(eval_fen("4k3/8/4K3/8/4P3/8/8/8 b - -"), -800);
    // Rook pawn with the defender in the corner: drawn even with the
    // opposition.
    EXPECT_EQ(eval_fen("k7/8/PK6/8/8/8/8/8 w - -"), 0);
    EXPECT_EQ(eval_fen("k7/8/PK6/8/8/8/8/8 b - -"), 0);
    // Outside the square of the pawn, and inside it.
    EXPECT_EQ(eval_fen("k7/8/4P3/8/8/8/8/K7 b - -"), -800);
    EXPECT_EQ(eval_fen("8/8/8/8/1k6/8/P7/7K b - -"), 0);
    // Black pawn, seen from White to move.
    EXPECT_EQ(eval_fen("8/8/8/8/4p3/4k3/8/4K3 w - -"), -800);
    EXPECT_EQ(eval_fen("8/8/8/8/4p3/4k3/8/4K3 b - -"), 800);
}

}  // namespace
