// The trace tuner against independent measures on self-play positions
// (tests/tools/data/selfplay.epd: every tenth position of the decisive games
// of 100 made by scripts/make_tuning_data.sh): its error and gradient against
// the EPD runner's error of the real evaluation, and the settings file it
// writes read back by the engine.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "core/words.h"
#include "tests/shell/engine_process.h"
#include "tests/tools/tool_fixture.h"
#include "tools/tuner.h"
#include "tools/tuning_set.h"

namespace vorn {

namespace {

const std::string kPositions = VORN_SOURCE_DIR "/tests/tools/data/selfplay.epd";

using TraceTuner = ToolTest;

// The runner's error with one tuned value moved by `step`, the rest at `x`.
double runner_error(const std::vector<TunedParameter>& list, std::vector<double> x, std::size_t k,
                    double step) {
    x[k] += step;
    write_parameters(params, list, x);
    return tuning_error(0);
}

TEST_F(TraceTuner, ErrorAndGradientAgreeWithTheRunnersMeasure) {
    const EngineParams saved = params;
    copy_text(shell.epd_file, sizeof shell.epd_file, kPositions.c_str());
    limits.max_depth = 0;
    init_eval_tables();
    params.pst_from_params = 0;  // the tables are tuned entry by entry
    const std::vector<TunedParameter> list = tuned_parameters();
    const std::vector<double> x = read_parameters(params, list);

    TuningSet set(2);
    ASSERT_TRUE(set.load(kPositions.c_str()));
    ASSERT_GT(set.size(), 400);
    set.trace(list, x);
    std::vector<double> gradient;
    EXPECT_NEAR(set.error(x, &gradient), tuning_error(0), 1e-12);

    // One parameter of every kind: material, pawn structure, piece terms,
    // derived tables (mobility, passed pawns, king danger), table entries.
    // The positions come from decisive games: their targets lie far from
    // level scores, so the absolute error has no kink near most of them and
    // finite differences over a step of 8 measure its slope.
    for (const char* name : {"pawn_value_op", "knight_value_op", "rook_value_en", "bishop_pair_en",
                             "pawn_isolated_op", "pawn_doubled_en", "rook_open_file_op", "hung_en",
                             "knight_mobility_en", "bishop_mobility_op", "ppawn_r5", "king_safety",
                             "pawn_shield", "PST_knight_op f3", "PST_pawn_en e5", "PST_king_op g1"}) {
        std::size_t k = 0;
        while (k < list.size() && list[k].name != name) ++k;
        ASSERT_LT(k, list.size()) << name;
        const double slope = (runner_error(list, x, k, 8) - runner_error(list, x, k, -8)) / 16;
        EXPECT_NEAR(gradient[k], slope, 0.2 * std::fabs(slope) + 2e-6) << name;
    }

    // The squared loss's gradient against its own error's differences (the
    // runner has no squared measure to compare with).
    set.set_squared(true);
    std::vector<double> squared_gradient;
    set.error(x, &squared_gradient);
    for (std::size_t k : {std::size_t(0), std::size_t(5), list.size() - 100}) {
        std::vector<double> up = x, down = x;
        up[k] += 8;
        down[k] -= 8;
        const double slope = (set.error(up) - set.error(down)) / 16;
        EXPECT_NEAR(squared_gradient[k], slope, 0.05 * std::fabs(slope) + 1e-7) << list[k].name;
    }
    set.set_squared(false);

    // Away from the trace the model's error follows the runner's: every
    // value 4 down its gradient lowers the error by about 0.03.
    std::vector<double> moved = x;
    for (std::size_t k = 0; k < x.size(); ++k)
        moved[k] -= gradient[k] > 0 ? 4 : gradient[k] < 0 ? -4 : 0;
    write_parameters(params, list, moved);
    EXPECT_NEAR(set.error(moved), tuning_error(0), 0.001);
    EXPECT_LT(set.error(moved), set.error(x) - 0.02);

    params = saved;
    init_eval_tables();
}

TEST_F(TraceTuner, WritesASettingsFileThatTheEngineReadsBack) {
    write_file("train.epd", read_file(kPositions));
    const std::string out =
        run_engine({"-tune_all", "train.epd", "fitted.rc", "epochs=20", "retrace=10", "threads=2"}, "", scratch_.path, 60);
    const std::size_t check = out.find("read back: ");
    ASSERT_NE(check, std::string::npos) << out;
    int differ = -1, parameters = 0, agree = -1, positions = 0;
    ASSERT_EQ(std::sscanf(out.c_str() + check, "read back: %d of %d values differ, %d of %d positions",
                          &differ, &parameters, &agree, &positions),
              4);
    EXPECT_EQ(differ, 0);
    EXPECT_EQ(parameters, 897);
    EXPECT_GT(positions, 400);
    EXPECT_EQ(agree, positions);

    // tables=keep moves the named values only: the tables stay as written
    // with no epoch at all.
    const auto tables = [](const std::string& file) { return file.substr(file.find("PST_pawn_op")); };
    const auto named = [](const std::string& file) {
        const std::size_t first = file.find("\nNMP_depth");
        return file.substr(first, file.find("PST_pawn_op") - first);
    };
    run_engine({"-tune_all", "train.epd", "start.rc", "epochs=0"}, "", scratch_.path, 60);
    run_engine({"-tune_all", "train.epd", "kept.rc", "epochs=20", "tables=keep", "loss=squared", "positions=quiet"}, "",
               scratch_.path, 60);
    EXPECT_EQ(tables(read_file("kept.rc")), tables(read_file("start.rc")));
    EXPECT_NE(tables(read_file("fitted.rc")), tables(read_file("start.rc")));
    EXPECT_NE(named(read_file("kept.rc")), named(read_file("start.rc")));

    write_file("vorn.rc", read_file("fitted.rc"));
    const std::string loaded = run_engine({"-c"}, "quit", scratch_.path);
    EXPECT_NE(loaded.find("loaded parameters from vorn.rc"), std::string::npos);
    EXPECT_EQ(loaded.find("invalid PST"), std::string::npos);
}

}  // namespace

}  // namespace vorn
