#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "board/attacks.h"
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

// Castling through an attacked square is generated (is_legal removes it);
// which pieces block it, the perft totals show. Rights forced on without
// their king and rook in place generate nothing.
TEST_F(MovegenTest, CastlingGeneration) {
    set("4k3/8/8/8/8/8/5r2/R3K2R w KQ - 0 1");
    std::vector<std::string> moves = all_moves(pos);
    EXPECT_NE(std::find(moves.begin(), moves.end(), "e1g1"), moves.end());
    set("r3k2r/8/8/8/8/8/8/R4K1R w - - 0 1");
    moves = all_moves(pos);
    pos.castling = 15;
    EXPECT_EQ(all_moves(pos), moves);
}

// Slider attacks and the squares between are checked by the perft totals;
// the row of the missing square only here.
TEST_F(MovegenTest, NothingLiesBetweenTheMissingSquareAndAnother) {
    EXPECT_EQ(between[kNoSquare][12], 0u);
    EXPECT_EQ(between[12][kNoSquare], 0u);
}

}  // namespace
