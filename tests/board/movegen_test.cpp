#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/legal_line.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "tests/board/board_fixture.h"

namespace {

using MovegenTest = BoardTest;

std::string coordinates(Move m) {
    std::string text = std::string(square_names[move_from(m)]) + square_names[move_to(m)];
    if (is_promotion(m)) text += "?qnbr"[promotion_type(m) == kQueen ? 1 : promotion_type(m) == kKnight ? 2
                                        : promotion_type(m) == kBishop ? 3 : 4];
    return text;
}

std::vector<std::string> all_moves(const Position& pos) {
    MoveEntry moves[kMaxMoves];
    generate_all(pos, moves);
    std::vector<std::string> texts;
    for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) texts.push_back(coordinates(m->move));
    return texts;
}

TEST_F(MovegenTest, GroupsComeInOrder) {
    // Pawn captures (for black the -7 direction first), piece captures,
    // promotions, then quiet moves.
    set("4k3/8/8/8/8/2p1p3/1P1P2pb/1N2K1NR b K - 0 1");
    std::vector<std::string> moves = all_moves(pos);
    std::vector<std::string> expected = {"c3d2", "c3b2", "e3d2", "h2g1", "g2h1q", "g2h1n",
                                         "g2h1b", "g2h1r", "c3c2"};
    ASSERT_GE(moves.size(), expected.size());
    EXPECT_EQ(std::vector<std::string>(moves.begin(), moves.begin() + 9), expected);
}

TEST_F(MovegenTest, PromotionsAndEnPassantEntries) {
    set("1r2k3/P7/8/8/8/8/8/4K3 w - - 0 1");
    std::vector<std::string> moves = all_moves(pos);
    std::vector<std::string> promotions(moves.begin(), moves.begin() + 8);
    EXPECT_EQ(promotions, (std::vector<std::string>{"a7a8q", "a7a8n", "a7a8b", "a7a8r", "a7b8q",
                                                     "a7b8n", "a7b8b", "a7b8r"}));
    MoveEntry list[kMaxMoves];
    generate_all(pos, list);
    EXPECT_EQ(list[0].victim, 0);
    EXPECT_EQ(list[4].victim, piece_code(kBlack, kRook));
    EXPECT_EQ(list[4].mover, piece_code(kWhite, kPawn));
    // En passant is a pawn capture without a victim.
    set("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1");
    ASSERT_EQ(gen_pawn_captures(pos, kWhite, list) - list, 1);
    EXPECT_EQ(list[0].move, encode_move(36, 43));
    EXPECT_EQ(list[0].victim, 0);
}

TEST_F(MovegenTest, CastlingGeneration) {
    auto generated = [&](const char* fen, const char* move) {
        set(fen);
        std::vector<std::string> moves = all_moves(pos);
        return std::find(moves.begin(), moves.end(), move) != moves.end();
    };
    // Through an attacked square it is generated: the legality test removes it.
    EXPECT_TRUE(generated("4k3/8/8/8/8/8/5r2/R3K2R w KQ - 0 1", "e1g1"));
    // Never with a piece in between (b1 counts on the queen side).
    EXPECT_FALSE(generated("4k3/8/8/8/8/8/8/RN2K2R w KQ - 0 1", "e1c1"));
    EXPECT_TRUE(generated("4k3/8/8/8/8/8/8/RN2K2R w KQ - 0 1", "e1g1"));
    // Never with the king off its square, whatever the rights say.
    set("r3k2r/8/8/8/8/8/8/R4K1R w - - 0 1");
    pos.castling = 15;
    for (const std::string& m : all_moves(pos)) EXPECT_TRUE(m != "f1h1" && m != "f1d1") << m;
}

// The table's move check accepts exactly the generated moves, whatever
// 16-bit word it is handed: castling, en passant, double steps, blocked
// sliders, and a promotion to a type whose list is full.
TEST_F(MovegenTest, PseudoLegalIsExactlyWhatTheGeneratorProduces) {
    for (const char* fen : {kKiwipeteFen, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b KQkq -",
                            "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "r3k2r/8/8/8/8/8/5r2/RN2K2R w KQkq -",
                            "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - -", "QQQQQQ2/QQ4PQ/8/8/8/8/8/k6K w - -"}) {
        set(fen);
        MoveEntry list[kMaxMoves];
        const MoveEntry* end = generate_all(pos, list);
        std::vector<bool> generated(65536);
        for (const MoveEntry* e = list; e != end; e++) generated[e->move] = true;
        int wrong = 0;
        for (int word = 0; word < 65536; word++)
            if (is_pseudo_legal(pos, Move(word)) != generated[word] && ++wrong < 5)
                ADD_FAILURE() << fen << ": " << coordinates(Move(word)) << " " << word;
        EXPECT_EQ(wrong, 0) << fen;
    }
}

// Slider attacks and the squares between are checked by the perft totals;
// the row of the missing square only here.
TEST_F(MovegenTest, NothingLiesBetweenTheMissingSquareAndAnother) {
    EXPECT_EQ(between[kNoSquare][12], 0u);
    EXPECT_EQ(between[12][kNoSquare], 0u);
}

}  // namespace
