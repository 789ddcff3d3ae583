// Whole evaluations: the start position, the shortcut endings, material
// draws, scaling and the cache rules.

#include <gtest/gtest.h>

#include "eval/engine_params.h"
#include "eval/evaluate.h"
#include "tests/eval/eval_fixture.h"

namespace {

const char* kStart = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

TEST(Evaluate, StartPositionIsTheTempo) {
    EXPECT_EQ(eval_fen(kStart), 16);
    EXPECT_EQ(eval_fen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq - 0 1"), 16);
}
}  // namespace
