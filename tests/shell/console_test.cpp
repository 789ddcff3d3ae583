// Console commands, driven through the engine's standard input with -c.

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/shell/engine_process.h"

namespace {

const std::string kStartBoard =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\n"
    " r n b q k b n r\n o o o o o o o o\n"
    " - + - + - + - +\n + - + - + - + -\n - + - + - + - +\n + - + - + - + -\n"
    " P P P P P P P P\n R N B Q K B N R\nwhite\n";

// Runs a console script (in a directory holding the given files) to its end.
std::string run_console(const std::string& script,
                        const std::vector<std::pair<std::string, std::string>>& files = {},
                        std::string* saved_games = nullptr) {
    EngineProcess engine({"-c", "-hash", "1"});
    for (const auto& [name, content] : files) engine.write_file(name, content);
    engine.send(script);
    engine.close_input();
    EXPECT_EQ(engine.wait_exit(30), 0);
    if (saved_games) *saved_games = engine.read_file("tmp.pgn");
    return engine.output();
}

// Expects the texts to appear in this order.
void expect_in_order(const std::string& out, const std::vector<std::string>& texts) {
    std::size_t at = 0;
    for (const std::string& text : texts) {
        std::size_t next = out.find(text, at);
        ASSERT_NE(next, std::string::npos) << "missing in order: " << text << "\n" << out;
        at = next + 1;
    }
}

TEST(Console, BoardsArePrintedExactly) {
    std::string out = run_console("fen 8/8/8/8/8/8/8/8 w - -\nbd\nquit");
    const std::string empty_board =
        "8/8/8/8/8/8/8/8 w - -\n"
        " - + - + - + - +\n + - + - + - + -\n - + - + - + - +\n + - + - + - + -\n"
        " - + - + - + - +\n + - + - + - + -\n - + - + - + - +\n + - + - + - + -\nwhite\n";
    // (An empty line after each board is tolerated.)
    std::string compact = out;
    for (std::size_t at; (at = compact.find("\n\n")) != std::string::npos;) compact.erase(at, 1);
    EXPECT_EQ(compact, kStartBoard + empty_board + empty_board);
}

TEST(Console, GarbageNeverCrashes) {
    std::string script;
    const std::string fens[] = {"", "x", "99999999999/////////// b KQkq z9",
                                std::string(40, 'K'), std::string(70, 'p'),
                                "8/8/8/8 w KQkq e9 12 99", "/ / / /",
                                "QQQQQQQQ/QQQQQQQQ/8/8/8/8/qqqqqqqq/K6k w - -", "kK6/pP6/8/8/8/8/8/8 w - -",
                                "PPPPPPPP/8/8/8/8/8/8/pppppppp w - -", "4k3/PPPPPPPP/8/8/8/8/pppppppp/4K3 b - -",
                                "k7/8/8/8/8/8/8/7P w - -", "rnbq1bnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1BNR w - -",
                                "8/8/8/8/8/8/8/8 b - -"};
    for (const std::string& fen : fens)
        script += "fen " + fen + "\nbd\nperft 2\nev\nswap\nundo\n]\ngo 2\nmv\n";
    std::string out = run_console(script + "\x01\xff\nmove\njump -5\nlevel x y z\nnew\nquit");
    EXPECT_NE(out.find(kStartBoard, out.rfind("8/8/8/8/8/8/8/8 b - -")), std::string::npos) << out;
}

TEST(Console, PerftLevelAndCommandsWithoutATool) {
    std::string out = run_console("perft 3\nperft\nlevel 40 5:00 0\nlevel 0 90 1.5\nquit");
    EXPECT_TRUE(std::regex_search(
        out, std::regex("visited 8902 nodes in [0-9]+\\.[0-9]{3} seconds, nps= [0-9]+\n")))
        << out;
    EXPECT_NE(out.find("visited 0 nodes"), std::string::npos);
    EXPECT_NE(out.find("set level to 40 moves in 300.00 seconds, inc 0.00\n"), std::string::npos);
    EXPECT_NE(out.find("set level to 0 moves in 90.00 seconds, inc 1.50\n"), std::string::npos);
}

TEST(Console, TakeBackReplayAndJump) {
    std::string out = run_console(
        "undo\n]\n"           // nothing to take back or replay: no output
        "e2e4\ne7e5\nNf3\n"   // three moves in different notations
        "undo\n[\n]\n"        // two taken back, one replayed
        "perft 2\n"           // perft must not disturb the moves kept for "]"
        "jump 0\njump 99\n"   // back to the start, then forward through all three
        "undo\nd2d4\n]\n"     // a new move cuts the replay chain: "]" does nothing
        "quit");
    const std::string e4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n";
    const std::string e5 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6\n";
    const std::string nf3 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n";
    const std::string d4 = "rnbqkbnr/pppp1ppp/8/4p3/3PP3/8/PPP2PPP/RNBQKBNR b KQkq d3\n";
    expect_in_order(out, {kStartBoard, "1. move e2e4\n", e4, e5, "2. move Nf3\n", nf3, e5, e4,
                          "1... move e7e5\n", e5, kStartBoard, nf3, e5, d4});
    EXPECT_EQ(out.find(" move ", out.find(d4)), std::string::npos) << out;
    EXPECT_EQ(count_of(out, "rnbqkbnr/"), 11) << out;
}

TEST(Console, MovesAreRefusedOnceTheHistoryIsFull) {
    std::string script;
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < 700; ++i) script += std::string(shuffle[i % 4]) + "\n";
    std::string out = run_console(script + "undo\nf6g8\nquit");
    // Move 672 is the last one taken; of the rest only White's are moves of
    // the side to move (Black's fail to parse and print nothing).
    EXPECT_EQ(count_of(out, "the game history is full"), 7);
    EXPECT_EQ(count_of(out, "337. move"), 0);
    // After a take-back there is room for one move again.
    std::size_t last_refusal = out.rfind("the game history is full");
    EXPECT_EQ(count_of(out.substr(0, last_refusal), "336. move f6g8\n"), 1);
    EXPECT_NE(out.find("336. move f6g8\n", last_refusal), std::string::npos);
}

TEST(Console, SaveLoadAndGet) {
    std::string saved;
    std::string out = run_console("e2e4\ne7e5\nNf3\nNc6\nundo\nsave\nsave\n]\nquit", {}, &saved);
    EXPECT_EQ(saved, "[Event \"Unknown\"]\ne4 e5 Nf3 \n\n[Event \"Unknown\"]\ne4 e5 Nf3 \n\n");
    EXPECT_NE(out.find("2... move b8c6\n"), std::string::npos) << out;  // still replayable

    const std::string pgn =
        "[Event \"first\"]\n[White \"Ann\"]\n\n1. e4 {a comment\nover two lines} e5 2. Nf3 1-0\n\n"
        "[Event \"second\"]\n\n1. d4 d5 2. c4 dxc4 1/2-1/2\n\n[Event \"third\"]\n\n1. e4 Ke7 Qh5 0-1\n";
    const std::string epd = "; id \"X.2\"\n8/8/8/8/8/8/8/K6k b - - id \"X.2\";\n";
    out = run_console("load games.pgn 2\nload games.pgn Ann\nload games.pgn third\nload none.pgn\n"
                      "get X.2\nget nothing\nquit",
                      {{"games.pgn", pgn}, {"test.epd", epd}});
    expect_in_order(out, {"loading games.pgn, tag 2\n\nrnbqkbnr/ppp1pppp/8/8/2pP4/8/PP2PPPP/RNBQKBNR w KQkq -\n",
                          "loading games.pgn, tag Ann\n\nrnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n",
                          "can't parse move 'Ke7'\n",
                          // a file that cannot be opened is named and leaves the position as it was
                          "loading none.pgn, tag \n\ncannot read none.pgn: No such file or directory\n"
                          "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n",
                          "8/8/8/8/8/8/8/K6k b - - id \"X.2\";\n8/8/8/8/8/8/8/K6k b - -\n",
                          "8/8/8/8/8/8/8/K6k b - -\n"});
}

TEST(Console, EditorKeepsOnlyCastlingRightsItsPiecesSupport) {
    std::string out = run_console("edit\n#\nw Ke1 Rh1 Ra2\nb Ke8 Ra8 xa8 Qd8 Zz9 Qa1\n.\nquit");
    EXPECT_NE(out.find("\n\n\n.                    end edit\n#                    clear board\n"),
              std::string::npos) << out;
    // White keeps its king side (rook on h1), loses the queen side (rook on
    // a2); Black's a8 rook was removed again; the word after the bad square is
    // not read; the last colour line decides the side to move.
    EXPECT_NE(out.find("3qk3/8/8/8/8/8/R7/4K2R b K -\n"), std::string::npos) << out;
}

}  // namespace

namespace {

// "trace N" writes every move the search makes down to ply N to trace.txt,
// a block per iteration, the replies indented under their move, null moves
// as "null". "tune" without a name does nothing at all.
TEST(ConsoleSearch, TraceWritesTheSearchTreeAndTuneWithoutANameIsSilent) {
    EngineProcess engine({"-c", "-hash", "1"});
    engine.send("tune\nbd\ntrace 2\ngo 4");
    ASSERT_GE(engine.wait_for("TB=0K\n\n", 20), 0) << engine.output();
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(10), 0);
    const std::string& out = engine.output();
    EXPECT_EQ(out.find(kStartBoard), 0u) << out;
    EXPECT_EQ(out.find(kStartBoard, 1), out.find_first_not_of('\n', kStartBoard.size())) << out;
    const std::string trace = engine.read_file("trace.txt");
    expect_in_order(trace, {"\n\nSEARCH DEPTH= 1\n( 1)", "\n\nSEARCH DEPTH= 4\n\n( 4)"});
    EXPECT_EQ(count_of(trace, "SEARCH DEPTH="), 4);
    EXPECT_TRUE(std::regex_search(trace, std::regex("\n\\( [1-4]\\)[a-h][1-8][a-h][1-8] "
                                                    "\\( [0-3]\\)[a-h][1-8][a-h][1-8] \n {9}\\( [0-3]\\)"
                                                    "[a-h][1-8][a-h][1-8] \n")))
        << trace.substr(0, 2000);
    EXPECT_NE(trace.find(")null "), std::string::npos);
    EXPECT_EQ(trace.find("\n                  "), std::string::npos);  // nothing below ply 2
}

TEST(ConsoleSearch, SearchesReportAndSelfPlayStopsWhenNoMoveIsLeft) {
    EngineProcess engine({"-c", "-hash", "1"});
    engine.send("fen 6k1/5ppp/8/8/8/8/8/R5K1 w - -\ndepth 3\nmv");
    ASSERT_GE(engine.wait_for("TB=0K\n\n", 20), 0) << engine.output();
    EXPECT_NE(engine.output().find("\nPly= 0, Clock= 5.00s  Target time= 5.00s\n"), std::string::npos);
    EXPECT_TRUE(std::regex_search(
        engine.output(),
        std::regex("move= a1a8, time= [0-9.]+, score= 9998, nodes= [0-9]+, nps= [0-9]+K ebf= [0-9.]+\n"
                   "Hash fill= [0-9.]+%, Hash hits: main= [0-9.]+%, pawn= [0-9.]+%, eval= [0-9.]+%, TB=0K\n\n")))
        << engine.output();
    // "mv" leaves the position alone; "self" plays the mate, then Black has no move.
    std::size_t from = engine.output().size();
    engine.send("self");
    ASSERT_GE(engine.wait_for("move= null", 20, from), 0) << engine.output().substr(from);
    EXPECT_NE(engine.output().find("R5k1/5ppp/8/8/8/8/8/6K1 b - -\n", from), std::string::npos);
    from = engine.output().size();
    engine.send("go\nbd");  // analysis of a position without moves ends at once
    ASSERT_GE(engine.wait_for("move= null", 20, from), 0);
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(10), 0);
}

}  // namespace
