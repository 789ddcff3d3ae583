#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <sstream>
#include <string>

#include "board/make_move.h"
#include "board/movegen.h"
#include "board/position.h"
#include "tests/board/board_fixture.h"

namespace vorn {

namespace {

using PositionTest = BoardTest;

// No two piece keys differ in fewer than 4 bits in either half.
TEST_F(PositionTest, KeysAreWellSpread) {
    const uint64_t* keys = &zobrist_piece[0][0];
    int too_alike = 0;
    for (int i = 0; i < 16 * 64; i++)
        for (int j = 0; j < i; j++) {
            uint64_t x = keys[i] ^ keys[j];
            too_alike += std::popcount(uint32_t(x)) < 4 || std::popcount(uint32_t(x >> 32)) < 4;
        }
    EXPECT_EQ(too_alike, 0);
}

// The castling field in KQkq, Shredder (rook files) and X-FEN (K/Q/k/q for
// the outermost rook, a file letter for an inner one) form: the rights kept,
// the field written back (which must read back the same), and the message
// for rights that cannot be.
TEST_F(PositionTest, CastlingFieldForms) {
    const struct {
        const char* fen;
        int castling;
        const char* written;
        bool bad;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBN1 w KQkq - 0 1", 14, "Qkq", true},  // no h1 rook
        {"4k3/8/8/8/8/8/8/4K3 w KQkq - 0 1", 0, "-", true},  // one message for four rights
        {"r3k2r/8/8/8/8/8/8/R3K2R b Kq - 0 1", 1 | 8, "Kq", false},
        {"r3k2r/8/8/8/8/8/8/R3K2R w HAha -", 15, "KQkq", false},
        {"bqnb1rkr/pppppppp/8/8/8/8/PPPPPPPP/BQNB1RKR w HFhf -", 15, "KQkq", false},
        {"1r2k1r1/pppppppp/8/8/8/8/PPPPPPPP/RR2K2R w HBg -", 7, "KBk", false},   // b1 is inside a1
        {"4k3/8/8/8/8/8/8/RR2KR1R w KQ -", 3, "KQ", false},                    // K, Q: h1 and a1
        {"4k3/8/8/8/8/8/8/R3K2R w KQC -", 3, "KQ", true},                      // nothing on c1
        {"4k3/8/8/8/8/8/8/4K1RR w GH -", 1, "G", true},                        // two rooks, one right
        {"r3k2r/8/8/8/8/8/4K3/R6R w KQkq -", 12, "kq", true},                  // king off its rank
        {"4k3/8/8/8/8/8/8/R3K2r w Ah -", 2, "Q", true},                        // h1 rook is Black's
    };
    for (const auto& c : cases) {
        testing::internal::CaptureStdout();
        set(c.fen);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.bad ? "Illegal EPD record\n" : "") << c.fen;
        EXPECT_EQ(pos.castling, c.castling) << c.fen;
        const std::string written = fen_of(pos);
        std::istringstream fields(written);
        std::string placement, side, castling;
        fields >> placement >> side >> castling;
        EXPECT_EQ(castling, c.written) << c.fen;
        const Position first = pos;
        set(written.c_str());
        EXPECT_EQ(pos.castling, first.castling) << written;
        for (int right = 0; right < 4; right++)
            EXPECT_TRUE(!(pos.castling & (1 << right)) || pos.castle_rook[right] == first.castle_rook[right]) << written;
    }
}

TEST_F(PositionTest, FieldsAfterThePlacement) {
    set("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 45 80");
    EXPECT_EQ(pos.ep_square, 20);
    EXPECT_EQ(pos.side_to_move, kBlack);
    EXPECT_EQ(pos.fifty_count, 0);  // the halfmove field is not read
    EXPECT_EQ(fen_of(pos), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");

    // A missing or unknown side letter keeps the side of the position before.
    pos.side_to_move = kBlack;
    parse_fen(pos, "4k3/8/8/8/8/8/8/4K3");
    EXPECT_EQ(pos.side_to_move, kBlack);
    parse_fen(pos, "4k3/8/8/8/8/8/8/4K3 x");
    EXPECT_EQ(pos.side_to_move, kBlack);

    // An en-passant square nothing has just double-stepped past is dropped.
    set("4k3/8/8/8/8/8/8/4K3 b - e3");
    EXPECT_EQ(pos.ep_square, kNoSquare);
    set("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq e6");
    EXPECT_EQ(pos.ep_square, kNoSquare);
}

TEST_F(PositionTest, ForgivingPlacement) {
    // Over-long digit runs stop at the h-file; unknown letters take a square.
    set("9/x7/8/8/8/8/8/7K w - -");
    EXPECT_EQ(pos.board[7], piece_code(kWhite, kKing));
    set("3x3k/8/8/8/8/8/8/K7 w - -");
    EXPECT_EQ(pos.board[56 + 7], piece_code(kBlack, kKing));
    EXPECT_EQ(position_fault(pos), nullptr);
    // Pieces piling up on the h-file keep the first one.
    set("RRRRRRRRQ/8/8/8/8/8/8/8 w - -");
    EXPECT_EQ(pos.board[63], piece_code(kWhite, kRook));
    EXPECT_EQ(list_squares(pos, kWhite, kQueen).size(), 0u);
    EXPECT_EQ(position_fault(pos), nullptr);
}

// The check that Debug builds run after every make and unmake finds each
// kind of damage to one of the placement's copies or its sums.
TEST_F(PositionTest, ConsistencyCheckFindsEachKindOfDamage) {
    void (*const damage[])(Position&) = {
        [](Position& p) { p.board[28] = piece_code(kWhite, kKnight); },
        [](Position& p) { p.pieces[kBlack][kPawn] ^= square_bit(48); },
        [](Position& p) { p.pieces[kWhite][0] ^= square_bit(0); },
        [](Position& p) { p.piece_list[kWhite][kKnight][0] = 18; },
        [](Position& p) { p.piece_list[kBlack][kKing][1] = 60; },
        [](Position& p) { p.piece_counts[kBlack] += 1; },
        [](Position& p) { p.phase_material[kWhite] -= 3; },
        [](Position& p) { p.hash_key ^= 1; },
        [](Position& p) { p.pawn_key ^= 1; },
        [](Position& p) { p.board[kNoSquare] = 1; },
        [](Position& p) { p.castle_rook[castle_right(kBlack, false)] = 57; },  // b8: a knight
    };
    set(kKiwipeteFen);
    EXPECT_EQ(position_fault(pos), nullptr);
    for (std::size_t i = 0; i < std::size(damage); i++) {
        Position copy = pos;
        damage[i](copy);
        EXPECT_NE(position_fault(copy), nullptr) << i;
    }
}

TEST_F(PositionTest, PiecesBeyondListCapacityAreIgnored) {
    set("QQQQQQQQ/QQQQQQQQ/8/8/8/8/8/k6K w - -");
    EXPECT_EQ(list_squares(pos, kWhite, kQueen).size(), size_t(kMaxPiecesPerList));
    EXPECT_EQ(position_fault(pos), nullptr);  // promotions to a full list: the move generator's test
}

// Garbage text must give a usable position: nothing read out of bounds, and
// move generation, legality and make/unmake work on whatever came out.
TEST_F(PositionTest, GarbageFenNeverBreaksThePosition) {
    std::mt19937 rng(12345);
    const std::string alphabet = "pnbrqkPNBRQK12345678/ -wbKQkqa1h8e3x9";
    testing::internal::CaptureStdout();
    for (int round = 0; round < 4000; round++) {
        std::string text;
        if (round % 2) {
            int length = int(rng() % 90);
            for (int i = 0; i < length; i++) text += alphabet[rng() % alphabet.size()];
        } else {
            // Mutations of real records.
            text = round % 4 ? kKiwipeteFen : kStartFen;
            for (int edits = int(rng() % 6) + 1; edits > 0; edits--)
                text[rng() % text.size()] = alphabet[rng() % alphabet.size()];
        }
        if (round % 7 == 0) {
            text.clear();
            for (int i = int(rng() % 200); i > 0; i--) text += char(rng() % 255 + 1);
        }
        set(text.c_str());
        ASSERT_EQ(position_fault(pos), nullptr) << text;
        MoveEntry moves[kMaxMoves];
        MoveEntry* end = generate_all(pos, moves);
        ASSERT_LT(end - moves, kMaxMoves);
        Position before = pos;
        for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) {
            if (!is_legal(pos, pos.side_to_move, m->move)) continue;
            make_move(pos, m->move);
            MoveEntry replies[kMaxMoves];
            generate_all(pos, replies);
            unmake_move(pos);
            ASSERT_TRUE(same_position(pos, before)) << text;
        }
        ASSERT_LT(fen_of(pos).size(), kFenBufferSize);
    }
    testing::internal::GetCapturedStdout();
}

}  // namespace

}  // namespace vorn
