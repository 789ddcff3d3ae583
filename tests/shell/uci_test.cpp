// A scripted UCI conversation with the engine as a child process.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/shell/engine_process.h"

namespace vorn {

class Uci : public ::testing::Test {
protected:
    EngineProcess engine{{"-hash", "4"}};

    void SetUp() override {
        engine.send("uci");
        ASSERT_GE(engine.wait_for("uciok\n", 10), 0) << engine.output();
    }
    void TearDown() override {
        EXPECT_EQ(engine.quit(), 0);
    }

    // Sends the lines and "isready"; returns what came before "readyok".
    std::string exchange(const std::string& lines, double timeout = 10) {
        std::size_t from = engine.output().size();
        engine.send(lines + "\nisready");
        EXPECT_GE(engine.wait_for("readyok\n", timeout, from), 0) << engine.output().substr(from);
        std::string reply = engine.output().substr(from);
        return reply.substr(0, reply.rfind("readyok\n"));
    }

    std::string search(const std::string& lines, double timeout = 30) { return vorn::search(engine, lines, timeout); }
};

TEST_F(Uci, IdentificationAndOptionsInOrder) {
    // The log was on until "uci", so the command itself was echoed; after it
    // nothing is echoed any more.
    EXPECT_EQ(engine.output(),
              "CMD: uci\n"
              "id name Vorn 3.50\n"
              "id author Arno Kestrel\n"
              "option name Hash type spin default 64 min 0 max 8192\n"
              "option name Threads type spin default 1 min 1 max 64\n"
              "option name Ponder type check default true\n"
              "option name MultiPV type spin default 1 min 1 max 255\n"
              "option name Clear Hash type button\n"
              "option name Communication Overhead type spin default 25 min 0 max 5000\n"
              "option name OwnBook type check default false\n"
              "option name Log type check default false\n"
              "option name SyzygyPath type string default \n"
              "option name SyzygyProbeDepth5 type spin default 1 min 1 max 100\n"
              "option name SyzygyProbeDepth6 type spin default 3 min 1 max 100\n"
              "option name UCI_Chess960 type check default false\n"
              "uciok\n");
    EXPECT_EQ(exchange("stop"), "");  // "stop" while idle is ignored
}

TEST_F(Uci, OptionRepliesAndClamps) {
    const std::string long_path(1000, 'p');
    const std::pair<std::string, std::string> cases[] = {
        {"Hash value 2", "info string Hash size set to 2M bytes\n"},
        {"Hash value -7", "info string Hash size set to 0M bytes\n"},
        {"Threads value 0", "info string Threads set to 1\n"},
        {"Threads value 2", "info string Threads set to 2\n"},
        {"MultiPV value 0", "info string MultiPV set to 1\n"},
        {"MultiPV value 1000", "info string MultiPV set to 255\n"},
        {"Communication Overhead value 99999", "info string Communication Overhead set to 5000\n"},
        {"Communication Overhead value abc", "info string Communication Overhead set to 0\n"},
        {"OwnBook value true", "info string OwnBook set to 1\n"},
        {"OwnBook value TRUE", "info string OwnBook set to 0\n"},
        {"UCI_Chess960 value true", "info string UCI_Chess960 set to 1\n"},
        {"Log value TRUE", "info string Log set to 0\n"},
        {"SyzygyProbeDepth5 value 0", "info string SyzygyProbeDepth5 set to 1\n"},
        {"SyzygyProbeDepth6 value 500", "info string SyzygyProbeDepth6 set to 100\n"},
        {"SyzygyPath value /tb/one /tb/two",
         "info string SyzygyPath set to /tb/one\ninfo string found 0 tablebases\n"},
        {"SyzygyPath value <empty>", "info string SyzygyPath set to <empty>\n"},
        {"SyzygyPath value " + long_path, "info string SyzygyPath set to " +
                                              long_path.substr(0, 143) +
                                              "\ninfo string found 0 tablebases\n"},
        {"Hash value 1\nsetoption name Clear Hash",
         "info string Hash size set to 1M bytes\nHash table cleared\n"},
        {"Ponder value false\nsetoption name NoSuchOption value 3\nsetoption name hash value 3", ""},
        // Any value containing "true" switches the log on: commands are echoed again.
        {"Log value xtruex", "info string Log set to 1\nCMD: isready\n"},
    };
    for (const auto& [option, reply] : cases)
        EXPECT_EQ(exchange("setoption name " + option), reply) << option;
}

// A Hash size that the memory limit cannot hold keeps the table in use and
// says so in one line; the engine goes on searching.
TEST(UciHash, ASizeThatCannotBeHadKeepsTheTableInUse) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's shadow memory needs more address space than the limit leaves";
#endif
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &saved), 0);
    rlimit limited = saved;
    limited.rlim_cur = rlim_t(1) << 30;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limited), 0);
    EngineProcess engine({"-hash", "16"});  // started under the limit
    ASSERT_EQ(setrlimit(RLIMIT_AS, &saved), 0);
    const std::string out = search(engine, "setoption name Hash value 4000\nposition startpos\ngo depth 4");
    EXPECT_EQ(count_of(out, "\ninfo string Hash size 4000M bytes cannot be allocated; keeping 16M bytes\n"), 1) << out;
    EXPECT_EQ(engine.quit(), 0);
}

// Searches in one session, in order, so that limits and options carry over:
// what each answer must show and must not. Every answer ends with one
// "bestmove" line.
TEST_F(Uci, PositionsAndGoLimits) {
    // Twelve rounds of one pawn move per side and 68 plies of knight moves,
    // then Nf3: 841 plies (a line of 4.2 KB), more than the history holds,
    // never 100 without a pawn move; tabs separate the words and a carriage
    // return ends the line. Then knight moves only, beyond the fifty-move rule.
    const std::string pawns = "a2a3\ta7a6\ta3a4\ta6a5\tb2b3\tb7b6\tb3b4\tb6b5\tc2c3\tc7c6\tc3c4\tc6c5\t"
                              "d2d3\td7d6\td3d4\td6d5\te2e3\te7e6\te3e4\te6e5\th2h3\th7h6\th3h4\th6h5";
    const std::string shuffle = "\tg1f3\tg8f6\tf3g1\tf6g8", knights_only = repeat(190, shuffle);
    std::string long_game;
    for (int round = 0; round < 12; ++round) long_game.append("\t").append(pawns, 10 * round, 9) += repeat(17, shuffle);
    long_game += "\tg1f3";
    const struct {
        std::string lines;
        std::vector<std::string> shown, absent;
    } steps[] = {
        // The start line of every search shows the position searched; moves
        // are played up to the first illegal one.
        {"position startpos moves e2e4 e7e5\ngo depth 1",
         {"info string fen rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6\n"}, {}},
        {"position startpos moves e2e4 e2e4 d7d5\ngo depth 1",
         {"info string illegal move e2e4", "info string fen rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n"}, {}},
        {"position fen 4k3/8/8/8/8/8/8/4K2R w K - 0 1 moves e1g1\ngo depth 1",
         {"info string fen 4k3/8/8/8/8/8/8/5RK1 b - -\n"}, {}},
        {"position startpos\ngo depth 3", {"info depth 3 ", " pv "}, {"info depth 4 "}},
        // The depth limit carries over to a following "go" with clock times only.
        {"go wtime 600000 btime 600000", {"info depth 3 "}, {"info depth 4 "}},
        // Values are taken as given: "nodes 0" is no node limit (the depth
        // decides), "depth 0" only evaluates the root.
        {"go depth 5", {}, {}},
        {"go nodes 0", {"info depth 5 "}, {}},
        {"go depth 0", {"bestmove null\n"}, {"info depth"}},
        // The time manager prints the target it derives from the clock
        // fields of the side to move; a carried depth of 1 keeps these short.
        {"setoption name Ponder value false\nposition startpos\ngo depth 1", {}, {}},
        {"go wtime 60000 btime 1000", {"info string ply= 0, trg_time= 1.538 sec\n"}, {}},  // 60 / 39
        {"position startpos moves e2e4\ngo wtime 1000 btime 60000 winc 1000 binc 2000",
         {"info string ply= 1, trg_time= 3.413 sec\n"}, {}},
        {"position startpos\ngo wtime -5000 btime 60000", {"info string ply= 0, trg_time= 0.002 sec\n"}, {}},
        {"go wtime 60000 btime 60000 movestogo 40 depth 1", {"trg_time= 360000.000 sec\n"}, {}},  // fixed time again
        {"go wtime 4100 btime 4100 winc 0 movestogo 40", {"trg_time= 0.100 sec\n", "info depth 3 "}, {}},
        // No moves to go besides this one: 1 s / 1, capped at 0.65 s less four overheads.
        {"go wtime 1000 btime 1000 movestogo 0", {"trg_time= 0.550 sec\n"}, {}},
        {"setoption name MultiPV value 3\nposition startpos\ngo depth 4",
         {"info multipv 1 depth 1 ", "info multipv 3 depth 1 ", "info multipv 2 depth 4 ", "info multipv 3 depth 4 "},
         {"multipv 4"}},
        // Chess960: castling is read and written as the king taking its rook,
        // also where the king stays put (the only mate of the last one).
        {"setoption name MultiPV value 1\nsetoption name UCI_Chess960 value true\n"
         "position fen rk5r/pppppppp/8/8/8/8/PPPPPPPP/RK5R w HAha - 0 1 moves b1a1 b8h8\ngo depth 1",
         {"info string fen r4rk1/pppppppp/8/8/8/8/PPPPPPPP/2KR3R w - -\n"}, {}},
        {"position fen 4k3/8/8/8/8/8/8/4K2R w K - 0 1 moves e1h1\ngo depth 1",
         {"info string fen 4k3/8/8/8/8/8/8/5RK1 b - -\n"}, {}},
        {"position fen 4rkr1/4p1p1/8/8/8/8/8/6KR w K - 0 1\ngo depth 2", {"bestmove g1h1\n"}, {}},
        {"setoption name UCI_Chess960 value false\nposition fen 4k3/8/8/8/8/8/8/4K2R w K - 0 1 moves e1h1\ngo depth 1",
         {"info string illegal move e1h1"}, {}},
        {"setoption name MultiPV value 1\nposition\tstartpos\tmoves" + long_game + "\r\ngo depth 2",
         {"info string fen rnbqkbnr/5pp1/8/ppppp2p/PPPPP2P/5N2/5PP1/RNBQKB1R b KQkq -\n"}, {"info string illegal"}},
        {"position startpos moves" + knights_only + "\ngo depth 3", {"bestmove null\n"}, {}},
    };
    const std::regex answer("(^|\n)bestmove ([a-h][1-8][a-h][1-8]|null)( ponder [a-h][1-8][a-h][1-8])?\n$");
    for (const auto& step : steps) {
        const std::string out = search(step.lines);
        EXPECT_TRUE(std::regex_search(out, answer)) << step.lines << "\n" << out;
        EXPECT_EQ(count_of(out, "bestmove"), 1) << step.lines << "\n" << out;
        for (const std::string& text : step.shown) EXPECT_NE(out.find(text), std::string::npos) << step.lines << ": " << text << "\n" << out;
        for (const std::string& text : step.absent) EXPECT_EQ(out.find(text), std::string::npos) << step.lines << ": " << text << "\n" << out;
    }
}

// Searches without an end of their own stay silent, answer "isready" at
// once, and answer when released: infinite analysis at once on "stop", a
// ponder search on "ponderhit" once the clock's target (long past) is met.
TEST_F(Uci, OpenEndedSearchesAnswerIsreadyAndEndWhenReleased) {
    const struct {
        const char* go;
        const char* release;
        double within;
    } cases[] = {
        {"position startpos\ngo infinite", "stop", 0.5},
        {"position startpos moves e2e4\ngo ponder wtime 2000 btime 2000", "ponderhit", 2.0},
    };
    for (const auto& c : cases) {
        const std::size_t from = engine.output().size();
        engine.send(c.go);
        engine.drain(0.3);
        std::size_t before = engine.output().size();
        engine.send("isready");
        double waited = engine.wait_for("readyok\n", 2, before);
        EXPECT_GE(waited, 0) << c.go;
        EXPECT_LT(waited, 0.5) << c.go;
        engine.drain(0.7);
        EXPECT_EQ(engine.output().find("bestmove", from), std::string::npos) << c.go;
        before = engine.output().size();
        engine.send(c.release);
        waited = engine.wait_for("bestmove", 3, before);
        EXPECT_GE(waited, 0) << c.go;
        EXPECT_LT(waited, c.within) << c.go;
    }
}

// A ponder miss as interfaces send it: "stop" followed at once by the real
// position and "go". The stopped ponder search still owes its "bestmove",
// and the new search must answer with one of its own; an interface counts
// them to tell the two apart.
TEST_F(Uci, PonderMissAnswersBothSearches) {
    for (int round = 0; round < 3; ++round) {
        std::size_t from = engine.output().size();
        engine.send("position startpos moves e2e4 e7e5\ngo ponder wtime 5000 btime 5000");
        engine.drain(0.2);
        EXPECT_EQ(engine.output().find("bestmove", from), std::string::npos);  // still pondering
        // Without a pause between the lines, so the workers are still busy.
        engine.send("stop\nposition startpos moves e2e4 c7c5\ngo wtime 5000 btime 5000");
        ASSERT_GE(engine.wait_for("bestmove", 10, from), 0);
        ASSERT_GE(engine.wait_for("bestmove", 10, engine.output().find("bestmove", from) + 1), 0)
            << engine.output().substr(from);
        exchange("");  // "readyok": no third answer is on its way
        EXPECT_EQ(count_of(engine.output().substr(from), "bestmove"), 2) << engine.output().substr(from);
    }
}

TEST_F(Uci, JunkIsSurvived) {
    exchange("go wtime abc btime -5 movestogo -3 depth -1\nstop\nposition\nposition fen\n"
             "position fen ///// z\nposition startpos moves zz e2e4\nsetoption name Threads value\n"
             "\x01\x02\x7f\xff\n@@@\n\r\n   ");
    // The junk "go" was stopped, so it still owes its "bestmove".
    EXPECT_GE(engine.wait_for("bestmove", 10), 0) << engine.output();
    EXPECT_NE(search("position startpos\ngo depth 2").find("bestmove "), std::string::npos);
    // A position no search can make sense of is answered, not searched.
    std::string out = search("position fen 8/8/8/8/8/8/8/8 w - -\ngo depth 2");
    EXPECT_NE(out.find("info string not searching"), std::string::npos) << out;
    EXPECT_NE(out.find("bestmove null"), std::string::npos) << out;
}

// Commands are taken however they arrive: a line waits for its end; CR, CR
// LF, LF and '@' end lines, empty ones are skipped; a line of the longest
// length is kept and a longer one dropped; a burst loses nothing; the last
// line needs no end.
TEST(UciInput, LinesWhateverTheirEndsAndPace) {
    EngineProcess engine({"-nolog"});
    engine.send("uci\nisready\nisr", "");
    ASSERT_GE(engine.wait_for("readyok\n", 10), 0);
    engine.drain(0.2);
    EXPECT_EQ(count_of(engine.output(), "readyok"), 1);  // "isr" is not a line yet
    std::string rest = "eady\r\n\n\r\n   \nisready@isready@@isready\risready\r\r\n";
    rest += std::string(262143 - 7, ' ') + "isready\n" + std::string(262144 - 7, ' ') + "isready\n";
    engine.send(rest + repeat(3000, "isready\n") + "isready", "");
    engine.close_input();
    EXPECT_EQ(engine.wait_exit(20), 0);
    EXPECT_EQ(count_of(engine.output(), "readyok\n"), 3008);
    EXPECT_EQ(count_of(engine.output(), "info string input line longer than 262143 bytes ignored\n"), 1);
}

// Piped scripts: once the input ends, every "go" still gets exactly one
// "bestmove". Searches with a limit of their own run to it; infinite and
// ponder searches are stopped at once. "quit" in the middle of a search
// abandons it unanswered. Either way the engine exits with 0, and the last
// rows repeat the ending with workers and delays because it is a race.
TEST(UciShutdown, EveryGoIsAnsweredAfterTheEndOfInputAndQuitAbandonsIt) {
    struct Case {
        std::vector<std::string> args;
        const char* script;
        double pause;  // before the input ends or "quit" is sent
        bool quit;
        int answers;
        const char* shown;  // a line the answer must hold
        double at_least, at_most;  // seconds to the exit
    } cases[] = {
        {{}, "position startpos\ngo depth 7", 0, false, 1, "info depth 7 ", 0, 10},
        {{"-threads", "3"}, "position startpos\ngo movetime 600", 0, false, 1, " pv ", 0.5, 2.5},
        {{}, "go depth 2\ngo nodes 3000\ngo depth 3", 0, false, 3, "info depth 3 ", 0, 10},
        {{}, "position startpos\ngo infinite", 0, false, 1, "bestmove ", 0, 1.5},
        {{}, "position startpos moves e2e4\ngo ponder wtime 90000 btime 90000", 0, false, 1, "bestmove ", 0, 1.5},
        {{"-c"}, "an", 0, false, 1, "move= ", 0, 1.5},
        {{"-c"}, "an 4", 0, false, 1, "] 04. ", 0, 10},
        {{"-threads", "3"}, "position startpos\ngo infinite", 0.15, false, 1, "bestmove ", 0.15, 1.5},
        {{}, "position startpos\ngo infinite", 0.2, false, 1, "bestmove ", 0.2, 1.5},
        {{}, "position startpos\ngo infinite", 0, true, 0, "", 0, 3},
        {{"-threads", "3"}, "position startpos\ngo infinite", 0.05, true, 0, "", 0, 3},
        {{}, "position startpos\ngo infinite", 0.1, true, 0, "", 0, 3},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = c.args;
        args.insert(args.end(), {"-hash", "4", "-nolog"});
        EngineProcess engine(args);
        auto start = std::chrono::steady_clock::now();
        engine.send(c.script);
        engine.drain(c.pause);
        if (c.quit) engine.send("quit");
        engine.close_input();
        EXPECT_EQ(engine.wait_exit(20), 0) << c.script;
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_GE(seconds, c.at_least) << c.script;
        EXPECT_LE(seconds, c.at_most) << c.script;
        const std::string& out = engine.output();
        const bool console = !c.args.empty() && c.args[0] == "-c";
        EXPECT_EQ(count_of(out, console ? "move= " : "bestmove "), c.answers) << c.script << "\n" << out;
        EXPECT_NE(out.find(c.shown), std::string::npos) << c.script << "\n" << out;
    }
}

}  // namespace vorn
