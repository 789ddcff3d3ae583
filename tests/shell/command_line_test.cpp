#include "shell/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorn {

namespace {

CommandLine parse(std::vector<const char*> words) {
    words.insert(words.begin(), "vorn");
    CommandLine line;
    parse_command_line(static_cast<int>(words.size()), words.data(), line);
    return line;
}

// Only the clamps that guard a fixed-size array or buffer, or the one worker.
TEST(CommandLine, ValuesThatIndexArraysAreClamped) {
    EXPECT_EQ(parse({"-threads", "0"}).threads, 1);
    EXPECT_EQ(parse({"-d", "80"}).max_depth, 66);
    EXPECT_EQ(std::string(parse({"-anepd", std::string(400, 'f').c_str()}).epd_file), std::string(139, 'f'));
}

TEST(CommandLine, SwitchesApplyLeftToRight) {
    EXPECT_DOUBLE_EQ(parse({"-n", "5000", "-d", "7", "-t", "2.5"}).move_time, 2.5);  // the last of -d, -t, -n decides
    EXPECT_DOUBLE_EQ(parse({"-t", "2.5", "-n", "10"}).move_time, 1000.0);
    CommandLine mixed = parse({"-c", "stray", "-quiet", "-noise", "1.5"});
    EXPECT_EQ(mixed.protocol_mode, 0);
    EXPECT_DOUBLE_EQ(mixed.noise, 1.5);
}

TEST(CommandLine, OneModeRunsInTheFixedOrder) {
    const struct {
        std::vector<const char*> words;
        RunMode mode;
    } cases[] = {
        {{}, RunMode::normal_play},
        {{"-match", "m.rc", "-anepd", "t.epd"}, RunMode::epd_runner},
        {{"-tune", "t.epd", "-bench"}, RunMode::benchmark},
        {{"-scan_pgn3", "g.pgn", "-match", "m"}, RunMode::pgn_scanner},
        {{"--scan_pgn9", "g.pgn"}, RunMode::normal_play},
        {{"bench"}, RunMode::benchmark},  // the one word that is not a switch and still counts
        {{"-tune_all", "a.epd", "-tune", "b.epd"}, RunMode::tuner},
    };
    for (const auto& c : cases) EXPECT_EQ(choose_run_mode(parse(c.words)), c.mode) << testing::PrintToString(c.words);
    // "-tune_all FILE" takes an output name and options after it, then the switches go on.
    CommandLine all = parse({"-tune_all", "t.epd", "out.rc", "epochs=7", "slope=fit", "x.rc", "-c"});
    EXPECT_EQ(choose_run_mode(all), RunMode::trace_tuner);
    EXPECT_STREQ(all.tune_all.output, "out.rc");
    EXPECT_EQ(all.tune_all.epochs, 7);
    EXPECT_TRUE(all.tune_all.fit_slope);
    EXPECT_EQ(all.protocol_mode, 0);
}

}  // namespace

}  // namespace vorn
