// Console commands, driven through the engine's standard input with -c.

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "tests/shell/engine_process.h"

namespace {

const char* const kStartBoard =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\n"
    " r n b q k b n r\n"
    " o o o o o o o o\n"
    " - + - + - + - +\n"
    " + - + - + - + -\n"
    " - + - + - + - +\n"
    " + - + - + - + -\n"
    " P P P P P P P P\n"
    " R N B Q K B N R\n"
    "white\n";

// Runs a whole console script and returns everything printed.
std::string run_console(const std::string& script, int* status = nullptr) {
    EngineProcess engine({"-c", "-hash", "1"});
    engine.send(script);
    engine.close_input();
    int code = engine.wait_exit(30);
    if (status) *status = code;
    return engine.output();
}

std::size_t count_of(const std::string& text, const std::string& needle) {
    std::size_t count = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1))
        ++count;
    return count;
}

TEST(Console, EmptyBoardIsPrintedExactly) {
    int status = -1;
    std::string out = run_console("fen 8/8/8/8/8/8/8/8 w - -\nbd\nquit", &status);
    EXPECT_EQ(status, 0);
    const std::string empty_board =
        "8/8/8/8/8/8/8/8 w - -\n"
        " - + - + - + - +\n"
        " + - + - + - + -\n"
        " - + - + - + - +\n"
        " + - + - + - + -\n"
        " - + - + - + - +\n"
        " + - + - + - + -\n"
        " - + - + - + - +\n"
        " + - + - + - + -\n"
        "white\n";
    EXPECT_EQ(out.find(kStartBoard), 0u) << out;
    EXPECT_EQ(count_of(out, empty_board), 2u) << out;
}

TEST(Console, GarbageFensNeverCrash) {
    std::string script;
    for (const char* fen : {"", "x", "99999999999/////////// b KQkq z9", "KKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKKK",
                            "pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp w",
                            "8/8/8/8 w KQkq e9 12 99", "rnbqkbnr/pppppppp w - a", "/ / / /",
                            "8/8/8/8/8/8/8/8 b - -"}) {
        script += "fen ";
        script += fen;
        script += "\nbd\nperft 2\nev\nswap\nundo\n]\n";
    }
    int status = -1;
    std::string out = run_console(script + "bd\nnew\nbd\nquit", &status);
    EXPECT_EQ(status, 0) << out;
    EXPECT_NE(out.rfind(kStartBoard), std::string::npos);
}

TEST(Console, PerftReportsNodesTimeAndSpeed) {
    std::string out = run_console("perft 3\nperft\nperft -4\nquit");
    std::regex line("visited 8902 nodes in [0-9]+\\.[0-9]{3} seconds, nps= [0-9]+\n");
    EXPECT_TRUE(std::regex_search(out, line)) << out;
    EXPECT_EQ(count_of(out, "visited 0 nodes"), 2u) << out;
}

TEST(Console, TakeBackReplayAndJump) {
    std::string out = run_console(
        "undo\n]\n"           // nothing to take back or replay: no output
        "e2e4\ne7e5\nNf3\n"   // three moves in different notations
        "undo\n[\n"           // two taken back
        "]\n"                 // replays e7e5
        "jump 0\njump 99\n"   // back to the start, then forward through all three
        "undo\nd2d4\n]\n"     // a new move cuts the replay chain: "]" does nothing
        "quit");
    const std::string after_e4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n";
    const std::string after_e5 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6\n";
    const std::string after_nf3 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n";
    const std::string after_d4 = "rnbqkbnr/pppp1ppp/8/4p3/3PP3/8/PPP2PPP/RNBQKBNR b KQkq d3\n";
    // Start board; then boards after e4, e5, Nf3, undo (e5), [ (e4), ] (e5),
    // jump 0 (start), jump 99 (Nf3), undo (e5), d4; the last "]" prints nothing.
    std::size_t at = out.find(kStartBoard);
    ASSERT_EQ(at, 0u) << out;
    EXPECT_NE(out.find("1. move e2e4\n"), std::string::npos);
    for (const std::string& expected : {after_e4, after_e5, after_nf3, after_e5, after_e4,
                                        std::string("1... move e7e5\n"), after_e5,
                                        std::string(kStartBoard), after_nf3, after_e5, after_d4}) {
        std::size_t next = out.find(expected, at + 1);
        ASSERT_NE(next, std::string::npos) << "missing in order: " << expected << "\n" << out;
        at = next;
    }
    EXPECT_EQ(out.find(" move ", out.find(after_d4)), std::string::npos) << out;
    EXPECT_EQ(count_of(out, "rnbqkbnr/"), 11u) << out;
}

TEST(Console, MovesAreRefusedOnceTheHistoryIsFull) {
    std::string script;
    const char* shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < 700; ++i) {
        script += shuffle[i % 4];
        script += '\n';
    }
    int status = -1;
    std::string out = run_console(script + "undo\nf6g8\nquit", &status);
    EXPECT_EQ(status, 0);
    // Move 672 is the last one taken; of the rest only White's are moves of
    // the side to move (Black's fail to parse and print nothing).
    EXPECT_EQ(count_of(out, "the game history is full"), 7u);
    EXPECT_EQ(count_of(out, "337. move"), 0u);
    // After a take-back there is room for one move again.
    std::size_t last_refusal = out.rfind("the game history is full");
    EXPECT_EQ(count_of(out.substr(0, last_refusal), "336. move f6g8\n"), 1u);
    EXPECT_NE(out.find("336. move f6g8\n", last_refusal), std::string::npos);
}

TEST(Console, CommandsWithoutAToolSayNotAvailable) {
    std::string out = run_console("book\nmkbook\nquit");
    EXPECT_NE(out.find("book is not available"), std::string::npos);
    EXPECT_NE(out.find("mkbook is not available"), std::string::npos);
}

TEST(Console, LevelPrintsTheTimeControl) {
    std::string out = run_console("level 40 5:00 0\nlevel 0 90 1.5\nquit");
    EXPECT_NE(out.find("set level to 40 moves in 300.00 seconds, inc 0.00\n"), std::string::npos);
    EXPECT_NE(out.find("set level to 0 moves in 90.00 seconds, inc 1.50\n"), std::string::npos);
}

}  // namespace

namespace {

// Runs a console script in an engine whose directory holds the given files.
std::string run_with_files(const std::vector<std::pair<std::string, std::string>>& files,
                           const std::string& script, std::string* saved = nullptr) {
    EngineProcess engine({"-c", "-hash", "1"});
    for (const auto& [name, content] : files) {
        FILE* f = std::fopen((engine.directory() + "/" + name).c_str(), "w");
        if (f) {
            std::fputs(content.c_str(), f);
            std::fclose(f);
        }
    }
    engine.send(script);
    engine.close_input();
    EXPECT_EQ(engine.wait_exit(30), 0);
    if (saved) *saved = engine.read_file("tmp.pgn");
    return engine.output();
}

TEST(ConsoleFiles, SaveAppendsOneGamePerCallAndKeepsThePosition) {
    std::string saved;
    std::string out = run_with_files({}, "e2e4\ne7e5\nO-O\nNf3\nNc6\nundo\nsave\nsave\n]\nquit", &saved);
    EXPECT_EQ(saved, "[Event \"Unknown\"]\ne4 e5 Nf3 \n\n[Event \"Unknown\"]\ne4 e5 Nf3 \n\n");
    // The taken-back move can still be replayed after saving.
    EXPECT_NE(out.find("2... move b8c6\n"), std::string::npos) << out;
}

TEST(ConsoleFiles, LoadPicksAGameByNumberOrByText) {
    const std::string pgn =
        "[Event \"first\"]\n[White \"Ann\"]\n\n1. e4 {a comment\nover two lines} e5 2. Nf3 1-0\n\n"
        "[Event \"second\"]\n[White \"Bob\"]\n\n1. d4 d5 2. c4 dxc4 1/2-1/2\n\n"
        "[Event \"third\"]\n\n1. e4 Ke7 Qh5 0-1\n";
    std::string out = run_with_files({{"games.pgn", pgn}},
                                     "load games.pgn 2\nload games.pgn Ann\nload games.pgn third\n"
                                     "load missing.pgn\nquit");
    EXPECT_NE(out.find("loading games.pgn, tag 2\n\nrnbqkbnr/ppp1pppp/8/8/2pP4/8/PP2PPPP/RNBQKBNR w KQkq -\n"),
              std::string::npos) << out;
    EXPECT_NE(out.find("loading games.pgn, tag Ann\n\nrnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n"),
              std::string::npos) << out;
    EXPECT_NE(out.find("can't parse move 'Ke7'\n"), std::string::npos) << out;
    // A file that cannot be opened leaves the position as it was.
    EXPECT_NE(out.find("loading missing.pgn, tag \n\nrnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n"),
              std::string::npos) << out;
}

TEST(ConsoleFiles, GetFindsAPositionByItsId) {
    const std::string epd =
        "; a comment naming id \"WAC.001\"\n"
        "4k3/8/8/8/8/8/8/4K2R w K - bm O-O; id \"WAC.001\";\n"
        "8/8/8/8/8/8/8/K6k b - - id \"WAC.002\";\n";
    std::string out = run_with_files({{"test.epd", epd}}, "get WAC.002\nget nothing\nquit");
    EXPECT_NE(out.find("8/8/8/8/8/8/8/K6k b - - id \"WAC.002\";\n8/8/8/8/8/8/8/K6k b - -\n"),
              std::string::npos) << out;
}

TEST(ConsoleFiles, EditorKeepsOnlyCastlingRightsItsPiecesSupport) {
    std::string out = run_with_files(
        {}, "edit\n#\nw Ke1 Rh1 Ra2\nb Ke8 Ra8 xa8 Qd8 Zz9 Qa1\n.\nquit");
    EXPECT_NE(out.find("\n\n\n.                    end edit\n#                    clear board\n"),
              std::string::npos) << out;
    // White keeps its king side (rook on h1), loses the queen side (rook on
    // a2); Black's a8 rook was removed again; the word after the bad square is
    // not read; the last colour line decides the side to move.
    EXPECT_NE(out.find("3qk3/8/8/8/8/8/R7/4K2R b K -\n"), std::string::npos) << out;
}

}  // namespace
