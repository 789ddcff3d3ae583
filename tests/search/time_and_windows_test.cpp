#include <gtest/gtest.h>

#include "search/iterate.h"
#include "tests/search/search_fixture.h"

// Deep iterations and mate scores: the benchmark's depth-limited searches
// reach neither, so its node count does not guard these windows.
TEST(Aspiration, DeepIterationsAndMateScores) {
    // Deep iterations keep at least 15 on each side.
    EXPECT_EQ(aspiration_width(20, 0), 15);
    // Near a mate score the window opens to the end of the range.
    int a, b;
    aspiration_window(10, 9690, &a, &b);
    EXPECT_EQ(b, 10000);
    aspiration_window(10, -9690, &a, &b);
    EXPECT_EQ(a, -10000);
}

// The plain clock formulas are checked through the UCI "trg_time" lines;
// these are the modes and inputs a GUI conversation does not reach.
TEST(TimeTarget, ClockModes) {
    // Pondering allows 30 % more while several moves remain.
    SearchLimits ponder;
    ponder.ponder_enabled = 1;
    ponder.time_mode = 0;
    ponder.clock[0] = 60.0;
    EXPECT_NEAR(compute_target_time(ponder, 0, 0, false), 60.0 / 39 * 1.3, 1e-9);
    EXPECT_EQ(ponder.moves_to_go, 38);

    // From the thirtieth ply on, 24 moves are taken to remain.
    SearchLimits late;
    late.ponder_enabled = 0;
    late.time_mode = 0;
    late.clock[1] = 10.0;
    late.increment = 0.1;
    EXPECT_NEAR(compute_target_time(late, 1, 40, false), 10.0 / 25 + 0.1 * 10 / 10.2, 1e-9);
    EXPECT_EQ(late.moves_to_go, 24);

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
    w.root_state = ROOT_NORMAL;
    last_change_depth = changed_depth;
    easy_move = 0;
    stop_signal = STOP_RUN;
    shell.search_mode = SEARCH_REPORT;
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
    stop_signal = STOP_RUN;
    easy_move = 0;
    shell.search_mode = SEARCH_NONE;
}
