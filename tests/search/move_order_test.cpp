#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "board/notation.h"
#include "search/move_picker.h"
#include "search/search.h"
#include "tests/search/search_fixture.h"

namespace {

struct Picked {
    std::string move;
    int score;
};

// Every move the staged picker yields at ply 2, in order, with its score.
std::vector<Picked> picker_order(ThreadData& td, bool in_check) {
    std::vector<Picked> out;
    td.stack[2].stage = STAGE_HASH_MOVE;
    td.stack[2].legal_moves = 0;
    while (MoveEntry* e = next_move(td, td.pos, 2, in_check)) {
        char t[kMoveTextSize];
        out.push_back({move_to_text(e->move, t), e->score});
    }
    return out;
}

int score_of(const std::vector<Picked>& list, const char* move) {
    for (const Picked& p : list)
        if (p.move == move) return p.score;
    return -1;
}

int position_of(const std::vector<Picked>& list, const char* move) {
    for (size_t i = 0; i < list.size(); i++)
        if (list[i].move == move) return int(i);
    return -1;
}

Move parse(const char* text) {
    Move m = 0;
    EXPECT_EQ(parse_move(thread_table[0]->pos, text, &m), 1) << text;
    return m;
}

// A pawn can take the queen; the queen can take a pawn the e7 pawn defends.
const char* const kCaptures = "4k3/4p3/3p4/2q5/1P6/8/8/3QK3 w - -";

}  // namespace

TEST(MovePicker, CaptureScoresAndStages) {
    engine_up(1);
    set_game_position(kCaptures);
    ThreadData& td = block_for_direct_search();
    std::vector<Picked> order = picker_order(td, false);
    ASSERT_FALSE(order.empty());
    EXPECT_EQ(order[0].move, "b4c5");
    EXPECT_EQ(order[0].score, 239);
    // The losing capture waits among the quiet moves, behind every quiet
    // move with the starting history score of 2048 / 128 = 16.
    EXPECT_EQ(score_of(order, "d1d6"), 9);
    EXPECT_EQ(score_of(order, "e1f2"), 16);
    EXPECT_GT(position_of(order, "d1d6"), position_of(order, "e1f2"));
    // Every pseudo-legal move appears exactly once: queen 15, king 4, pawn 2.
    EXPECT_EQ(order.size(), size_t(21));
    for (size_t i = 0; i < order.size(); i++)
        for (size_t j = i + 1; j < order.size(); j++) EXPECT_NE(order[i].move, order[j].move);
}

TEST(MovePicker, RecaptureKillersAndHashMove) {
    engine_up(1);
    set_game_position(kCaptures);
    ThreadData& td = block_for_direct_search();
    td.last_move = encode_move(42, 34);  // as if Black's last move had been Qc6-c5
    Move killer = parse("d1h5");
    td.stack[2].killer1 = killer;
    td.stack[2].hash_move = parse("e1d2");
    std::vector<Picked> order = picker_order(td, false);
    ASSERT_GE(order.size(), size_t(3));
    EXPECT_EQ(order[0].move, "e1d2");  // hash move first, alone
    EXPECT_EQ(order[0].score, 255);
    EXPECT_EQ(order[1].move, "b4c5");
    EXPECT_EQ(order[1].score, 246);  // 239 + 7 for the recapture square
    EXPECT_EQ(order[2].move, "d1h5");
    EXPECT_EQ(order[2].score, 80);  // 16 + 64
    // The hash move is not yielded a second time once a move was counted.
    int copies = 0;
    td.stack[2].stage = STAGE_HASH_MOVE;
    td.stack[2].legal_moves = 0;
    while (MoveEntry* e = next_move(td, td.pos, 2, false)) {
        if (e->move == td.stack[2].hash_move) copies++;
        td.stack[2].legal_moves = 1;
    }
    EXPECT_EQ(copies, 1);
}

TEST(MovePicker, EvasionsPreferTheEvasionKiller) {
    engine_up(1);
    // White in check from the rook on e8.
    set_game_position("4r1k1/8/8/8/8/8/3P1P2/4K3 w - -");
    ThreadData& td = block_for_direct_search();
    td.stack[2].killer_evasion = parse("e1d1");
    std::vector<Picked> order = picker_order(td, true);
    ASSERT_FALSE(order.empty());
    EXPECT_EQ(order[0].move, "e1d1");
    EXPECT_EQ(order[0].score, 90);
    EXPECT_EQ(score_of(order, "e1f1"), 1);
}

TEST(MovePicker, KillerAndCounterUpdates) {
    engine_up(1);
    set_game_position(kCaptures);
    ThreadData& td = block_for_direct_search();
    Move a = parse("d1h5"), b = parse("d1g4");
    td.last_move = 0;  // after a null move only the null-move killer is kept
    update_killers(td, td.pos, 2, a, false);
    EXPECT_EQ(td.stack[2].killer_null, a);
    EXPECT_EQ(td.stack[2].killer1, 0);

    td.last_move = encode_move(42, 34);
    update_killers(td, td.pos, 2, a, false);
    update_killers(td, td.pos, 2, b, false);
    update_killers(td, td.pos, 2, b, false);  // a repeat does not push out the older killer
    EXPECT_EQ(td.stack[2].killer1, b);
    EXPECT_EQ(td.stack[2].killer2, a);
    EXPECT_EQ(td.counter_moves[td.pos.board[34]][34], b);

    update_killers(td, td.pos, 2, a, true);
    EXPECT_EQ(td.stack[2].killer_evasion, a);
    EXPECT_EQ(td.stack[2].killer1, b);
}

namespace {

// Nodes counted by one search() call at a horizon node (depth <= 0).
uint64_t horizon_nodes(const char* fen, int depth) {
    set_game_position(fen);
    ThreadData& td = block_for_direct_search();
    td.nodes = 0;
    td.ply = 2;
    uint16_t pv[kMaxPly] = {};
    search(td.pos, td.pos.side_to_move, 2, depth, -10000, 10000, 0, pv);
    return td.nodes.load();
}

}  // namespace

TEST(Quiescence, ExchangeDepthAndCheckRules) {
    engine_up(1);
    // A knight taking a pawn that a pawn defends is skipped; an undefended one is taken.
    EXPECT_EQ(horizon_nodes("4k3/8/2p5/3p4/8/4N3/8/4K3 w - -", 0), 1u);
    EXPECT_GT(horizon_nodes("4k3/8/8/3p4/8/4N3/8/4K3 w - -", 0), 1u);
    // Deep in the quiescence search only recaptures on the last move's square count.
    EXPECT_EQ(horizon_nodes("4k3/8/8/3p4/8/4N3/8/4K3 w - -", -5), 1u);
    // Quiet checks only at the first quiescence ply.
    EXPECT_GT(horizon_nodes("4k3/8/8/8/8/8/8/R3K3 w - -", 0), 1u);
    EXPECT_EQ(horizon_nodes("4k3/8/8/8/8/8/8/R3K3 w - -", -1), 1u);
}

TEST(Quiescence, StandPatAtOrAboveBetaReturnsBeta) {
    engine_up(1);
    set_game_position("4k3/8/8/3p4/8/4N3/8/4K3 w - -");
    ThreadData& td = block_for_direct_search();
    td.nodes = 0;
    td.ply = 2;
    uint16_t pv[kMaxPly] = {};
    EXPECT_EQ(search(td.pos, 0, 2, 0, -500, -400, 0, pv), -400);
    EXPECT_EQ(td.nodes.load(), 1u);
}
