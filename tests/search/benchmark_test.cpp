#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/shell/engine_process.h"

namespace {

// Runs the engine with the words of `args` and no input; returns its output.
std::string run_engine(const std::string& args) {
    std::vector<std::string> words{"-nolog"};
    std::istringstream in(args);
    for (std::string word; in >> word;) words.push_back(word);
    EngineProcess engine(words);
    engine.close_input();
    EXPECT_EQ(engine.wait_exit(120), 0) << args;
    return engine.output();
}

// Lines of the form "pos %2d: %6.2f seconds".
int count_position_lines(const std::string& text) {
    static const std::regex line("pos [ 0-9][0-9]: [ 0-9]{3}\\.[0-9]{2} seconds");
    std::istringstream lines(text);
    int count = 0;
    for (std::string l; std::getline(lines, l);) count += std::regex_match(l, line);
    return count;
}

std::string total_nodes(const std::string& out) {
    size_t at = out.find("total time= ");
    if (at == std::string::npos) return "";
    double seconds = 0, nps = 0;
    char nodes[32] = "";
    if (std::sscanf(out.c_str() + at, "total time= %lf seconds, nodes= %31[0-9], nps= %lf", &seconds, nodes, &nps) != 3)
        return "";
    return nodes;
}

}  // namespace

// With one thread and a depth limit the benchmark is deterministic, so its
// node total is a signature of every formula of the search and the
// evaluation: ordering scores, reductions, pruning margins, evaluation terms.
// An intended change to any of them updates this number together with the
// signature recorded in docs/benchmarks.md; a change meant to be neutral
// must leave it alone. "bench", the word test frameworks use, runs the same
// search as "-bench" and ends with the line they read.
TEST(Benchmark, NodeCountSignature) {
    const std::string out = run_engine("bench -d 9");
    EXPECT_NE(out.find("running benchmark\n"), std::string::npos) << out;
    EXPECT_EQ(count_position_lines(out), 10) << out;
    EXPECT_NE(out.find("pos  9: "), std::string::npos);
    EXPECT_EQ(total_nodes(out), "434800") << out;
    EXPECT_NE(out.find("\nnodes 434800 nps "), std::string::npos) << out;
    EXPECT_EQ(out.back(), '\n');
    EXPECT_EQ(out.find('\n', out.find("\nnodes ") + 1), out.size() - 1) << out;
}

// "stop" and "quit" typed during the benchmark end the current position's
// search early; the benchmark goes on with the next position.
TEST(Benchmark, StopAndQuitEndEachPositionEarly) {
    for (const char* command : {"stop", "quit"}) {
        EngineProcess engine({"-bench", "-hash", "4", "-nolog"});
        ASSERT_GE(engine.wait_for("running benchmark\n", 10), 0);
        const auto start = std::chrono::steady_clock::now();
        while (engine.output().find("total time= ") == std::string::npos &&
               std::chrono::steady_clock::now() - start < std::chrono::seconds(10)) {
            engine.send(command);
            engine.drain(0.02);
        }
        EXPECT_EQ(engine.wait_exit(10), 0) << command;
        EXPECT_EQ(count_position_lines(engine.output()), 10) << command << "\n" << engine.output();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << command;
    }
}

TEST(Benchmark, Bench2AndSeveralWorkersFinishEveryPosition) {
    for (const auto& [args, positions] : {std::pair{"-bench2 -d 4", 20}, std::pair{"-bench -d 8 -threads 3", 10}}) {
        const std::string out = run_engine(args);
        EXPECT_EQ(count_position_lines(out), positions) << out;
        EXPECT_FALSE(total_nodes(out).empty()) << out;
    }
}
