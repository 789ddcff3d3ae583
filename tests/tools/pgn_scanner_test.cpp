// The PGN scanner on small games written here: comment scores in every form,
// the records of each mode worked out by hand from a known game, mode 2's
// output taken by the EPD runner, and files that are broken in every way a
// game file can be.

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "tests/tools/tool_fixture.h"
#include "tools/epd_runner.h"
#include "tools/pgn_scanner.h"

namespace vorn {

namespace {

// Morphy's opera game, 33 plies; the mate "Rd8#" does not parse (only "+"
// is taken off a move), so every replay ends before it.
const std::vector<std::string> kOperaGame = {
    "e4",   "e5",   "Nf3",   "d6",   "d4",    "Bg4",  "dxe5",  "Bxf3",  "Qxf3", "dxe5", "Bc4",
    "Nf6",  "Qb3",  "Qe7",   "Nc3",  "c6",    "Bg5",  "b5",    "Nxb5",  "cxb5", "Bxb5+", "Nbd7",
    "O-O-O", "Rd8", "Rxd7",  "Rxd7", "Rd1",   "Qe6",  "Bxd7+", "Nxd7",  "Qb8+", "Nxb8", "Rd8#"};

// The opera game in PGN with each move's comment giving the score in centipawns from
// the mover's view, as engines write them; no comment for kNoScore, one
// without a score for kUnreadableScore.
std::string game_text(const std::vector<int>& scores, const char* result = "1-0") {
    const std::vector<std::string>& moves = kOperaGame;
    std::string text = std::string("[Event \"test\"]\n[Round \"1\"]\n[Result \"") + result + "\"]\n\n";
    char comment[32];
    for (std::size_t i = 0; i < moves.size(); ++i) {
        if (i % 2 == 0) text += std::to_string(i / 2 + 1) + ". ";
        text += moves[i] + " ";
        if (i < scores.size() && scores[i] != kNoScore) {
            std::snprintf(comment, sizeof comment, "{%+0.2f/9 0.1s} ", scores[i] / 100.0);
            text += scores[i] == kUnreadableScore ? "{what a move} " : comment;
        }
        if (i % 8 == 7) text += "\n";
    }
    return text + result + "\n\n";
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1)
        lines.push_back(text.substr(at, end - at));
    return lines;
}

std::vector<std::string> best_moves(const std::string& epd) {
    static const std::regex bm(" bm ([^;]*);");
    std::vector<std::string> moves;
    for (std::sregex_iterator m(epd.begin(), epd.end(), bm), end; m != end; ++m) moves.push_back((*m)[1]);
    return moves;
}

class PgnScanner : public ToolTest {
protected:
    static std::string scan(const std::string& pgn, int mode) {
        write_file("games.pgn", pgn);
        return printed_by([mode] { scan_pgn("games.pgn", mode); });
    }
};

TEST(CommentScore, EveryFormEnginesWrite) {
    const struct {
        const char* text;
        bool after_black;
        int score;
    } cases[] = {
        {"+0.35/12 0.5s", false, 35},
        {"+0.29/12", false, 28},  // 0.29 x 100 lies just below 29
        {"-M5/20", false, -9000},
        {"+M3/7 0.2s", true, 9000},
        {"book", true, 0},
        {"eval 40, depth 10", true, -40},  // White's view, turned for Black
        {"eval -25, depth 10", false, -25},
        {"0.35/12", false, kUnreadableScore},  // no sign
        {"+/-", false, kUnreadableScore},  // an annotator's sign, not a number
        {"+inf/1", false, kUnreadableScore},
        {"a good move", false, kUnreadableScore},
        {"+99999999/1", false, 29000},  // kept clear of the two markers
        {"eval -99999999999", false, -29000},
    };
    for (const auto& c : cases) EXPECT_EQ(comment_score(c.text, c.after_black), c.score) << c.text;
}

TEST_F(PgnScanner, AnnotatedCopyMarksLevelMovesTheOpponentsScoresPunish) {
    // Move 7 (Black's Bxf3) lets the opponent's scores rise by 50 and 60.
    // Black's scores are shown from White's side; a move without a score or
    // with a comment that gives none shows none.
    std::vector<int> scores(kOperaGame.size(), 0);
    scores[8] = 50;
    scores[10] = 60;
    scores[29] = -40;
    scores[30] = kUnreadableScore;
    scores[31] = kNoScore;
    const std::string mark = " ? rn1qkbnr/ppp2ppp/3p4/4P3/4P1b1/5N2/PPP2PPP/RNBQKB1R b KQkq -}";
    const struct {
        const char* result;
        bool marked;  // the mover of a won game's moves is never marked
    } cases[] = {{"1-0", true}, {"1/2-1/2", true}, {"0-1", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.result);
        EXPECT_EQ(scan(game_text(scores, c.result), 1), "games= 1, positions= 0\n\n");
        const std::string copy = read_file("tmp.pgn");
        const std::vector<std::string> lines = lines_of(copy);
        ASSERT_EQ(lines.size(), 4u + 32u + 2u);  // tags and the game's number, 32 moves, two ends
        EXPECT_EQ(lines[2], "[Tag \"game_1\"]");
        EXPECT_EQ(lines[11], "      Bxf3    {  0.00" + std::string(c.marked ? mark : "}"));
        EXPECT_EQ(lines[12], "  5.  Qxf3    {  0.50}");
        EXPECT_EQ(lines[33] + lines[34] + lines[35], "      Nxd7    {  0.40} 16.  Qb8+    {}      Nxb8    {}");
        EXPECT_EQ(copy.find(" ? ") == copy.rfind(" ? ") && copy.find(" ? ") != std::string::npos, c.marked);
    }
}

TEST_F(PgnScanner, EpdModesWriteRecordsTheRunnerAndTheTunerTake) {
    std::vector<int> scores(kOperaGame.size(), 10);
    scores[4] = 600;  // mode 3 stops after the first move scored above 500
    const std::string game = game_text(scores);

    // Mode 2: not the first 20 plies, not the last six moves, not in check
    // (a byte-order mark before the first tag changes nothing).
    EXPECT_EQ(scan("\xEF\xBB\xBF" + game, 2), "games= 1, positions= 6\n\n");
    const std::string epd = read_file("tmp.epd");
    EXPECT_EQ(best_moves(epd), (std::vector<std::string>{"Bxb5+", "O-O-O", "Rd8", "Rxd7", "Rxd7", "Rd1"}));
    EXPECT_EQ(lines_of(epd)[1],
              "r3kb1r/p2nqppp/5n2/1B2p1B1/4P3/1Q6/PPP2PPP/R3K2R w KQkq - bm O-O-O; ce 10; c9 \"1-0\";");
    EXPECT_EQ(epd.back(), '\n');
    // The runner (and so the tuner) takes them as they are.
    std::snprintf(shell.epd_file, sizeof shell.epd_file, "tmp.epd");
    limits.max_depth = 0;
    const EpdRunTotals totals = run_epd_totals(kEpdQuiet);
    EXPECT_EQ(totals.positions, 6);
    EXPECT_GT(totals.error_count, 0);

    EXPECT_EQ(scan(game, 3), "games= 1, positions= 5\n\n");
    EXPECT_EQ(best_moves(read_file("tmp.epd")), (std::vector<std::string>{"e4", "e5", "Nf3", "d6", "d4"}));
    EXPECT_EQ(lines_of(read_file("tmp.epd"))[4],
              "rnbqkbnr/ppp2ppp/3p4/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - bm d4; ce 600;");

    // Mode 2 stops at a move without a score.
    scores[22] = kNoScore;
    scan(game_text(scores), 2);
    EXPECT_EQ(best_moves(read_file("tmp.epd")), (std::vector<std::string>{"Bxb5+"}));

    // Mode 4 takes rook endings with one pawn only; mode 0 only counts.
    EXPECT_EQ(scan(game + game, 4), "games= 2, positions= 0\n\n");
    EXPECT_EQ(scan(game + game, 0), "games= 2, positions= 0\n\n");
    EXPECT_EQ(read_file("tmp.epd"), "\n");
}

TEST_F(PgnScanner, BrokenFilesNeverCrash) {
    std::string junk;
    for (int i = 0; i < 3000; ++i) junk += static_cast<char>((i * 37 + 11) % 255 + 1);
    const std::string shuffle = repeat(250, "Nf3 Nf6 Ng1 Ng8 ");  // knights out and back: legal for ever
    std::string one_line = "[Event \"x\"]\n" + std::string(9000, ' ');  // movetext of 10,000 characters
    for (const std::string& move : kOperaGame) one_line += move + " ";

    const struct {
        std::string pgn;
        int lines;  // move lines of the annotated copy, or -1 when any number will do
    } cases[] = {
        {"[Event \"x\"]\n" + junk, -1},
        {"}} e4 {+0.5/1 e5\n[Event \"x\"]\n[White \"Åke Ström – ♞\"]\n\ne4 e5 }}{{ Nf3\n", 3},
        {std::string(10000, 'a') + "\n" + std::string(10000, '{') + "\n", -1},
        {"[" + std::string(10000, 'E') + "vent \"x\"]\n" + std::string(10000, '}') + "\n", -1},
        {"[Event \"x\"]\n" + shuffle.substr(0, 2400) + "*\n", 600},
        {"[Event \"x\"]\n" + shuffle + "*\n", 800},  // the rest exceeds the history
        {one_line + "1-0\n", 32},
        {"[%clk 0:01]\ne4 {[%eval 0.17] [%clk 0:03]} e5 {[%eval 0.2]}\n", -1},
        {"e4 (e3 d5) e5 ( {\n", -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pgn.substr(0, 60));
        for (int mode : {0, 2, 3, 4, 1}) scan(c.pgn, mode);
        int move_lines = 0;
        for (const std::string& line : lines_of(read_file("tmp.pgn")))
            move_lines += line.find("  {") != std::string::npos && line[0] != '[';
        if (c.lines >= 0) {
            EXPECT_EQ(move_lines, c.lines);
        }
    }
    // A missing input and an input that is the output are named; the input
    // is kept. An output that cannot be written: silence.
    EXPECT_EQ(printed_by([] { scan_pgn("no-such.pgn", 2); }), "cannot read no-such.pgn: No such file or directory\n");
    for (const char* name : {"tmp.pgn", "tmp.epd"}) {
        write_file(name, game_text({}));
        EXPECT_EQ(printed_by([name] { scan_pgn(name, name[4] == 'p' ? 1 : 3); }),
                  std::string(name) + " is the scanner's output file; read from a copy of it\n");
        EXPECT_EQ(read_file(name), game_text({}));
    }
    ASSERT_EQ(std::system("rm -f tmp.epd && mkdir tmp.epd"), 0);
    EXPECT_EQ(scan(game_text({}), 2), "");
}

}  // namespace

}  // namespace vorn
