// The tuner on the real binary: positions where the side with the extra
// knight wins (tests/tools/data, made by scripts/knight_odds_epd.py) must
// pull a knight value that starts far too low back up, in the "-tune" pass
// and in the console's line search, which leaves the game as it was.

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

#include "tests/shell/engine_process.h"
#include "tests/tools/tool_fixture.h"

namespace vorn {

namespace {

std::string knight_odds_positions() { return read_file(VORN_SOURCE_DIR "/tests/tools/data/knight_odds.epd"); }

// Every number that follows `label` in text, in order.
std::vector<double> numbers_after(const std::string& text, const std::string& label) {
    std::vector<double> found;
    for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1))
        found.push_back(std::atof(text.c_str() + at + label.size()));
    return found;
}

double mean(const std::vector<double>& v, std::size_t from, std::size_t to) {
    return std::accumulate(v.begin() + from, v.begin() + to, 0.0) / double(to - from);
}

// Each test's directory is the engine's working directory.
using Tuner = ToolTest;

TEST_F(Tuner, GradientPassRaisesATooLowKnightValueAndLowersTheError) {
    write_file("vorn.rc", "knight_value 200 200\n");
    write_file("odds.epd", knight_odds_positions());
    const std::string out = run_engine({"-tune", "odds.epd"}, "", scratch_.path, 120);
    const std::vector<double> knight = numbers_after(out, "** knight_value_op = ");
    const std::vector<double> error = numbers_after(out, "\nerr= ");
    ASSERT_EQ(knight.size(), 100u);
    ASSERT_EQ(error.size(), 100u);
    EXPECT_EQ(knight[0], 200);
    EXPECT_GT(knight[3], knight[0]);
    EXPECT_GT(mean(knight, 90, 100), 330);
    EXPECT_LT(mean(error, 90, 100), 0.5 * mean(error, 0, 10));

    // The log holds the passes, the values and the errors.
    EXPECT_EQ(read_file("tune.log").rfind("pass= 0, k0= 2.000e+03\n** knight_value_op = 200\n", 0), 0u);
}

// Without positions, or with nowhere to log, nothing is tuned; a missing
// file of positions is named instead of measuring 1.0 a hundred times.
TEST_F(Tuner, GradientPassWithoutPositionsOrLogMovesNothing) {
    EXPECT_EQ(run_engine({"-tune", "missing.epd"}, "", scratch_.path),
              "cannot read missing.epd: No such file or directory\n");
    write_file("tune.epd", knight_odds_positions());
    ASSERT_EQ(std::system("mkdir tune.log"), 0);  // cannot be created
    for (const char* input : {"tune.epd", "tune.log"}) {
        EXPECT_EQ(run_engine({"-tune", input}, "", scratch_.path).find("pass="), std::string::npos);
        ASSERT_EQ(std::system("rmdir tune.log; cp tune.epd tune.log"), 0);  // next: the log named as input
    }
    EXPECT_EQ(read_file("tune.log"), read_file("tune.epd"));
}

TEST_F(Tuner, ConsoleLineSearchReportsABetterValueAndKeepsTheGame) {
    write_file("vorn.rc", "knight_value 200 200\n");
    write_file("tune.epd", knight_odds_positions());
    // After tuning, the depth limit, progress lines and hash table are the console's again.
    const std::string out = run_engine({"-c"}, "fen 4k3/8/8/8/8/8/8/4K2N w - -\ntune no_such_parameter\n"
                                       "tune knight_value_op\nbd\nfen 7k/8/8/8/8/8/6PP/q5RK w - -\nmv",
                                       scratch_.path, 120);

    const std::size_t tuning = out.find("\ntuning knight_value_op\nknight_value_op= 200, err= ");
    ASSERT_NE(tuning, std::string::npos);
    EXPECT_EQ(out.substr(tuning - 7, 7), "done!\n\n");  // the unknown name
    const std::vector<double> best = numbers_after(out.substr(tuning), "best= ");
    ASSERT_GE(best.size(), 3u);
    EXPECT_GT(best.back(), 330);
    EXPECT_NE(out.find("4k3/8/8/8/8/8/8/4K2N w - -", out.find("done!\n", tuning)), std::string::npos);
    EXPECT_NE(out.find("move= g1a1"), std::string::npos) << out.substr(out.rfind("done!"));

    // Without tune.epd: one line naming it, then "done!".
    ASSERT_EQ(std::system("rm tune.epd"), 0);
    const std::string missing = run_engine({"-c"}, "tune knight_value_op\nquit", scratch_.path);
    EXPECT_NE(missing.find("white\n\ncannot read tune.epd: No such file or directory\ndone!\n\n"),
              std::string::npos) << missing;
}

}  // namespace

}  // namespace vorn
