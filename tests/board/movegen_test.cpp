#include <gtest/gtest.h>

#include <vector>

#include "board/legal_line.h"
#include "board/movegen.h"
#include "tests/board/board_fixture.h"

namespace vorn {

namespace {

using MovegenTest = BoardTest;

// The order of the groups and of the moves within them, the pieces recorded
// with them and castling through attacked squares are pinned by the benchmark
// signature and the perft totals.

// The table's move check accepts exactly the generated moves, whatever
// 16-bit word it is handed: castling, en passant, double steps, blocked
// sliders, and a promotion to a type whose list is full.
TEST_F(MovegenTest, PseudoLegalIsExactlyWhatTheGeneratorProduces) {
    for (const char* fen : {kKiwipeteFen, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b KQkq -",
                            "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "r3k2r/8/8/8/8/8/5r2/RN2K2R w KQkq -",
                            "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - -", "QQQQQQ2/QQ4PQ/8/8/8/8/8/k6K w - -",
                            "1rk2rr1/p1pp1ppp/1p6/4p3/2B5/1Q2n3/PPPP1PPP/1RK2RR1 w FBfb -"}) {
        set(fen);
        MoveEntry list[kMaxMoves];
        const MoveEntry* end = generate_all(pos, list);
        std::vector<bool> generated(65536);
        for (const MoveEntry* e = list; e != end; e++) generated[e->move] = true;
        int wrong = 0;
        for (int word = 0; word < 65536; word++)
            if (is_pseudo_legal(pos, Move(word)) != generated[word] && ++wrong < 5)
                ADD_FAILURE() << fen << ": move word " << word;
        EXPECT_EQ(wrong, 0) << fen;
    }
}

}  // namespace

}  // namespace vorn
