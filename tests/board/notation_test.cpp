#include <gtest/gtest.h>

#include <string>

#include "board/make_move.h"
#include "board/notation.h"
#include "shell/core/shell_state.h"
#include "tests/board/board_fixture.h"

namespace {

class NotationTest : public BoardTest {
protected:
    void TearDown() override { shell.protocol_mode = 2; }

    struct Forms {
        std::string coordinate, san, with_file, with_rank;
    };
    Forms forms(const char* text, Move promotion = 0) {
        Move m = encode_move((text[1] - '1') * 8 + (text[0] - 'a'), (text[3] - '1') * 8 + (text[2] - 'a'),
                             promotion);
        char c[kMoveTextSize], s[kMoveTextSize], f[kMoveTextSize], r[kMoveTextSize];
        move_to_san(pos, m, c, s, f, r);
        return {c, s, f, r};
    }
    // The move parse_move finds, as coordinates, or "" when it finds none.
    std::string parsed(const char* text) {
        Move m = 0;
        if (!parse_move(pos, text, &m)) return "";
        char buffer[kMoveTextSize];
        shell.protocol_mode = 2;
        return move_to_text(m, buffer);
    }
};

TEST_F(NotationTest, CoordinateText) {
    char buffer[kMoveTextSize];
    Move promo = encode_move(52, 60, kPromoteQueen);
    shell.protocol_mode = 2;
    EXPECT_STREQ(move_to_text(promo, buffer), "e7e8q");
    EXPECT_STREQ(move_to_text(encode_move(12, 28), buffer), "e2e4");
    EXPECT_STREQ(move_to_text(0, buffer), "null");
    shell.protocol_mode = 0;
    EXPECT_STREQ(move_to_text(promo, buffer), "e7e8=Q");
    EXPECT_STREQ(move_to_text(encode_move(52, 60, kPromoteKnight), buffer), "e7e8=N");
}

TEST_F(NotationTest, PieceMovesAndDisambiguation) {
    set("4k3/8/8/8/8/5N2/8/RN2K3 w - - 0 1");
    Forms f = forms("b1d2");
    EXPECT_EQ(f.coordinate, "b1d2");
    EXPECT_EQ(f.san, "Nbd2");
    EXPECT_EQ(f.with_file, "Nbd2");
    EXPECT_EQ(f.with_rank, "N1d2");

    // Three queens that all reach the square: file and rank.
    set("4k3/8/8/8/Q6Q/8/8/Q3K3 w - - 0 1");
    EXPECT_EQ(forms("a4d4").san, "Qa4d4");  // a1 shares the file, h4 the rank
    EXPECT_EQ(forms("a1d4").san, "Q1d4");

    // A pinned knight still counts as a candidate.
    set("4k3/4r3/8/1N6/8/8/4N3/4K3 w - - 0 1");
    EXPECT_EQ(forms("b5c3").san, "Nbc3");

    set("4k3/8/8/3p4/8/2N5/8/4K3 w - - 0 1");
    Forms capture = forms("c3d5");
    EXPECT_EQ(capture.san, "Nxd5");
    EXPECT_EQ(capture.with_file, "Ncxd5");
    EXPECT_EQ(capture.with_rank, "N3xd5");
}

TEST_F(NotationTest, PawnMovesAndPromotions) {
    set("1r6/P6k/8/3p4/4P3/8/8/4K3 w - - 0 1");
    Forms push = forms("e4e5");
    EXPECT_EQ(push.san, "e5");
    EXPECT_EQ(push.with_file, "");
    EXPECT_EQ(push.with_rank, "");
    Forms capture = forms("e4d5");
    EXPECT_EQ(capture.san, "exd5");
    EXPECT_EQ(capture.with_file, "ed");
    Forms promo = forms("a7b8", kPromoteQueen);
    EXPECT_EQ(promo.coordinate, "a7b8=Q");
    EXPECT_EQ(promo.san, "axb8=Q");
    EXPECT_EQ(promo.with_file, "ab=Q");
    Forms under = forms("a7a8", kPromoteRook);
    EXPECT_EQ(under.coordinate, "a7a8=R");
    EXPECT_EQ(under.san, "a8=R");

    set("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1");
    EXPECT_EQ(forms("e5d6").san, "exd6");
}

TEST_F(NotationTest, CastlingAndCheck) {
    set("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    Forms short_castle = forms("e1g1");
    EXPECT_EQ(short_castle.san, "o-o");
    EXPECT_EQ(short_castle.with_file, "O-O");
    EXPECT_EQ(short_castle.with_rank, "0-0");
    Forms long_castle = forms("e1c1");
    EXPECT_EQ(long_castle.san, "o-o-o");
    EXPECT_EQ(long_castle.with_file, "O-O-O");
    EXPECT_EQ(long_castle.with_rank, "0-0-0");

    set("4k3/8/8/8/8/8/8/R3K3 w - - 0 1");
    Forms check = forms("a1a8");
    EXPECT_EQ(check.coordinate, "a1a8+");
    EXPECT_EQ(check.san, "Ra8+");
    EXPECT_EQ(check.with_file, "Raa8+");
    EXPECT_EQ(check.with_rank, "R1a8+");
    // Mate is not marked differently.
    set("6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1");
    EXPECT_EQ(forms("a1a8").san, "Ra8+");
}

TEST_F(NotationTest, ParseEverySpelling) {
    set(kStartFen);
    EXPECT_EQ(parsed("e2e4"), "e2e4");
    EXPECT_EQ(parsed("Nf3"), "g1f3");
    EXPECT_EQ(parsed("Ngf3"), "g1f3");
    EXPECT_EQ(parsed("N1f3"), "g1f3");
    EXPECT_EQ(parsed("Nf3+"), "g1f3");
    EXPECT_EQ(parsed("e4"), "e2e4");
    EXPECT_EQ(parsed("E2E4"), "");
    EXPECT_EQ(parsed("nf3"), "");
    EXPECT_EQ(parsed("e2e5"), "");
    EXPECT_EQ(parsed("Ke2"), "");

    set("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    EXPECT_EQ(parsed("o-o"), "e1g1");
    EXPECT_EQ(parsed("0-0"), "e1g1");
    EXPECT_EQ(parsed("0-0-0"), "e1c1");

    set("4k3/4P3/8/3p4/4P3/8/8/4K3 w - - 0 1");
    EXPECT_EQ(parsed("exd5"), "e4d5");
    EXPECT_EQ(parsed("ed"), "e4d5");

    set("3rk3/2P5/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_EQ(parsed("c8=Q"), "c7c8q");
    EXPECT_EQ(parsed("c8q"), "c7c8q");
    EXPECT_EQ(parsed("c7c8=Q"), "c7c8q");
    EXPECT_EQ(parsed("c7c8=n"), "c7c8n");
    EXPECT_EQ(parsed("cxd8=R+"), "c7d8r");
    EXPECT_EQ(parsed("cd=B"), "c7d8b");
    EXPECT_EQ(parsed("c7c8"), "") << "a promotion needs its piece";
    // A pawn-capture shorthand towards the b-file reads as a promotion.
    set("4k3/8/8/8/8/1p6/2P5/4K3 w - - 0 1");
    EXPECT_EQ(parsed("cxb3"), "c2b3");
    EXPECT_EQ(parsed("cb"), "");
}

TEST_F(NotationTest, AmbiguityAndGarbage) {
    // Two knights reach d2 and the text names neither: two matches.
    set("4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(parsed("Nd2"), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");  // "Nd2" matches no form at all
    EXPECT_EQ(parsed("Nbd2"), "b1d2");

    // Two rooks on one rank share the form with the rank digit.
    set("4k3/8/8/8/8/8/K7/R6R w - - 0 1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(parsed("R1f1"), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ambiguous move\n");
    EXPECT_EQ(parsed("Raf1"), "a1f1");

    set(kStartFen);
    const char* garbage[] = {"", "+", "=", "=Q", "q", "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx",
                             "e2", "e9e4", "\x01\x02", "o", "0", "--", "Q=Q", "a1a1"};
    for (const char* text : garbage) EXPECT_EQ(parsed(text), "") << text;
}

TEST_F(NotationTest, IllegalMovesDoNotParse) {
    // The pinned knight's move is generated but illegal.
    set("4k3/4r3/8/8/8/8/4N3/4K3 w - - 0 1");
    EXPECT_EQ(parsed("Nc3"), "");
    EXPECT_EQ(parsed("Kd1"), "e1d1");
}

}  // namespace
