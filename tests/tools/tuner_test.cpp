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
    EngineProcess engine({"-tune", "odds.epd"}, scratch_.path);
    engine.close_input();
    ASSERT_EQ(engine.wait_exit(120), 0);

    const std::string& out = engine.output();
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

TEST_F(Tuner, ConsoleLineSearchReportsABetterValueAndKeepsTheGame) {
    write_file("vorn.rc", "knight_value 200 200\n");
    write_file("tune.epd", knight_odds_positions());
    EngineProcess engine({"-c"}, scratch_.path);
    engine.send("fen 4k3/8/8/8/8/8/8/4K2N w - -");
    engine.send("tune no_such_parameter");
    engine.send("tune knight_value_op");
    engine.send("bd");
    engine.send("quit");
    ASSERT_EQ(engine.wait_exit(120), 0);
    const std::string& out = engine.output();

    const std::size_t tuning = out.find("\ntuning knight_value_op\nknight_value_op= 200, err= ");
    ASSERT_NE(tuning, std::string::npos);
    EXPECT_EQ(out.substr(tuning - 7, 7), "done!\n\n");  // the unknown name
    const std::vector<double> best = numbers_after(out.substr(tuning), "best= ");
    ASSERT_GE(best.size(), 3u);
    EXPECT_GT(best.back(), 330);
    EXPECT_NE(out.find("4k3/8/8/8/8/8/8/4K2N w - -", out.find("done!\n", tuning)), std::string::npos);
}

}  // namespace
