#include <gtest/gtest.h>

#include <cstdint>

#include "board/perft.h"
#include "core/shell_state.h"
#include "tests/board/board_fixture.h"
#include "tests/board/chess960_records.h"

namespace vorn {

namespace {

using PerftTest = BoardTest;

// Totals per depth from an independent engine's perft.
struct PerftCase {
    const char* fen;
    uint64_t nodes[5];  // depths 1..5, 0 where not run here
};

const PerftCase kCases[] = {
    {kStartFen, {20, 400, 8902, 197281, 0}},
    {kKiwipeteFen, {48, 2039, 97862, 0, 0}},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", {14, 191, 2812, 43238, 674624}},
    {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1", {6, 264, 9467, 422333, 0}},
    {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8", {44, 1486, 62379, 0, 0}},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/3P1N1P/PPP1NPP1/R4RK1 w - - 0 10", {43, 1938, 78272, 0, 0}},
    // Promotions with and without capture, for both sides.
    {"n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1", {24, 496, 9483, 182838, 0}},
    // En passant pinned along the rank, white and black.
    {"8/8/8/KPp4r/8/8/8/7k w - c6 0 1", {4, 56, 259, 4225, 23591}},
    {"8/8/8/8/k2Pp2Q/8/8/3K4 b - d3 0 1", {6, 136, 863, 20471, 117741}},
    // Castling rights on both wings, and castling through and out of check.
    {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", {26, 568, 13744, 314346, 0}},
    {"r3k2r/8/3Q4/8/8/5q2/8/R3K2R b KQkq - 0 1", {44, 1494, 50509, 0, 0}},
    // Underpromotion decides these.
    {"4k3/1P6/8/8/8/8/K7/8 w - - 0 1", {9, 40, 472, 2661, 38983}},
    {"8/P1k5/K7/8/8/8/8/8 w - - 0 1", {6, 27, 273, 1329, 18135}},
    {"2r1k3/1P6/8/8/8/8/8/4K3 w - - 0 1", {13, 129, 1436, 18708, 235203}},
};

// Also with castling written as the king taking its rook, as under UCI_Chess960.
TEST_F(PerftTest, ShallowTotals) {
    for (bool chess960 : {false, true}) {
        shell.chess960 = chess960;
        for (const PerftCase& c : kCases) {
            set(c.fen);
            Position before = pos;
            for (int depth = 1; depth <= 5 && c.nodes[depth - 1]; depth++)
                EXPECT_EQ(perft(pos, pos.side_to_move, depth), c.nodes[depth - 1]) << c.fen << " depth " << depth;
            EXPECT_TRUE(same_position(pos, before));
            EXPECT_EQ(history->history_count, 0);
        }
    }
    shell.chess960 = false;
}

// All 960 start positions and positions reached by play, to depth 3 or so;
// the deeper totals are the slow suite's.
TEST_F(PerftTest, Chess960Totals) { expect_chess960_totals(60000); }

}  // namespace

}  // namespace vorn
