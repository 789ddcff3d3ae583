// Console commands, driven through the engine's standard input with -c.

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/shell/engine_process.h"

namespace vorn {

namespace {

const std::string kStartBoard =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\n"
    " r n b q k b n r\n o o o o o o o o\n"
    " - + - + - + - +\n + - + - + - + -\n - + - + - + - +\n + - + - + - + -\n"
    " P P P P P P P P\n R N B Q K B N R\nwhite\n";

// Expects the texts to appear in this order.
void expect_in_order(const std::string& out, const std::vector<std::string>& texts) {
    std::size_t at = 0;
    for (const std::string& text : texts) {
        std::size_t next = out.find(text, at);
        ASSERT_NE(next, std::string::npos) << "missing in order: " << text << "\n" << out;
        at = next + 1;
    }
}

// Console scripts run to the end of their input: what the output must show
// in order, what it must not show, and a file the script writes.
TEST(Console, Scripts) {
    std::string garbage;
    for (const std::string& fen : std::vector<std::string>{"", "x", "99999999999/////////// b KQkq z9", std::string(40, 'K'),
                                  std::string(70, 'p'), "8/8/8/8 w KQkq e9 12 99", "/ / / /",
                                  "QQQQQQQQ/QQQQQQQQ/8/8/8/8/qqqqqqqq/K6k w - -", "kK6/pP6/8/8/8/8/8/8 w - -",
                                  "PPPPPPPP/8/8/8/8/8/8/pppppppp w - -", "4k3/PPPPPPPP/8/8/8/8/pppppppp/4K3 b - -",
                                  "k7/8/8/8/8/8/8/7P w - -", "rnbq1bnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1BNR w - -",
                                  "8/8/8/8/8/8/8/8 b - -"})
        garbage += "fen " + fen + "\nbd\nperft 2\nev\nswap\nundo\n]\ngo 2\nmv\n";
    const std::string full_history = repeat(175, "g1f3\ng8f6\nf3g1\nf6g8\n");
    const std::string e4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n";
    const std::string e5 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6\n";
    const std::string nf3 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n";
    const std::string d4 = "rnbqkbnr/pppp1ppp/8/4p3/3PP3/8/PPP2PPP/RNBQKBNR b KQkq d3\n";
    const std::string games =
        "[Event \"first\"]\n[White \"Ann\"]\n\n1. e4 {a comment\nover two lines} e5 2. Nf3 1-0\n\n"
        "[Event \"second\"]\n\n1. d4 d5 2. c4 dxc4 1/2-1/2\n\n[Event \"third\"]\n\n1. e4 Ke7 Qh5 0-1\n";
    const struct {
        const char* what;
        std::string script;
        std::vector<std::string> in_order, absent;
        std::string file, content;  // a file written by the script, exactly
    } cases[] = {
        {"malformed positions are survived", garbage + "\x01\xff\nmove\njump -5\nlevel x y z\nnew",
         {"8/8/8/8/8/8/8/8 b - -", kStartBoard}, {}, "", ""},
        {"perft and level", "perft 3\nperft\nlevel 40 5:00 0\nlevel 0 90 1.5",
         {"visited 8902 nodes in ", "visited 0 nodes", "set level to 40 moves in 300.00 seconds, inc 0.00\n",
          "set level to 0 moves in 90.00 seconds, inc 1.50\n"}, {}, "", ""},
        // Nothing to take back or replay at first; three moves in different
        // notations; two taken back, one replayed; perft keeps the moves for
        // "]"; back to the start and forward again; a new move ends the replay.
        {"take back, replay and jump", "undo\n]\ne2e4\ne7e5\nNf3\nundo\n[\n]\nperft 2\njump 0\njump 99\nundo\nd2d4\n]",
         {kStartBoard, "1. move e2e4\n", e4, e5, "2. move Nf3\n", nf3, e5, e4, "1... move e7e5\n", e5, kStartBoard,
          nf3, e5, d4}, {" move "}, "", ""},
        // Move 672 is the last one taken; after a take-back there is room again.
        {"a full history refuses moves", full_history + "undo\nf6g8",
         {"336. move f6g8\n", "the game history is full", "336. move f6g8\n"}, {"337. move"}, "", ""},
        {"save", "e2e4\ne7e5\nNf3\nNc6\nundo\nsave\nsave\n]", {"2... move b8c6\n"}, {}, "tmp.pgn",
         "[Event \"Unknown\"]\ne4 e5 Nf3 \n\n[Event \"Unknown\"]\ne4 e5 Nf3 \n\n"},
        {"load and get", "load games.pgn 2\nload games.pgn Ann\nload games.pgn third\nload none.pgn\nget X.2\nget nothing",
         {"loading games.pgn, tag 2\n\nrnbqkbnr/ppp1pppp/8/8/2pP4/8/PP2PPPP/RNBQKBNR w KQkq -\n",
          "loading games.pgn, tag Ann\n\nrnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n",
          "can't parse move 'Ke7'\n",  // a file that cannot be opened is named; the position stays
          "loading none.pgn, tag \n\ncannot read none.pgn: No such file or directory\n"
          "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n",
          "8/8/8/8/8/8/8/K6k b - - id \"X.2\";\n8/8/8/8/8/8/8/K6k b - -\n", "8/8/8/8/8/8/8/K6k b - -\n"},
         {}, "", ""},
        // The king side stays (rook on h1), the queen side goes (rook on a2);
        // the a8 rook is removed again; the word after a bad square is not
        // read; the last colour line decides the side to move.
        {"the editor", "edit\n#\nw Ke1 Rh1 Ra2\nb Ke8 Ra8 xa8 Qd8 Zz9 Qa1\n.",
         {"\n\n\n.                    end edit\n#                    clear board\n", "3qk3/8/8/8/8/8/R7/4K2R b K -\n"},
         {}, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ScratchDirectory dir;
        write_file("games.pgn", games);
        write_file("test.epd", "; id \"X.2\"\n8/8/8/8/8/8/8/K6k b - - id \"X.2\";\n");
        const std::string out = run_engine({"-c", "-hash", "1"}, c.script + "\nquit", dir.path);
        expect_in_order(out, c.in_order);
        const std::size_t last = out.rfind(c.in_order.back());
        for (const std::string& text : c.absent) EXPECT_EQ(out.find(text, last + 1), std::string::npos) << out;
        EXPECT_EQ(c.file.empty() ? c.content : read_file(c.file), c.content);
    }
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
    EXPECT_EQ(engine.quit(), 0);
}

}  // namespace

}  // namespace vorn
