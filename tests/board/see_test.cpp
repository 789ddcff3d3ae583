#include <gtest/gtest.h>

#include "board/see.h"
#include "tests/board/board_fixture.h"

namespace {

class SeeTest : public BoardTest {
protected:
    Bitboard occupancy() const { return pos.pieces[0][0] | pos.pieces[1][0]; }
    static int square(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }
    int see_of(const char* move, bool may_stop) {
        int from = square(move);
        return see(pos, piece_side(pos.board[from]), from, square(move + 2), occupancy(), may_stop);
    }
    bool not_losing(const char* move) { return capture_not_losing(pos, encode_move(square(move), square(move + 2))); }
};

TEST_F(SeeTest, RookTakesDefendedPawn) {
    set("4k3/8/2p5/3p4/8/8/8/3RK3 w - - 0 1");
    Position before = pos;
    EXPECT_EQ(see_of("d1d5", false), 100 - 530);
    EXPECT_EQ(see_of("d1d5", true), 0);
    EXPECT_FALSE(not_losing("d1d5"));
    EXPECT_TRUE(same_position(pos, before));
    EXPECT_TRUE(placement_consistent(pos));
}

TEST_F(SeeTest, QuickAnswers) {
    // Queen takes an undefended knight: no recapture, no loss.
    set("4k3/8/8/3n4/8/8/8/3QK3 w - - 0 1");
    EXPECT_TRUE(not_losing("d1d5"));
    EXPECT_EQ(see_of("d1d5", false), 330);
    // Knight takes a bishop defended by a pawn: equal trade, answered at once.
    set("4k3/8/2p5/3b4/8/4N3/8/4K3 w - - 0 1");
    EXPECT_TRUE(not_losing("e3d5"));
    // The king as a target.
    set("8/8/8/3k4/8/8/8/3RK3 w - - 0 1");
    EXPECT_EQ(see_of("d1d5", false), 9999);
    EXPECT_EQ(see(pos, kWhite, kNoSquare, 35, occupancy(), false), 9999);
    // No attacker at all.
    EXPECT_EQ(see(pos, kBlack, kNoSquare, 3, occupancy(), true), 0);
}

TEST_F(SeeTest, TextbookExchanges) {
    // Undefended pawn behind a rook that looks like a defender but is not.
    set("1k1r4/1pp4p/p7/4p3/8/P5P1/1PP4P/2K1R3 w - - 0 1");
    EXPECT_EQ(see_of("e1e5", false), 100);
    EXPECT_TRUE(not_losing("e1e5"));

    // Knight takes a pawn into a battery on both sides, x-rays joining in:
    // NxP, NxN, RxN, BxR, QxB (x-ray behind the rook), QxQ (x-ray behind the
    // bishop); White stops before the last loss.
    set("1k1r3q/1ppn3p/p4b2/4p3/8/P2N2P1/1PP1R1BP/2K1Q3 w - - 0 1");
    Position before = pos;
    EXPECT_EQ(see_of("d3e5", false), -230);
    EXPECT_EQ(see_of("d3e5", true), 0);
    EXPECT_FALSE(not_losing("d3e5"));
    EXPECT_TRUE(same_position(pos, before));

    // Pawn takes a pawn that the queen defends; the queen may not recapture
    // into the rook behind.
    set("4k3/8/3q4/4p3/3P4/8/8/4RK2 w - - 0 1");
    EXPECT_EQ(see_of("d4e5", false), 100);
    set("4k3/8/3q4/4p3/3P4/8/8/5K2 w - - 0 1");
    EXPECT_EQ(see_of("d4e5", false), 0);

    // Rook takes a rook defended by a queen, with a second rook behind: the
    // queen will not recapture into the battery.
    set("3qk3/8/8/3r4/8/8/3R4/3RK3 w - - 0 1");
    EXPECT_EQ(see_of("d2d5", false), 530);
    EXPECT_TRUE(not_losing("d2d5"));

    // Bishop for knight.
    set("4k3/8/4p3/3n4/8/8/8/B3K3 w - - 0 1");
    EXPECT_EQ(see_of("a1d5", false), 0);
    EXPECT_TRUE(not_losing("a1d5"));
}

TEST_F(SeeTest, CaptureMarginAndEnPassant) {
    // Rook takes a knight defended by a pawn: 330 - 530 = -200, losing.
    set("4k3/8/4p3/3n4/8/8/8/3RK3 w - - 0 1");
    EXPECT_FALSE(not_losing("d1d5"));
    // Bishop takes a pawn defended by a pawn: -230 is beyond the margin.
    set("4k3/8/4p3/3p4/8/8/8/B3K3 w - - 0 1");
    EXPECT_FALSE(not_losing("a1d5"));
    // En passant counts as winning nothing; an undefended one loses nothing.
    set("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1");
    EXPECT_TRUE(not_losing("e5d6"));
}

}  // namespace
