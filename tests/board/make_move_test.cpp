#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "board/legal_line.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "tests/board/board_fixture.h"

namespace {

using MakeMoveTest = BoardTest;

Move sq_move(const char* text) {
    return encode_move((text[1] - '1') * 8 + (text[0] - 'a'), (text[3] - '1') * 8 + (text[2] - 'a'));
}

TEST_F(MakeMoveTest, DoublePushSetsEnPassantSquare) {
    set(kStartFen);
    make_move(pos, sq_move("e2e4"));
    EXPECT_EQ(pos.ep_square, 20);
    EXPECT_EQ(history->last_move, sq_move("e2e4"));
    EXPECT_EQ(history->history_count, 1);
    EXPECT_EQ(history->ply, 2);
    EXPECT_TRUE(placement_consistent(pos));
    // Same placement reached by single steps: same hash_key, other full_key.
    Position other{};
    BoardHistory other_history;
    other.owner = &other_history;
    parse_fen(other, "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
    EXPECT_EQ(pos.hash_key, other.hash_key);
    EXPECT_NE(full_key(pos), full_key(other));
    unmake_move(pos);
    EXPECT_EQ(history->last_move, 0);
    EXPECT_EQ(history->ply, 1);
}

TEST_F(MakeMoveTest, CastlingRightsAndRook) {
    set("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    pos.fifty_count = 7;
    make_move(pos, sq_move("e1g1"));
    EXPECT_EQ(pos.board[5], piece_code(kWhite, kRook));
    EXPECT_EQ(pos.fifty_count, 0);
    EXPECT_EQ(pos.castling, 4 | 8);
    EXPECT_EQ(list_squares(pos, kWhite, kRook), (std::vector<int>{0, 5}));
    EXPECT_TRUE(placement_consistent(pos));
    make_move(pos, sq_move("e8c8"));
    EXPECT_EQ(pos.board[59], piece_code(kBlack, kRook));
    EXPECT_EQ(pos.castling, 0);
    EXPECT_TRUE(placement_consistent(pos));

    // A captured piece leaves a closed gap; undone, it comes back at the end.
    set("r3k2r/8/8/8/3r4/8/8/3RK3 w - - 0 1");
    EXPECT_EQ(list_squares(pos, kBlack, kRook), (std::vector<int>{56, 63, 27}));
    make_move(pos, sq_move("d1d4"));
    EXPECT_EQ(list_squares(pos, kBlack, kRook), (std::vector<int>{56, 63}));
    make_move(pos, sq_move("a8a1"));
    unmake_move(pos);
    unmake_move(pos);
    EXPECT_EQ(list_squares(pos, kBlack, kRook), (std::vector<int>{56, 63, 27}));
    set("r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1");
    make_move(pos, sq_move("a1a8"));
    unmake_move(pos);
    EXPECT_EQ(list_squares(pos, kBlack, kRook), (std::vector<int>{63, 56}));

    // Capturing the h8 rook removes k, though that rook never moved.
    set("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    make_move(pos, sq_move("h1h8"));
    EXPECT_EQ(pos.castling, 2 | 8);
    EXPECT_EQ(pos.fifty_count, 0);
}

TEST_F(MakeMoveTest, CapturesPromotionsEnPassant) {
    set("1r2k3/P7/8/3pP3/8/8/8/4K3 w - d6 0 1");
    Position start = pos;
    make_move(pos, encode_move(36, 43));  // e5xd6 e.p.
    EXPECT_EQ(pos.board[35], 0);
    EXPECT_EQ(pos.board[43], piece_code(kWhite, kPawn));
    EXPECT_EQ(history->history[0].captured, 0);
    EXPECT_TRUE(placement_consistent(pos));
    unmake_move(pos);
    EXPECT_TRUE(same_position(pos, start));

    make_move(pos, encode_move(48, 57, kPromoteKnight));  // a7xb8=N
    EXPECT_EQ(pos.board[57], piece_code(kWhite, kKnight));
    EXPECT_EQ(history->history[0].captured, kRook);
    EXPECT_TRUE(placement_consistent(pos));
    unmake_move(pos);
    EXPECT_TRUE(same_position(pos, start));
}

TEST_F(MakeMoveTest, NullMoveRestoresEverything) {
    set("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1");
    make_move(pos, sq_move("e1e2"));
    Position before = pos;
    make_null_move(pos);
    EXPECT_EQ(pos.side_to_move, kWhite);
    EXPECT_EQ(pos.ep_square, kNoSquare);
    EXPECT_EQ(pos.hash_key, before.hash_key);
    EXPECT_EQ(history->last_move, 0);
    EXPECT_EQ(history->ply, 3);
    EXPECT_EQ(pos.fifty_count, before.fifty_count + 1);
    unmake_null_move(pos);
    EXPECT_TRUE(same_position(pos, before));
    EXPECT_EQ(history->last_move, sq_move("e1e2"));
    EXPECT_EQ(history->history_count, 1);
}

TEST_F(MakeMoveTest, LegalityEdgeCases) {
    // e.p. capture exposing the king along the fifth rank.
    set("8/8/8/KPp4r/8/8/8/7k w - c6 0 1");
    EXPECT_FALSE(is_legal(pos, kWhite, sq_move("b5c6")));
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("b5b6")));
    // King captures an undefended checker, not a defended one.
    set("4k3/8/8/8/8/8/3q4/4K3 w - - 0 1");
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("e1d2")));
    set("4k3/8/8/8/8/1n6/3q4/4K3 w - - 0 1");
    EXPECT_FALSE(is_legal(pos, kWhite, sq_move("e1d2")));
    // Stepping back along the checking line is not an escape.
    set("4k3/8/8/b7/8/8/3K4/8 w - - 0 1");
    EXPECT_FALSE(is_legal(pos, kWhite, sq_move("d2e1")));
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("d2d3")));
    // Castling through check; b1 may be attacked, though.
    set("4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1");
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("e1g1")));
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("e1c1")));
    set("4k3/8/8/8/8/8/5r2/R3K2R w KQ - 0 1");
    EXPECT_FALSE(is_legal(pos, kWhite, sq_move("e1g1")));
    set("4k3/8/8/8/8/8/1r6/R3K2R w KQ - 0 1");
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("e1c1"))) << "b1 may be attacked";
    // A pinned piece may move along the pin only.
    set("4k3/4r3/8/8/8/8/4R3/4K3 w - - 0 1");
    EXPECT_TRUE(is_legal(pos, kWhite, sq_move("e2e7")));
    EXPECT_FALSE(is_legal(pos, kWhite, sq_move("e2d2")));
    EXPECT_FALSE(is_legal(pos, kWhite, 0));
}

// Moves from outside the generator (a command, a table, a kept line) are
// checked against it; a line stops at its first move that cannot be played.
TEST_F(MakeMoveTest, LegalLinesFromOutside) {
    struct Case {
        const char* fen;
        std::vector<const char*> line;
        int playable;
    } cases[] = {
        {kStartFen, {"e2e4", "e7e5", "g1f3"}, 3},
        {kStartFen, {"e2e4", "e2e4"}, 1},                              // the pawn has gone
        {"4k3/4r3/8/8/8/8/4B3/4K3 w - - 0 1", {"e2d3"}, 0},             // pinned bishop
        {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", {"d1d8", "g8h7"}, 1},  // nothing after mate
        {"6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1", {"d1d8", "g1h1"}, 1},  // not even the mover's
    };
    for (const Case& c : cases) {
        set(c.fen);
        const Position before = pos;
        std::vector<uint16_t> line;
        for (const char* m : c.line) line.push_back(sq_move(m));
        line.push_back(0);
        EXPECT_EQ(legal_line_length(pos, line.data(), 10), c.playable) << c.fen;
        EXPECT_TRUE(same_position(pos, before));
        EXPECT_EQ(history->history_count, 0);
    }
    set(kStartFen);
    const uint16_t line[] = {sq_move("e2e4"), sq_move("e7e5"), 0};
    EXPECT_EQ(legal_line_length(pos, line, 1), 1);
    EXPECT_FALSE(is_legal_move(pos, 0));
}

// The byte that counts moves since the last capture or pawn move stops at
// 255 rather than wrap to 0 in a longer game.
TEST_F(MakeMoveTest, FiftyCountStopsAt255) {
    set(kStartFen);
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < 300; i++) make_move(pos, sq_move(shuffle[i % 4]));
    EXPECT_EQ(pos.fifty_count, 255);
    make_null_move(pos);
    EXPECT_EQ(pos.fifty_count, 255);
}

TEST_F(MakeMoveTest, GivesCheckKinds) {
    set("4k3/8/8/8/8/8/3N4/R3KB2 w - - 0 1");
    auto check = [&](const char* text) {
        Move m = sq_move(text);
        MoveEntry e{m, 0, pos.board[move_from(m)], pos.board[move_to(m)]};
        return gives_check(pos, kWhite, e);
    };
    EXPECT_EQ(check("d2f3"), 0);
    EXPECT_EQ(check("a1a8"), 1);
    EXPECT_EQ(check("f1b5"), 1);
    set("4k3/8/8/8/4N3/8/8/4R1K1 w - - 0 1");
    EXPECT_EQ(check("e4d6"), 1);  // direct wins over discovered
    EXPECT_EQ(check("e4c5"), 2);
    set("4k3/8/8/8/8/8/1B6/K7 w - - 0 1");
    EXPECT_EQ(check("b2c3"), 0);
    set("8/1P2k3/8/8/8/8/8/K7 w - - 0 1");
    MoveEntry promo{encode_move(49, 57, kPromoteKnight), 0, uint8_t(piece_code(kWhite, kPawn)), 0};
    EXPECT_EQ(gives_check(pos, kWhite, promo), 0);
    set("8/1P1k4/8/8/8/8/8/K7 w - - 0 1");
    EXPECT_EQ(gives_check(pos, kWhite, promo), 1);
    set("8/1P6/2k5/8/8/8/8/K7 w - - 0 1");
    EXPECT_EQ(gives_check(pos, kWhite, promo), 1);
}

// Plays seeded random legal games, checking at every step that make/unmake
// restores every field, that incremental keys match a recomputation, that
// is_legal (and its per-position shortcut) agrees with making the move,
// and gives_check with the result.
TEST_F(MakeMoveTest, RandomGamesRoundTrip) {
    const char* starts[] = {kStartFen, kKiwipeteFen, "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
                            "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
                            "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1"};
    std::mt19937 rng(2024);
    int checked_moves = 0;
    for (const char* fen : starts) {
        for (int game = 0; game < 6; game++) {
            set(fen);
            Position initial = pos;
            std::vector<Position> trail;
            for (int ply = 0; ply < 160; ply++) {
                MoveEntry moves[kMaxMoves];
                generate_all(pos, moves);
                std::vector<Move> legal;
                int side = pos.side_to_move;
                LegalityShortcut shortcut = legality_shortcut(pos, side);
                for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) {
                    ASSERT_EQ(is_legal_with(pos, side, shortcut, m->move), is_legal(pos, side, m->move));
                    Position before = pos;
                    make_move(pos, m->move);
                    ASSERT_TRUE(placement_consistent(pos));
                    bool escapes = !in_check(pos, side);
                    int from = move_from(m->move), to = move_to(m->move);
                    bool castles = piece_type(m->mover) == kKing && (to == from + 2 || to == from - 2);
                    if (castles) {
                        escapes = escapes && !is_attacked(before, from, side ^ 1) &&
                                  !is_attacked(before, (from + to) / 2, side ^ 1);
                    }
                    bool en_passant = piece_type(m->mover) == kPawn && to == before.ep_square;
                    if (!castles && !en_passant && !is_promotion(m->move) && escapes) {
                        EXPECT_EQ(gives_check(before, side, *m) != 0, in_check(pos, side ^ 1));
                    }
                    unmake_move(pos);
                    ASSERT_TRUE(same_position(pos, before));
                    ASSERT_EQ(is_legal(pos, side, m->move), escapes) << fen << " move " << m->move;
                    if (escapes) legal.push_back(m->move);
                    checked_moves++;
                }
                if (legal.empty() || history->history_count >= kGameHistoryLimit) break;
                trail.push_back(pos);
                if (rng() % 8 == 0 && !in_check(pos, side)) {
                    // A null move with one reply on top, then back.
                    make_null_move(pos);
                    Position passed = pos;
                    MoveEntry replies[kMaxMoves];
                    generate_all(pos, replies);
                    for (const MoveEntry* r = replies; r->move != kMoveListEnd; r++) {
                        if (!is_legal(pos, pos.side_to_move, r->move)) continue;
                        make_move(pos, r->move);
                        ASSERT_TRUE(placement_consistent(pos));
                        unmake_move(pos);
                        break;
                    }
                    ASSERT_TRUE(same_position(pos, passed));
                    unmake_null_move(pos);
                    ASSERT_TRUE(same_position(pos, trail.back()));
                }
                make_move(pos, legal[rng() % legal.size()]);
            }
            // Unwind the whole game.
            while (!trail.empty()) {
                unmake_move(pos);
                ASSERT_TRUE(same_position(pos, trail.back()));
                trail.pop_back();
            }
            EXPECT_TRUE(same_position(pos, initial));
            EXPECT_EQ(history->history_count, 0);
            EXPECT_EQ(history->ply, 1);
            EXPECT_EQ(history->last_move, 0);
        }
    }
    EXPECT_GT(checked_moves, 20000);
}

}  // namespace
