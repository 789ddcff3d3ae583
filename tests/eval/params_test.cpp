// Parameter defaults, the derived tables and the named-parameter table.

#include <gtest/gtest.h>

#include <cstring>

#include "eval/engine_params.h"
#include "tests/eval/eval_fixture.h"

namespace {

TEST(DerivedTables, PassedPawnTablesFromDefaults) {
    EngineParams p;
    init_eval_tables(p);
    const int ppawn[8] = {0, 7, 7, 18, 38, 78, 138, 250};
    const int ppawnx[8] = {0, 7, 7, 12, 24, 36, 67, 0};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(p.ppawn[i], ppawn[i]) << i;
        EXPECT_EQ(p.ppawnx[i], ppawnx[i]) << i;
    }
    const int connected[8] = {0, 0, 0, 5, 18, 32, 32, 0};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(p.connected_bonus[i], connected[i]);
}

TEST(DerivedTables, KingDangerFromDefaults) {
    EngineParams p;
    init_eval_tables(p);
    const int expected[32] = {0,   0,   0,   0,   0,   0,   2,   7,   15,  25,  38,
                              54,  73,  94,  117, 143, 171, 198, 224, 249, 273, 296,
                              318, 339, 359, 378, 396, 413, 429, 444, 458, 471};
    for (int i = 0; i < 32; ++i) EXPECT_EQ(p.KingDanger[i], expected[i]) << i;
    for (int i = 32; i < 64; ++i) EXPECT_EQ(p.KingDanger[i], 0) << i;
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

TEST(DerivedTables, MobilityEndValues) {
    EngineParams p;
    init_eval_tables(p);
    struct End {
        const char* name;
        ScorePair entry;
        int op, en;
    } ends[] = {{"n0", p.knight_mob[0], -24, -30},  {"n3", p.knight_mob[3], 0, 0},
                {"n8", p.knight_mob[8], 20, 26},    {"b0", p.bishop_mob[0], -14, -19},
                {"b14", p.bishop_mob[14], 26, 35},  {"r0", p.rook_mob[0], -11, -15},
                {"r14", p.rook_mob[14], 22, 29},    {"q0", p.queen_mob[0], -13, -30},
                {"q28", p.queen_mob[28], 27, 60}};
    for (const End& e : ends) {
        EXPECT_EQ(e.entry.op, e.op) << e.name;
        EXPECT_EQ(e.entry.en, e.en) << e.name;
    }
    for (int n = 1; n < 29; ++n) EXPECT_GE(p.queen_mob[n].en, p.queen_mob[n - 1].en);
}

TEST(DerivedTables, FileMasks) {
    EngineParams p;
    init_eval_tables(p);
    EXPECT_EQ(p.file_islands[0xFF], 1);
    EXPECT_EQ(p.file_islands[0x55], 4);       // a c e g
    EXPECT_EQ(p.file_islands[0b11001101], 3);  // a, c-d, g-h
    EXPECT_EQ(p.file_lowest[0b11001100], 2);
    EXPECT_EQ(p.file_highest[0b00110100], 5);
}

TEST(PieceSquareTables, BuiltFromScales) {
    EngineParams p;
    init_eval_tables(p);
    // Rook endgame scale 0 by default: a table of zeros.
    for (int sq = 0; sq < 64; ++sq) EXPECT_EQ(p.pst[4][sq].en, 0);
    EXPECT_EQ(p.pst[1][11].op, -5);   // d2: -1 x 40 / 8
    EXPECT_EQ(p.pst[1][28].op, 10);   // e4: 2 x 40 / 8
    EXPECT_EQ(p.pst[1][48].en, 7);    // a7: 6 x 10 / 8 truncated
    EXPECT_EQ(p.pst[2][0].op, -36);   // a1 knight: 44 x -10 / 12 truncates toward zero
    EXPECT_EQ(p.pst[2][27].op, 7);    // d4: 44 x 2 / 12
    EXPECT_EQ(p.pst[5][35].op, 2 - 4);  // d5 queen: 12 x 2 / 12, 4 less on ranks 5-8
    EXPECT_EQ(p.pst[6][6].op, 7);     // g1 king: 42 x 2 x (1 + 0) / 12
    EXPECT_EQ(p.pst[6][60].op, -35);  // e8 king: 42 x 2 x (-1 - 4) / 12
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
    ASSERT_TRUE(tune_params_registered);
    ASSERT_EQ(tune_param_count, 129);
    EXPECT_STREQ(tune_params[0].name, "pawn_value_op");
    EXPECT_EQ(tune_params[0].value, &params.pawn_value_op);
    EXPECT_EQ(tune_params[0].x, 90.0);
    EXPECT_STREQ(tune_params[63].name, "PST_K_en");
    EXPECT_STREQ(tune_params[64].name, "pst_a1");
    EXPECT_STREQ(tune_params[128].name, "tune");
    EXPECT_EQ(tune_params[128].x, 256.0);
    for (int i = 0; i < tune_param_count; ++i) {
        EXPECT_EQ(tune_params[i].active, 0);
        EXPECT_EQ(tune_params[i].last_gradient, 0.0);
    }

    EXPECT_EQ(select_tune_param("Rook_value_op"), -1);  // case matters
    EXPECT_EQ(select_tune_param("rook_value"), -1);     // whole names only
    for (int i = 0; i < tune_param_count; ++i) EXPECT_EQ(tune_params[i].active, 0);
    EXPECT_EQ(select_tune_param("rook_value_en"), 7);
    EXPECT_EQ(tune_params[7].active, 1);
    tune_params[7].active = 0;
}

}  // namespace
