#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

#include "tests/shell/engine_process.h"

namespace vorn {

namespace {

// Lines of the form "pos %2d: %6.2f seconds".
int count_position_lines(const std::string& text) {
    static const std::regex line("pos [ 0-9][0-9]: [ 0-9]{3}\\.[0-9]{2} seconds");
    std::istringstream lines(text);
    int count = 0;
    for (std::string l; std::getline(lines, l);) count += std::regex_match(l, line);
    return count;
}

}  // namespace

// With one thread and a depth limit the node total is a signature of every
// search and evaluation formula: an intended change updates it together with
// docs/benchmarks.md. "bench", the test frameworks' word, ends with their line.
TEST(Benchmark, NodeCountSignature) {
    const std::string out = run_engine({"-nolog", "bench", "-d", "9"}, "", "", 120);
    EXPECT_NE(out.find("running benchmark\n"), std::string::npos) << out;
    EXPECT_EQ(count_position_lines(out), 10) << out;
    EXPECT_TRUE(std::regex_search(out, std::regex("total time= [0-9.]+ seconds, nodes= 434800, nps= [0-9]+\n"
                                                  "nodes 434800 nps [0-9]+\n$")))
        << out;
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

}  // namespace vorn
