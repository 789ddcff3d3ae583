#include "shell/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

CommandLine parse(std::vector<const char*> words) {
    words.insert(words.begin(), "vorn");
    CommandLine line;
    parse_command_line(static_cast<int>(words.size()), words.data(), line);
    return line;
}

TEST(CommandLine, DefaultsAreUciWithLogOneWorkerAnd64Megabytes) {
    CommandLine line = parse({});
    EXPECT_EQ(line.protocol_mode, 2);
    EXPECT_EQ(line.log_enabled, 1);
    EXPECT_EQ(line.threads, 1);
    EXPECT_EQ(line.hash_mb, 64);
    EXPECT_EQ(choose_run_mode(line), RunMode::normal_play);
}

TEST(CommandLine, ValuesAreClamped) {
    EXPECT_EQ(parse({"-threads", "0"}).threads, 1);
    EXPECT_EQ(parse({"-threads", "100"}).threads, 64);
    EXPECT_EQ(parse({"-threads", "junk"}).threads, 1);
    EXPECT_EQ(parse({"-hash", "-5"}).hash_mb, 0);
    EXPECT_EQ(parse({"-hash", "9000"}).hash_mb, 8192);
    CommandLine deep = parse({"-d", "80"});
    EXPECT_EQ(deep.max_depth, 66);
    EXPECT_EQ(deep.time_mode, 1);
    EXPECT_DOUBLE_EQ(deep.move_time, 10000.0);
    EXPECT_EQ(parse({"-n", "-4"}).node_limit, 0u);
}

TEST(CommandLine, DepthTimeAndNodesCombineAndTheLastDecidesMoveTime) {
    CommandLine line = parse({"-n", "5000", "-d", "7", "-t", "2.5"});
    EXPECT_EQ(line.node_limit, 5000u);
    EXPECT_EQ(line.max_depth, 7);
    EXPECT_DOUBLE_EQ(line.move_time, 2.5);
    EXPECT_DOUBLE_EQ(parse({"-t", "2.5", "-n", "10"}).move_time, 1000.0);
}

TEST(CommandLine, QuietNoiseAndProtocolSwitches) {
    CommandLine quiet = parse({"-quiet"});
    EXPECT_EQ(quiet.log_enabled, 0);
    EXPECT_DOUBLE_EQ(quiet.noise, 9999.0);
    CommandLine mixed = parse({"-c", "stray", "-quiet", "-noise", "1.5", "-uci_extra"});
    EXPECT_EQ(mixed.protocol_mode, 0);
    EXPECT_DOUBLE_EQ(mixed.noise, 1.5);
    EXPECT_EQ(mixed.uci_extra, 1);
    EXPECT_EQ(parse({"-c", "-uci"}).protocol_mode, 2);
    EXPECT_EQ(parse({"-nolog"}).log_enabled, 0);
}

TEST(CommandLine, OneModeRunsInTheFixedOrder) {
    EXPECT_EQ(choose_run_mode(parse({"-match", "m.rc", "-anepd", "t.epd"})), RunMode::epd_runner);
    EXPECT_EQ(choose_run_mode(parse({"-tune", "t.epd", "-bench"})), RunMode::benchmark);
    EXPECT_EQ(choose_run_mode(parse({"-scan_pgn3", "g.pgn", "-match", "m"})), RunMode::pgn_scanner);
    CommandLine odd = parse({"--scan_pgn9", "g.pgn"});
    EXPECT_EQ(odd.scan_mode, 0);
    EXPECT_EQ(choose_run_mode(odd), RunMode::normal_play);
    CommandLine bench = parse({"-bench2"});
    EXPECT_EQ(bench.bench_positions, 20);
    CommandLine pbench = parse({"-pbench"});
    EXPECT_EQ(pbench.pbench, 1);
    EXPECT_EQ(pbench.bench_positions, 10);
}

TEST(CommandLine, FileNamesAreBoundedAndAMissingValueIsIgnored) {
    std::string long_name(400, 'f');
    CommandLine line = parse({"-anepd", long_name.c_str()});
    EXPECT_EQ(std::string(line.epd_file), long_name.substr(0, 139));
    CommandLine tail = parse({"-hash"});
    EXPECT_EQ(tail.hash_mb, 64);
    EXPECT_EQ(choose_run_mode(parse({"-match"})), RunMode::normal_play);
}

}  // namespace
