#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "board/attacks.h"
#include "board/perft.h"
#include "board/position.h"
#include "tests/board/chess960_records.h"

namespace vorn {

namespace {

// Deep totals from an independent engine's perft; together they exercise
// castling, en passant (pins included), promotions and underpromotions.
struct DeepCase {
    const char* name;
    const char* fen;
    int depth;
    uint64_t nodes;
};

const DeepCase kDeepCases[] = {
    {"start", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 6, 119060324},
    {"kiwipete", "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", 5, 193690690},
    {"rook_endgame", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", 7, 178633661},
    {"promotion_mix", "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1", 5, 15833292},
    {"discovered_promotion", "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8", 5, 89941194},
    {"promotions_both_sides", "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1", 6, 71179139},
    {"ep_pin_white", "8/8/8/KPp4r/8/8/8/7k w - c6 0 1", 7, 2462944},
    {"ep_pin_black", "8/8/8/8/k2Pp2Q/8/8/3K4 b - d3 0 1", 6, 2822114},
    {"castling", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", 5, 7594526},
    {"castling_under_fire", "r3k2r/8/3Q4/8/8/5q2/8/R3K2R b KQkq - 0 1", 5, 58773923},
    {"underpromotion", "2r1k3/1P6/8/8/8/8/8/4K3 w - - 0 1", 6, 3405754},
};

class DeepPerft : public ::testing::TestWithParam<DeepCase> {};

TEST_P(DeepPerft, MatchesOracle) {
    init_attack_tables();
    init_hash_keys_tables();
    FenBoard board(GetParam().fen);
    EXPECT_EQ(perft(board.pos, board.pos.side_to_move, GetParam().depth), GetParam().nodes);
}

INSTANTIATE_TEST_SUITE_P(Positions, DeepPerft, ::testing::ValuesIn(kDeepCases),
                         [](const auto& test) { return std::string(test.param.name); });

// Every total the Chess960 records hold.
TEST(DeepPerft960, MatchesOracle) {
    init_attack_tables();
    init_hash_keys_tables();
    expect_chess960_totals(UINT64_MAX);
}

}  // namespace

}  // namespace vorn
