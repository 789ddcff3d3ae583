// The evaluation cache and pawn hash are read only inside a search (and the
// cache only below the root); the trace.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "eval/eval_trace.h"
#include "tests/eval/eval_fixture.h"

namespace vorn {

namespace {

const char* kMiddlegame = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R2QKB1R w KQ -";

TEST(EvalCache, ReadOnlyWhileSearchingBelowTheRoot) {
    Board board(kMiddlegame);
    Evaluator eval;
    const int fresh = eval(board.pos);
    const uint64_t key = full_key(board.pos);
    EvalCacheEntry& slot = eval.state->cache[eval_cache_index(key, board.pos.side_to_move)];
    ASSERT_EQ(slot.key, key);  // written even outside a search
    EXPECT_EQ(slot.score, fresh);

    slot.score = 1234;
    slot.threat[0] = 77;
    EXPECT_EQ(eval(board.pos, 3), fresh);  // not searching: computed afresh
    EXPECT_EQ(eval.state->eval_hits, 0u);
    slot.score = 1234;

    eval.state->searching = true;
    EXPECT_EQ(eval(board.pos, 1), fresh);  // the root is always evaluated
    slot.score = 1234;
    slot.threat[0] = 77;
    EXPECT_EQ(eval(board.pos, 2), 1234);
    EXPECT_EQ(eval.out.threat[0], 77);
    EXPECT_EQ(eval.state->eval_hits, 1u);
    EXPECT_EQ(eval.state->eval_probes, 4u);
}

TEST(PawnHash, ReadOnlyWhileSearching) {
    Board board(kMiddlegame);
    Evaluator eval;
    const int fresh = eval(board.pos);
    PawnHashEntry& entry = eval.state->pawn_hash[board.pos.pawn_key & (kPawnHashSize - 1)];
    ASSERT_EQ(entry.key, board.pos.pawn_key);
    const int16_t stored = entry.score_op[0];
    entry.score_op[0] = int16_t(stored + 500);
    EXPECT_EQ(eval(board.pos), fresh);     // recomputed and stored again
    EXPECT_EQ(entry.score_op[0], stored);

    eval.state->searching = true;
    entry.score_op[0] = int16_t(stored + 500);
    EXPECT_GT(eval(board.pos, 1), fresh);  // a hit: the poisoned score is used
    EXPECT_EQ(eval.state->pawn_hits, 1u);
}

TEST(Trace, ImbalanceHungAndPinnedListsRepeatedAlike) {
    // Rook, bishop and pawn against a knight; the knight on c6 is pinned to
    // its king and undefended, the pawn on e5 is attacked by it.
    Board board("4k3/8/2n5/1B2P3/8/8/8/R3K3 b - -");
    Evaluator eval;
    const std::string text = traced_evaluation_report(board.pos, *eval.state);
    EXPECT_EQ(traced_evaluation_report(board.pos, *eval.state), text);
    EXPECT_NE(text.find("(RBP :: N)"), std::string::npos) << text;
    EXPECT_NE(text.find("pinned pieces on :  c6\n"), std::string::npos) << text;
    EXPECT_NE(text.find("hung pieces on:   e5  c6\n"), std::string::npos) << text;
    EXPECT_EQ(text.substr(text.size() - 6), "black\n");
    // Square contributions sum to the side totals of the piece groups.
    int white = 0;
    for (int sq = 0; sq < 64; ++sq)
        if (board.pos.board[sq] && board.pos.board[sq] < 8) white += eval_trace.square[sq];
    EXPECT_NEAR(white, eval_trace.position[0], 8);  // tempo and rounding aside
    // Evaluations at other plies or while searching never touch the trace.
    const EvalTrace before = eval_trace;
    eval.state->trace_thread = true;
    eval(board.pos, 2);
    eval.state->searching = true;
    eval(board.pos, 1);
    EXPECT_EQ(0, std::memcmp(&before, &eval_trace, sizeof before));
}

}  // namespace

}  // namespace vorn
