// The derived tables against their published default values, and the
// named-parameter table.

#include <gtest/gtest.h>

#include "eval/engine_params.h"
#include "tests/eval/eval_fixture.h"

namespace {

TEST(DerivedTables, DefaultValues) {
    EngineParams p;
    init_eval_tables(p);
    const int ppawn[8] = {0, 7, 7, 18, 38, 78, 138, 250};
    const int ppawnx[8] = {0, 7, 7, 12, 24, 36, 67, 0};
    const int danger[32] = {0,   0,   0,   0,   0,   0,   2,   7,   15,  25,  38,  54,  73,  94,  117, 143,
                            171, 198, 224, 249, 273, 296, 318, 339, 359, 378, 396, 413, 429, 444, 458, 471};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(p.ppawn[i], ppawn[i]) << i;
        EXPECT_EQ(p.ppawnx[i], ppawnx[i]) << i;
    }
    for (int i = 0; i < 64; ++i) EXPECT_EQ(p.KingDanger[i], i < 32 ? danger[i] : 0) << i;
    // Mobility ends: none, the neutral count, all squares.
    const struct {
        ScorePair entry;
        int op, en;
    } mobility[] = {{p.knight_mob[0], -24, -30}, {p.knight_mob[3], 0, 0},   {p.knight_mob[8], 20, 26},
                    {p.bishop_mob[0], -14, -19}, {p.bishop_mob[14], 26, 35}, {p.rook_mob[0], -11, -15},
                    {p.rook_mob[14], 22, 29},    {p.queen_mob[0], -13, -30}, {p.queen_mob[28], 27, 60}};
    for (const auto& m : mobility) {
        EXPECT_EQ(m.entry.op, m.op);
        EXPECT_EQ(m.entry.en, m.en);
    }
    EXPECT_EQ(p.file_islands[0xFF], 1);
    EXPECT_EQ(p.file_islands[0x55], 4);         // a c e g
    EXPECT_EQ(p.file_islands[0b11001101], 3);  // a, c-d, g-h
    EXPECT_EQ(p.file_lowest[0b11001100], 2);
    EXPECT_EQ(p.file_highest[0b00110100], 5);
}

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

TEST(PieceSquareTables, BuiltFromScalesWithTruncation) {
    EngineParams p;
    init_eval_tables(p);
    // Rook endgame scale 0 by default: a table of zeros.
    for (int sq = 0; sq < 64; ++sq) EXPECT_EQ(p.pst[4][sq].en, 0);
    EXPECT_EQ(p.pst[1][11].op, -5);     // d2 pawn: -1 x 40 / 8
    EXPECT_EQ(p.pst[1][48].en, 7);      // a7 pawn: 6 x 10 / 8 truncated
    EXPECT_EQ(p.pst[2][0].op, -36);     // a1 knight: 44 x -10 / 12 truncates toward zero
    EXPECT_EQ(p.pst[5][35].op, 2 - 4);  // d5 queen: 12 x 2 / 12, 4 less on ranks 5-8
    EXPECT_EQ(p.pst[6][60].op, -35);    // e8 king: 42 x 2 x (-1 - 4) / 12
    // Tables supplied whole by a settings file are not recomputed.
    p.pst_from_params = 0;
    p.pst[2][0] = {123, -45};
    init_eval_tables(p);
    EXPECT_EQ(p.pst[2][0].op, 123);
    EXPECT_EQ(p.pst[2][0].en, -45);
}

TEST(TuneParams, TableLayoutAndSelection) {
    set_default_params(params);
    init_eval_tables();
    register_tune_params();
    ASSERT_EQ(tune_param_count, 129);
    EXPECT_STREQ(tune_params[0].name, "pawn_value_op");
    EXPECT_EQ(tune_params[0].value, &params.pawn_value_op);
    EXPECT_EQ(tune_params[0].x, 90.0);
    EXPECT_STREQ(tune_params[63].name, "PST_K_en");
    EXPECT_STREQ(tune_params[64].name, "pst_a1");
    EXPECT_STREQ(tune_params[128].name, "tune");

    EXPECT_EQ(select_tune_param("Rook_value_op"), -1);  // case matters
    EXPECT_EQ(select_tune_param("rook_value"), -1);     // whole names only
    for (int i = 0; i < tune_param_count; ++i) EXPECT_EQ(tune_params[i].active, 0);
    EXPECT_EQ(select_tune_param("rook_value_en"), 7);
    EXPECT_EQ(tune_params[7].active, 1);
    tune_params[7].active = 0;
}

}  // namespace
