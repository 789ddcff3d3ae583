#include <gtest/gtest.h>

#include <string>

#include "tablebase/probe.h"
#include "tests/search/search_fixture.h"

// Without a table reader the engine must behave exactly as without tables.
TEST(TablebaseAccess, NoTablesMeansNoProbes) {
    engine_up(1);
    testing::internal::CaptureStdout();
    tb_init("<empty>");
    tb_init("");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    tb_init("/nonexistent;;/also/missing");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "info string found 0 tablebases\n");
    EXPECT_EQ(tb_largest, 0);

    set_game_position("8/8/8/4k3/8/8/3QK3/8 w - -");
    EXPECT_EQ(tb_probe_wdl(thread_table[0]->pos, 100), -1);
    int wdl = 7, dtz = 7;
    Move move = 1;
    EXPECT_EQ(tb_probe_root(thread_table[0]->pos, &wdl, &dtz, &move), -1);
    EXPECT_EQ(move, 0);

    // A search of a three-piece ending runs on the evaluation alone.
    const SearchResult& r = search_to_depth("8/8/8/4k3/8/8/3QK3/8 w - -", 10);
    EXPECT_EQ(r.tb_hits, 0u);
    EXPECT_EQ(root_tb_result.load(), -1);
    EXPECT_GT(r.score, 500);
}
