#include <gtest/gtest.h>

#include "search/iterate.h"
#include "tests/search/search_fixture.h"

namespace vorn {

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
// there was `prev`. Each row is checked just before `at` (no stop, or the
// row's own verdict when `quiet` is false) and at `at`.
TEST(TimeCheck, StopRules) {
    const struct {
        const char* why;
        int depth, score, prev, changed_depth;  // the best move last changed at this depth
        int time_mode, search_mode, easy;
        double clock, target, at;
        int stop;
        bool quiet;  // nothing stops just before `at`
    } cases[] = {
        {"stable best move: 85 % of the target", 8, 20, 20, 2, 1, 1, 0, 5.0, 1.0, 0.86, 1, true},
        // Plus 1 % of a clock that fixed time per move leaves at zero.
        {"best move changed in the last iteration: the full target", 8, 20, 20, 8, 1, 1, 0, 1.0, 1.0, 1.001, 1, true},
        // m = 15, the score more than four m below: the limit is the target
        // plus 20 % of the remaining clock less the overhead, reached at
        // (2.0 + 20 - 0.025) / 1.2 = 18.31 s.
        {"falling score", 5, -70, 0, 5, 0, 1, 0, 100.0, 2.0, 18.4, 1, true},
        // Below five overheads on the clock the first 20 ms are not granted.
        {"almost empty clock", 2, 0, 0, 2, 0, 1, 0, 0.1, 0.002, 0.003, 1, false},
        {"full clock, first 20 ms", 2, 0, 0, 2, 0, 1, 0, 10.0, 0.002, 0.003, 0, false},
        {"depth 1 only", 1, 0, 0, 1, 1, 1, 0, 5.0, 0.1, 50.0, 0, false},
        {"pondering", 6, 0, 0, 1, 1, 2, 0, 5.0, 0.1, 50.0, 0, false},
        {"abandoned analysis stops with 2", 6, 0, 0, 1, 1, 3, 0, 5.0, 0.1, 50.0, 2, false},
        {"a single legal move stops at once", 6, 0, 0, 1, 1, 1, 1, 5.0, 10.0, 0.5, 1, false},
    };
    for (const auto& c : cases)
        for (const double at : {c.at * 0.98, c.at}) {
            fake_running_search(c.depth, c.score, c.prev, c.changed_depth);
            limits.time_mode = uint8_t(c.time_mode);
            limits.clock[0] = c.clock;
            limits.target_time = c.target;
            shell.search_mode = c.search_mode;
            easy_move = c.easy;
            check_time_at(at);
            EXPECT_EQ(stop_signal.load(), at < c.at && c.quiet ? 0 : c.stop) << c.why << " at " << at;
        }
    stop_signal = STOP_RUN;
    easy_move = 0;
    shell.search_mode = SEARCH_NONE;
}

}  // namespace vorn
