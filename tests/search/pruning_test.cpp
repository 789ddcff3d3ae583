#include <gtest/gtest.h>

#include "board/make_move.h"
#include "eval/engine_params.h"
#include "search/search.h"
#include "tests/search/search_fixture.h"

namespace {

// White has everything, Black a lone king: any null move fails high.
const char* const kCrushing = "4k3/8/8/8/8/8/PPPPPPPP/RNBQKBNR w KQ -";

// Searches the game position as a non-PV node at ply 2 with window (-1, 0)
// and returns the depth the table holds for it afterwards (-99 none).
int stored_depth_after(int depth, int* score) {
    set_game_position(kCrushing);
    ThreadData& td = block_for_direct_search();
    tt_clear();
    tt_generation = 1;
    td.ply = 2;
    uint16_t pv[kMaxPly] = {};
    *score = search(td.pos, 0, 2, depth, -1, 0, 0, pv);
    TTRead r = tt_read(full_key(td.pos), 0, 2, td.pos.board);
    return r.hit ? r.depth : -99;
}

}  // namespace

TEST(NullMove, ShallowFailHighReturnsDeepOneVerifiesFourPliesLess) {
    engine_up(1);
    int score = 0;
    // Depth 4: the null move's fail-high ends the node; nothing is stored.
    EXPECT_EQ(stored_depth_after(4, &score), -99);
    EXPECT_EQ(score, 0);
    // Depth 9: the node goes on at depth 5 and stores that depth.
    EXPECT_EQ(stored_depth_after(9, &score), 5);
    EXPECT_EQ(score, 0);

    // With null move switched off the same node is searched to its full depth.
    EngineParams saved = params;
    params.NMP_depth = 99;
    EXPECT_EQ(stored_depth_after(9, &score), 9);
    EXPECT_EQ(score, 0);
    params = saved;
}

TEST(NullMove, NeverRightAfterAnotherNullMove) {
    engine_up(1);
    set_game_position(kCrushing);
    ThreadData& td = block_for_direct_search();
    // Both sides have just passed: White may not pass again.
    make_null_move(td.pos);
    make_null_move(td.pos);
    tt_clear();
    tt_generation = 1;
    td.ply = 2;
    uint16_t pv[kMaxPly] = {};
    EXPECT_EQ(search(td.pos, 0, 2, 9, -1, 0, 0, pv), 0);
    TTRead r = tt_read(full_key(td.pos), 0, 2, td.pos.board);
    ASSERT_TRUE(r.hit);
    EXPECT_EQ(r.depth, 9);
    unmake_null_move(td.pos);
    unmake_null_move(td.pos);
}
