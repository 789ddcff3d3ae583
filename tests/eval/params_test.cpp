// Derived tables for settings other than the defaults (the defaults are
// pinned by the benchmark's node count), and the named-parameter table.

#include <gtest/gtest.h>

#include "eval/engine_params.h"
#include "tests/eval/eval_fixture.h"

namespace vorn {

namespace {

TEST(DerivedTables, KingDangerScalesAndStaysNonNegative) {
    EngineParams p;
    p.king_safety = 50;
    init_eval_tables(p);
    EXPECT_EQ(p.KingDanger[6], 1);  // 0.9 rounds up
    for (int i = 1; i < 32; ++i) EXPECT_GE(p.KingDanger[i], p.KingDanger[i - 1]);
    p.king_safety = -100;
    init_eval_tables(p);
    for (int i = 0; i < 32; ++i) EXPECT_EQ(p.KingDanger[i], 0);
}

TEST(TuneParams, SelectionByWholeNameOnly) {
    set_default_params(params);
    init_eval_tables();
    register_tune_params();
    for (const char* wrong : {"Rook_value_en", "rook_value"}) EXPECT_EQ(select_tune_param(wrong), -1) << wrong;
    const int rook = select_tune_param("rook_value_en");
    ASSERT_GE(rook, 0);
    EXPECT_EQ(tune_params[rook].value, &params.rook_value_en);
    for (int i = 0; i < tune_param_count; ++i) EXPECT_EQ(tune_params[i].active, i == rook) << i;
    tune_params[rook].active = 0;
}

}  // namespace

}  // namespace vorn
