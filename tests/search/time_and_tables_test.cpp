#include <gtest/gtest.h>

#include "eval/engine_params.h"
#include "search/iterate.h"
#include "search/reductions.h"
#include "tests/search/search_fixture.h"

TEST(LmrTable, WorkedValues) {
    EngineParams p;
    p.LMR_strength = 100;
    build_lmr_table(p);
    // Non-PV depth 3 after 2 moves: 0.55 * (sqrt 5 - 2.5) + 1.2 = 1.05 -> 1.
    EXPECT_EQ(p.lmr_table[0][3][2], 1);
    // Nothing below depth 3 or before the second move.
    EXPECT_EQ(p.lmr_table[0][2][10], 0);
    EXPECT_EQ(p.lmr_table[0][10][1], 0);
    // PV depth 3 is capped at d - 3 = 0.
    EXPECT_EQ(p.lmr_table[1][3][31], 0);
    // Caps: non-PV 3, PV 2.
    EXPECT_EQ(p.lmr_table[0][69][31], 3);
    EXPECT_EQ(p.lmr_table[1][69][31], 2);
    // PV depth 20, 20 moves: 0.55 * (sqrt 40 - 2.5) = 2.10 -> 2.
    EXPECT_EQ(p.lmr_table[1][20][20], 2);
    // Non-PV depth 4, 5 moves: 0.55 * 0.5 + 1.2 = 1.475 -> 1; min(1, 2) = 1.
    EXPECT_EQ(p.lmr_table[0][4][5], 1);
    // Entries never decrease with more moves.
    for (int pv = 0; pv < 2; pv++)
        for (int d = 3; d < 70; d++)
            for (int n = 3; n < 32; n++) EXPECT_GE(p.lmr_table[pv][d][n], p.lmr_table[pv][d][n - 1]);

    // A weaker strength reduces less.
    EngineParams weak;
    weak.LMR_strength = 25;
    build_lmr_table(weak);
    EXPECT_EQ(weak.lmr_table[1][20][20], 1);  // 0.275 * 3.82 = 1.05
}

TEST(Aspiration, WindowAroundThePreviousScore) {
    int a, b;
    aspiration_window(5, 40, &a, &b);
    EXPECT_EQ(aspiration_width(5, 40), 42);
    EXPECT_EQ(a, -2);
    EXPECT_EQ(b, 82);
    aspiration_window(1, 40, &a, &b);
    EXPECT_EQ(a, -10000);
    EXPECT_EQ(b, 10000);
    EXPECT_EQ(aspiration_width(2, 500), 250);
    // Deep iterations keep at least 15 on each side.
    EXPECT_EQ(aspiration_width(20, 0), 15);
    // Near a mate score the window opens to the end of the range.
    aspiration_window(10, 9690, &a, &b);
    EXPECT_EQ(b, 10000);
    aspiration_window(10, -9690, &a, &b);
    EXPECT_EQ(a, -10000);
}

TEST(TimeTarget, ClockModes) {
    SearchLimits l;
    l.ponder_enabled = 0;
    l.time_mode = 0;
    l.clock[0] = 60.0;
    EXPECT_NEAR(compute_target_time(l, 0, 0, false), 60.0 / 39, 1e-9);
    EXPECT_EQ(l.moves_to_go, 38);

    l.clock[1] = 10.0;
    l.increment = 0.1;
    EXPECT_NEAR(compute_target_time(l, 1, 40, false), 10.0 / 25 + 0.1 * 10 / 10.2, 1e-9);
    EXPECT_NEAR(l.target_time, 0.498, 0.001);

    l.increment = 0;
    l.clock[0] = 0.1;
    EXPECT_DOUBLE_EQ(compute_target_time(l, 0, 40, false), 0.002);

    // Pondering allows 30 % more while several moves remain.
    SearchLimits ponder = l;
    ponder.ponder_enabled = 1;
    ponder.clock[0] = 60.0;
    EXPECT_NEAR(compute_target_time(ponder, 0, 0, false), 60.0 / 39 * 1.3, 1e-9);

    // Fixed time per move: the target is the move time, which becomes the clock.
    SearchLimits fixed;
    fixed.time_mode = 1;
    fixed.move_time = 2.5;
    EXPECT_DOUBLE_EQ(compute_target_time(fixed, 1, 12, false), 2.5);
    EXPECT_DOUBLE_EQ(fixed.clock[1], 2.5);

    // Console "level 40": moves left in the period from the move number.
    SearchLimits level;
    level.ponder_enabled = 0;
    level.time_mode = 40;
    level.clock[0] = 300.0;
    compute_target_time(level, 0, 20, true);
    EXPECT_EQ(level.moves_to_go, 30);
    EXPECT_NEAR(level.target_time, 300.0 / 31, 1e-9);
    // In UCI the given moves-to-go stands.
    level.moves_to_go = 5;
    compute_target_time(level, 0, 20, false);
    EXPECT_EQ(level.moves_to_go, 5);
    // A nonsensical moves-to-go cannot divide by zero.
    level.moves_to_go = -1;
    EXPECT_GT(compute_target_time(level, 0, 20, false), 0.0);
}

namespace {

// A published depth-`depth` result from the first worker, as check_time sees it.
void fake_running_search(int depth, int score, int prev_score, int changed_depth) {
    engine_up(1);
    set_game_position("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    reset_search_result();
    search_result.depth = static_cast<int16_t>(depth);
    search_result.score = static_cast<int16_t>(score);
    search_result.pv[1] = 0x0C1C;
    ThreadData& w = *thread_table[1];
    w.iteration_depth = static_cast<uint8_t>(depth + 1);
    w.score_at_depth[depth] = static_cast<int16_t>(prev_score);
    w.root_pv[1] = 0x0C1C;
    w.root_score = static_cast<int16_t>(score);
    w.root_state = 0;
    last_change_depth = changed_depth;
    easy_move = 0;
    stop_signal = 0;
    shell.search_mode = 1;
}

}  // namespace

// One check of the clock against a published result, row by row: the first
// worker's iteration depth is one above the published depth, and its score
// there was `prev`.
TEST(TimeCheck, StopRules) {
    const struct {
        const char* why;
        int depth, score, prev, changed_depth;  // the best move last changed at this depth
        int time_mode, search_mode, easy;
        double clock, target, at;
        int stop;
    } cases[] = {
        {"stable best move: 85 % of the target", 8, 20, 20, 2, 1, 1, 0, 5.0, 1.0, 0.84, 0},
        {"stable best move: 85 % of the target", 8, 20, 20, 2, 1, 1, 0, 5.0, 1.0, 0.86, 1},
        // Plus 1 % of a clock that fixed time per move leaves at zero.
        {"best move changed in the last iteration: the full target", 8, 20, 20, 8, 1, 1, 0, 1.0, 1.0, 0.9, 0},
        {"best move changed in the last iteration: the full target", 8, 20, 20, 8, 1, 1, 0, 1.0, 1.0, 1.001, 1},
        // m = 15, the score more than four m below: the limit is the target
        // plus 20 % of the remaining clock less the overhead, reached at
        // (2.0 + 20 - 0.025) / 1.2 = 18.31 s.
        {"falling score", 5, -70, 0, 5, 0, 1, 0, 100.0, 2.0, 3.0, 0},
        {"falling score", 5, -70, 0, 5, 0, 1, 0, 100.0, 2.0, 18.2, 0},
        {"falling score", 5, -70, 0, 5, 0, 1, 0, 100.0, 2.0, 18.4, 1},
        // Below five overheads on the clock the first 20 ms are not granted.
        {"almost empty clock", 2, 0, 0, 2, 0, 1, 0, 0.1, 0.002, 0.003, 1},
        {"full clock, first 20 ms", 2, 0, 0, 2, 0, 1, 0, 10.0, 0.002, 0.003, 0},
        {"depth 1 only", 1, 0, 0, 1, 1, 1, 0, 5.0, 0.1, 50.0, 0},
        {"pondering", 6, 0, 0, 1, 1, 2, 0, 5.0, 0.1, 50.0, 0},
        {"abandoned analysis stops with 2", 6, 0, 0, 1, 1, 3, 0, 5.0, 0.1, 50.0, 2},
        {"a single legal move stops at once", 6, 0, 0, 1, 1, 1, 1, 5.0, 10.0, 0.5, 1},
    };
    for (const auto& c : cases) {
        fake_running_search(c.depth, c.score, c.prev, c.changed_depth);
        limits.time_mode = uint8_t(c.time_mode);
        limits.clock[0] = c.clock;
        limits.target_time = c.target;
        shell.search_mode = c.search_mode;
        easy_move = c.easy;
        check_time_at(c.at);
        EXPECT_EQ(stop_signal.load(), c.stop) << c.why << " at " << c.at;
    }
    stop_signal = 0;
    easy_move = 0;
    shell.search_mode = 0;
}
