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

TEST(CommandLine, ValuesAreClamped) {
    EXPECT_EQ(parse({"-threads", "0"}).threads, 1);
    EXPECT_EQ(parse({"-threads", "100"}).threads, 64);
    EXPECT_EQ(parse({"-hash", "-5"}).hash_mb, 0);
    EXPECT_EQ(parse({"-hash", "9000"}).hash_mb, 8192);
    EXPECT_EQ(parse({"-hash"}).hash_mb, 64);  // no value: ignored
    EXPECT_EQ(parse({"-d", "80"}).max_depth, 66);
    EXPECT_EQ(parse({"-n", "-4"}).node_limit, 0u);
    EXPECT_EQ(std::string(parse({"-anepd", std::string(400, 'f').c_str()}).epd_file),
              std::string(139, 'f'));
}

TEST(CommandLine, SwitchesApplyLeftToRight) {
    CommandLine line = parse({"-n", "5000", "-d", "7", "-t", "2.5"});
    EXPECT_EQ(line.node_limit, 5000u);
    EXPECT_EQ(line.max_depth, 7);
    EXPECT_DOUBLE_EQ(line.move_time, 2.5);  // the last of -d, -t, -n decides
    EXPECT_DOUBLE_EQ(parse({"-t", "2.5", "-n", "10"}).move_time, 1000.0);
    CommandLine mixed = parse({"-c", "stray", "-quiet", "-noise", "1.5"});
    EXPECT_EQ(mixed.protocol_mode, 0);
    EXPECT_EQ(mixed.log_enabled, 0);
    EXPECT_DOUBLE_EQ(mixed.noise, 1.5);
}

TEST(CommandLine, OneModeRunsInTheFixedOrder) {
    EXPECT_EQ(choose_run_mode(parse({})), RunMode::normal_play);
    EXPECT_EQ(choose_run_mode(parse({"-match", "m.rc", "-anepd", "t.epd"})), RunMode::epd_runner);
    EXPECT_EQ(choose_run_mode(parse({"-tune", "t.epd", "-bench"})), RunMode::benchmark);
    EXPECT_EQ(choose_run_mode(parse({"-scan_pgn3", "g.pgn", "-match", "m"})), RunMode::pgn_scanner);
    EXPECT_EQ(choose_run_mode(parse({"--scan_pgn9", "g.pgn"})), RunMode::normal_play);
    EXPECT_EQ(choose_run_mode(parse({"-scan_pgn", "g.pgn"})), RunMode::pgn_scanner);  // mode 0: games counted
    EXPECT_EQ(parse({"-bench2"}).bench_positions, 20);
    CommandLine pbench = parse({"-pbench"});
    EXPECT_EQ(pbench.pbench, 1);
    EXPECT_EQ(pbench.bench_positions, 10);
    // "bench" is the one word that is not a switch and still counts.
    CommandLine word = parse({"bench"});
    EXPECT_EQ(choose_run_mode(word), RunMode::benchmark);
    EXPECT_TRUE(word.bench_summary);
    EXPECT_FALSE(parse({"-bench"}).bench_summary);
    // "-tune_all FILE" takes an output name and options after it, then the
    // switches go on; "-tune" comes first.
    CommandLine all = parse({"-tune_all", "t.epd", "out.rc", "epochs=7", "slope=fit", "x.rc", "-c"});
    EXPECT_EQ(choose_run_mode(all), RunMode::trace_tuner);
    EXPECT_STREQ(all.epd_file, "t.epd");
    EXPECT_STREQ(all.tune_all.output, "out.rc");
    EXPECT_EQ(all.tune_all.epochs, 7);
    EXPECT_TRUE(all.tune_all.fit_slope);
    EXPECT_EQ(all.protocol_mode, 0);
    EXPECT_EQ(choose_run_mode(parse({"-tune_all", "a.epd", "-tune", "b.epd"})), RunMode::tuner);
}

}  // namespace

}  // namespace vorn
