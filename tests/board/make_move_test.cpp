#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "board/make_move.h"
#include "board/movegen.h"
#include "tests/board/board_fixture.h"

namespace vorn {

namespace {

using MakeMoveTest = BoardTest;

Move sq_move(const char* text) {
    return encode_move((text[1] - '1') * 8 + (text[0] - 'a'), (text[3] - '1') * 8 + (text[2] - 'a'));
}

// What make_move and the null move leave behind beyond the placement, which
// the round trip below only sees restored (the en-passant square and its
// share of the full key are the benchmark signature's).
TEST_F(MakeMoveTest, StateAfterMovesAndNullMoves) {
    set(kStartFen);
    make_move(pos, sq_move("e2e4"));
    EXPECT_EQ(history->last_move, sq_move("e2e4"));

    make_null_move(pos);
    EXPECT_EQ(pos.fifty_count, 1);
    EXPECT_EQ(history->last_move, 0);
    EXPECT_EQ(history->ply, 3);
    unmake_null_move(pos);
    EXPECT_EQ(history->last_move, sq_move("e2e4"));

    // The fifty-move byte stops at 255 rather than wrap to 0 in a long game.
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < 300; i++) make_move(pos, sq_move(shuffle[i % 4]));
    make_null_move(pos);
    EXPECT_EQ(pos.fifty_count, 255);
}

// Plays seeded random legal games, checking at every step that make/unmake
// restores every field, that incremental keys match a recomputation, that
// is_legal (and its per-position shortcut) agrees with making the move,
// and gives_check (and its per-node shortcut) with the result. Castling
// rights and their loss are the perft totals' to check.
TEST_F(MakeMoveTest, RandomGamesRoundTrip) {
    const char* starts[] = {kStartFen, kKiwipeteFen, "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
                            "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
                            "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
                            // Chess960: kings next to, between or behind inner castling rooks.
                            "1rk2rr1/p1pp1ppp/1p6/4p3/2B5/1Q2n3/PPPP1PPP/1RK2RR1 w FBfb - 0 1",
                            "2r1kr1r/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/1R1KRR2 b EBf - 0 1",
                            "rk2r3/pppq1ppp/8/3p4/8/1Q6/PPP2PPP/RK2R3 w EAea - 0 1"};
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
                NodeLegality node_legal(pos, side, in_check(pos, side));
                NodeChecks node_checks(pos, side);
                for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) {
                    ASSERT_EQ(is_legal_with(pos, side, shortcut, m->move), is_legal(pos, side, m->move));
                    ASSERT_EQ(node_legal(m->move), is_legal(pos, side, m->move));
                    ASSERT_EQ(node_checks(*m), gives_check(pos, side, *m));
                    Position before = pos;
                    make_move(pos, m->move);
                    ASSERT_EQ(position_fault(pos), nullptr);
                    bool escapes = !in_check(pos, side);
                    int from = move_from(m->move), to = move_to(m->move);
                    bool king = piece_type(m->mover) == kKing;
                    bool takes_rook = king && before.board[to] && piece_side(before.board[to]) == side;
                    bool castles = takes_rook || (king && (to == from + 2 || to == from - 2));
                    if (castles) {
                        // Not out of, through or into check (the last seen after the move).
                        int king_to = takes_rook ? castled_king_square(side, to > from) : to;
                        for (int sq = std::min(from, king_to); sq <= std::max(from, king_to); sq++)
                            escapes = escapes && !is_attacked(before, sq, side ^ 1);
                    }
                    ASSERT_TRUE(!castles || pos.fifty_count == 0);  // castling is irreversible
                    bool en_passant = piece_type(m->mover) == kPawn && to == before.ep_square;
                    // The rook's check is seen for castling written as king takes rook only.
                    if ((!castles || takes_rook) && !en_passant && !is_promotion(m->move) && escapes) {
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
                        ASSERT_EQ(position_fault(pos), nullptr);
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

}  // namespace vorn
