#include <gtest/gtest.h>

#include <string>

#include "board/make_move.h"
#include "tests/search/search_fixture.h"

namespace vorn {

namespace {

const char* const kPositions[] = {
    "r1bqkb1r/pp1ppppp/2n2n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R b KQkq -",
    "1r1qbr1k/4bp1p/p3p2Q/3pP3/2pP4/P1N1PN2/1PR2RP1/6K1 b - -",
    "r7/5pk1/5p2/2p5/pp6/1P1B1KPN/P6P/8 b - -",
};

}  // namespace

TEST(Threads, EveryPoolSizeReturnsALegalMove) {
    for (int n : {1, 2, 4, 8}) {
        engine_up(n);
        EXPECT_EQ(threads, n);
        for (const char* fen : kPositions) {
            const SearchResult& r = search_to_depth(fen, 9);
            EXPECT_TRUE(legal_in_game_position(r.best_move)) << n << " threads, " << fen;
            EXPECT_GE(r.depth, 9);
            EXPECT_EQ(count_searching(), 0);
            // The reported worker searched. A late secondary may find the
            // search already over on a loaded two-core machine (it starts a
            // few milliseconds after the first), so its count may be zero.
            EXPECT_GT(thread_table[1]->nodes.load(), 0u);
        }
    }
    stop_threads(threads);
    ASSERT_EQ(start_threads(0), 0);  // counts below one are clamped
    EXPECT_EQ(threads, 1);
}

TEST(Threads, NodeLimitStopsTheSearch) {
    engine_up(1);
    limits.node_limit = 20000;
    const SearchResult& r = search_to_depth(kPositions[1], 60);
    EXPECT_LT(r.nodes, 25000u);
    EXPECT_TRUE(legal_in_game_position(r.best_move));
    limits.node_limit = 0;
}

// In-process on purpose: this is the pool the ThreadSanitizer build watches
// while workers print, the clock runs out and a stop request arrives.
TEST(Threads, ClockAndStopEndAPrintingPool) {
    for (int stop_by_clock : {1, 0}) {
        engine_up(3);
        shell.noise = 0.0;
        shell.start_request = SEARCH_REPORT;
        limits.time_mode = 1;
        limits.move_time = stop_by_clock ? 0.3 : 1000.0;
        limits.max_depth = 60;
        set_game_position(kPositions[1]);
        testing::internal::CaptureStdout();
        tt_clear();
        read_clock(1);
        prepare_search();
        start_workers();
        while (count_searching()) {
            check_time();
            if (!stop_by_clock && elapsed_now() > 0.3) stop_signal = STOP_REPORT;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        const double took = elapsed_now();
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_GT(took, 0.15) << stop_by_clock;
        EXPECT_LT(took, 0.8) << stop_by_clock;
        EXPECT_NE(out.find(" pv "), std::string::npos);
        EXPECT_TRUE(legal_in_game_position(search_result.best_move));
        shell.noise = 9999.0;
        shell.search_mode = SEARCH_NONE;
    }
    engine_up(1);
}

TEST(RootReport, OneLegalMoveIsAnEasyMove) {
    engine_up(1);
    // The white king's only move is Kb1.
    const SearchResult& r = search_to_depth("7k/8/8/8/8/8/6q1/K7 w - -", 8);
    EXPECT_EQ(text_of(r.best_move), "a1b1");
    EXPECT_EQ(easy_move.load(), 1);
    // Several moves: no easy move at low depth.
    search_to_depth(kPositions[0], 8);
    EXPECT_EQ(easy_move.load(), 0);
}

TEST(Threads, AStopBeforeTheFirstScoreStillAnswersALegalMove) {
    engine_up(1);
    set_game_position(kPositions[0]);
    limits.max_depth = 30;
    read_clock(1);
    prepare_search();
    stop_signal = STOP_REPORT;  // as if "stop" arrived with "go"
    start_workers();
    while (count_searching()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(legal_in_game_position(search_result.best_move));
    EXPECT_EQ(search_result.depth, 0);
}

}  // namespace vorn
