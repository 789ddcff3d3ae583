// A ponder miss as interfaces send it: "stop" followed at once by the real
// position and "go". The stopped ponder search still owes its "bestmove",
// and the new search must answer with one of its own; an interface counts
// them to tell the two apart.

#include <gtest/gtest.h>

#include <string>

#include "tests/shell/engine_process.h"

namespace {

int count_of(const std::string& text, const std::string& needle) {
    int n = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
    return n;
}

}  // namespace

TEST(UciPonderMiss, EveryGoIsAnsweredByOneBestmove) {
    EngineProcess engine{{"-hash", "4"}};
    engine.send("uci");
    ASSERT_GE(engine.wait_for("uciok\n", 10), 0);
    for (int round = 0; round < 3; ++round) {
        std::size_t from = engine.output().size();
        engine.send("position startpos moves e2e4 e7e5\ngo ponder wtime 5000 btime 5000");
        engine.drain(0.2);
        // Without a pause between the lines, so the workers are still busy.
        engine.send("stop\nposition startpos moves e2e4 c7c5\ngo wtime 5000 btime 5000");
        ASSERT_GE(engine.wait_for("bestmove", 10, from), 0);
        std::size_t first = engine.output().find("bestmove", from);
        ASSERT_GE(engine.wait_for("bestmove", 10, first + 1), 0) << engine.output().substr(from);
        engine.send("isready");
        ASSERT_GE(engine.wait_for("readyok", 10, from), 0);
        EXPECT_EQ(count_of(engine.output().substr(from), "bestmove"), 2) << engine.output().substr(from);
    }
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(10), 0);
}
