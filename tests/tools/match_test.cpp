// The self-play match: the score line, games that end at once (stalemate,
// mate, adjudication, the fifty-move rule, repetition), and the real binary
// playing a few fast games whose PGN record must replay legally and agree
// with its own results.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "search/search.h"
#include "tests/shell/engine_process.h"
#include "tests/tools/tool_fixture.h"
#include "tools/match.h"

namespace {

TEST(MatchScoreLine, MarginAndMark) {
    const struct {
        MatchTally tally;
        const char* line;
    } cases[] = {
        {{201, 125, 76, 0}, " 201 games,  125  76   0  0.622 (+/- 0.108) *"},
        {{200, 124, 76, 0}, " 200 games,  124  76   0  0.620 (+/- 0.108)  "},  // too few games
        {{201, 100, 91, 10}, " 201 games,  100  91  10  0.522 (+/- 0.108)  "},
        {{300, 100, 200, 0}, " 300 games,  100 200   0  0.333 (+/- 0.088) *"},
        {{8000, 4100, 3900, 0}, "8000 games,  4100 3900   0  0.512 (+/- 0.017)  "},
        {{1, 0, 0, 1}, "   1 games,    0   0   1  0.500 (+/- 2.487)  "},
    };
    char line[96];
    for (const auto& c : cases) {
        format_score_line(c.tally, line, sizeof line);
        EXPECT_STREQ(line, c.line);
    }
}

class MatchGames : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        players[0] = players[1] = params;
        limits.max_depth = 4;
        hash_mode = 0;
    }

    // Plays from the position; the game's plies as "move score" texts.
    std::vector<std::string> play(const char* fen, int fifty_count = 0) {
        parse_fen(thread_table[0]->pos, fen);
        thread_table[0]->pos.fifty_count = static_cast<uint8_t>(fifty_count);
        EXPECT_TRUE(play_match_game(*game, players, kWhite));
        std::vector<std::string> plies;
        char move[kMoveTextSize];
        for (int i = 0; i < game->count; ++i)
            plies.push_back(std::string(move_to_text(game->plies[i].move, move)) + " " +
                            std::to_string(game->plies[i].score));
        return plies;
    }

    std::string pgn_of(int number, int player1_side) const {
        std::FILE* out = std::tmpfile();
        write_match_game(out, *game, number, player1_side);
        std::rewind(out);
        char text[512] = {};
        (void)!std::fread(text, 1, sizeof text - 1, out);
        std::fclose(out);
        return text;
    }

    EngineParams players[2];
    std::unique_ptr<MatchGame> game = std::make_unique<MatchGame>();
};

TEST_F(MatchGames, GamesEndByTheRules) {
    // Stalemate: a draw with no move.
    EXPECT_EQ(play("7k/5Q2/6K1/8/8/8/8/8 b - -"), (std::vector<std::string>{"null 0"}));
    EXPECT_EQ(game->result, kOtherResult);
    // Mated: the side to move loses.
    EXPECT_EQ(play("7k/6Q1/6K1/8/8/8/8/8 b - -"), (std::vector<std::string>{"null -9999"}));
    EXPECT_EQ(game->result, kWhiteWon);
    // A score beyond 1100 ends the game at once; the move is recorded, not played.
    ASSERT_EQ(play("4k3/8/8/8/8/8/8/3QK3 w - -").size(), 1u);
    EXPECT_GT(game->plies[0].score, 1100);
    EXPECT_EQ(game->result, kWhiteWon);
    EXPECT_EQ(thread_table[0]->history_count, 0);
    ASSERT_EQ(play("4k3/8/8/8/8/8/8/3QK3 b - -").size(), 1u);
    EXPECT_EQ(game->result, kWhiteWon);
    // The fifty-move rule: after one more quiet move the next ply finds a draw.
    const std::vector<std::string> fifty = play("r3k3/8/8/8/8/8/8/4K2R w - -", 99);
    ASSERT_EQ(fifty.size(), 2u);
    EXPECT_EQ(fifty[1], "null 0");
    EXPECT_EQ(game->result, kOtherResult);
    EXPECT_EQ(thread_table[0]->history_count, 1);

    // The PGN form: Black's moves indented and ending the line; no move is "a1a1".
    const MatchPly& first = game->plies[0];
    char white_move[32];
    std::snprintf(white_move, sizeof white_move, "%s%s {%0.2f/%d}", square_names[move_from(first.move)],
                  square_names[move_to(first.move)], first.score / 100.0, first.depth);
    EXPECT_EQ(pgn_of(7, kBlack), "[Event selfplay]\n[Game 7]\n[White \"Player2\"]\n[Black \"Player1\"]\n"
                                 "[Result \"1/2-1/2\"]\n" + std::string(white_move) + "   a1a1 {0.00/0}\n\n\n");
    play("7k/5Q2/6K1/8/8/8/8/8 b - -");
    const std::string stalemate = pgn_of(8, kWhite);
    EXPECT_EQ(stalemate.substr(stalemate.find("[Black")), "[Black \"Player2\"]\n[Result \"1/2-1/2\"]\n   a1a1 {0.00/1}\n\n\n");
}

TEST_F(MatchGames, RepetitionAndLengthDraws) {
    Position& pos = thread_table[0]->pos;
    parse_fen(pos, kStartFen);
    const char* knights[] = {"Nf3", "Nf6", "Ng1", "Ng8"};
    for (int i = 0; i < 8; ++i) {
        Move move = kNoMove;
        ASSERT_TRUE(parse_move(pos, knights[i % 4], &move));
        make_move(pos, move);
        EXPECT_EQ(drawn_by_rule(pos), i == 7) << i;  // the start position a third time
    }
    EXPECT_EQ(play_match_game(*game, players, kWhite), true);
    EXPECT_EQ(game->count, 1);
    EXPECT_EQ(game->plies[0].move, kNoMove);

    // A game the history can hold no more of is drawn with its move unplayed.
    while (thread_table[0]->history_count < kGameHistoryLimit - 2) {
        Move move = kNoMove;
        ASSERT_TRUE(parse_move(pos, knights[thread_table[0]->history_count % 4], &move));
        make_move(pos, move);
    }
    pos.fifty_count = 0;  // no repetition or fifty-move draw can end it first
    EXPECT_EQ(play_match_game(*game, players, kWhite), true);
    EXPECT_EQ(game->count, 3);
    EXPECT_NE(game->plies[2].move, kNoMove);
    EXPECT_EQ(game->result, kOtherResult);
    EXPECT_EQ(thread_table[0]->history_count, kGameHistoryLimit);
}

// ---- the real binary ----

const std::string kBookLine = "1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 6. Re1 b5 7. Bb3 d6";
const std::string kBookMoves[12] = {"e2e4", "e7e5", "g1f3", "b8c6", "f1b5", "a7a6",
                                    "b5a4", "g8f6", "e1g1", "f8e7", "f1e1", "b7b5"};

// The piece-square tables the engine prints ("sp") as settings-file lines.
std::string default_tables() {
    EngineProcess engine({"-c", "-nolog"});
    engine.send("sp");
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(30), 0);
    const char* pieces[] = {"Pawn", "Knight", "Bishop", "Rook", "Queen", "King"};
    const char* keys[] = {"pawn", "knight", "bishop", "rook", "queen", "king"};
    std::string file;
    for (int piece = 0; piece < 6; ++piece) {
        for (int phase = 0; phase < 2; ++phase) {
            const std::string title = std::string(pieces[piece]) + (phase ? "Ending\n" : "Opening\n");
            std::size_t at = engine.output().find(title);
            if (at == std::string::npos) return "";
            at += title.size();
            file += std::string("PST_") + keys[piece] + (phase ? "_en\n" : "_op\n");
            for (int row = 0; row < 8; ++row) {
                const std::size_t end = engine.output().find('\n', at) + 1;
                file += engine.output().substr(at, end - at);
                at = end;
            }
        }
    }
    return file;
}

// The legal move from `from` to `to`, promotions ordered queen first.
std::vector<Move> moves_between(Position& pos, int from, int to) {
    MoveEntry list[kMaxMoves];
    generate_all(pos, list);
    std::vector<Move> found;
    for (const MoveEntry* e = list; e->move != kMoveListEnd; ++e)
        if (move_from(e->move) == from && move_to(e->move) == to && is_legal(pos, pos.side_to_move, e->move))
            found.insert((e->move & kPromoteQueen) ? found.begin() : found.end(), e->move);
    return found;
}

struct RecordedPly {
    int from, to, score, depth;
};

// Replays plies [i, end) from the position; the last one ended the game and
// must be legal or "a1a1". A promotion is tried as a queen first.
bool replays(Position& pos, const std::vector<RecordedPly>& plies, std::size_t i) {
    if (i + 1 == plies.size()) {
        return (plies[i].from == 0 && plies[i].to == 0) || !moves_between(pos, plies[i].from, plies[i].to).empty();
    }
    for (Move move : moves_between(pos, plies[i].from, plies[i].to)) {
        make_move(pos, move);
        const bool rest = replays(pos, plies, i + 1);
        unmake_move(pos);
        if (rest) return true;
    }
    return false;
}

int square_of(const std::string& name) { return (name[0] - 'a') + 8 * (name[1] - '1'); }

// A working directory holding "test1.rc" before the engine starts in it.
struct MatchDirectory {
    explicit MatchDirectory(const std::string& settings) {
        char pattern[] = "/tmp/vorn-match-XXXXXX";
        if (mkdtemp(pattern)) path = pattern;
        std::ofstream(path + "/test1.rc") << settings;
    }
    // Builds "vorn.opn" from the games with the engine's "mkbook".
    void build_book(const std::string& games) const {
        std::ofstream(path + "/book.pgn") << games;
        EngineProcess engine({"-c", "-nolog"}, path);
        engine.send("mkbook");
        engine.send("quit");
        EXPECT_EQ(engine.wait_exit(30), 0);
        EXPECT_EQ(std::rename((path + "/book.opn").c_str(), (path + "/vorn.opn").c_str()), 0);
    }
    ~MatchDirectory() { (void)!std::system(("rm -rf '" + path + "'").c_str()); }
    std::string path;
};

std::size_t count_of(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

TEST(MatchProcess, FastGamesReplayLegallyAndAQuitLeavesWholeGames) {
    const std::string tables = default_tables();
    ASSERT_FALSE(tables.empty());
    {
        MatchDirectory place("knight_value 300 300\n");  // no tables: unusable
        EngineProcess engine({"-nolog", "-match", "games.pgn"}, place.path);
        ASSERT_EQ(engine.wait_exit(30), 0);
        EXPECT_NE(engine.output().find("file vorn.rc contains invalid PST\nCan't open file test1.rc\n\n"),
                  std::string::npos);
        EXPECT_EQ(engine.output().find("Starting match"), std::string::npos);
    }
    std::string games;
    {
        MatchDirectory place("# Player 1: junk lines and lighter knights\nknight_value = 300, 300\n"
                             "[junk] = = ,,\n\xff\xfe garbage\n" + tables);
        // A book of one line, drawn in 20 games: a candidate at every ply.
        std::string book_games;
        for (int i = 0; i < 20; ++i) book_games += "[Event \"b\"]\n[Result \"1/2-1/2\"]\n\n" + kBookLine + " 1/2-1/2\n\n";
        place.build_book(book_games);
        EngineProcess engine({"-nolog", "-d", "2", "-match", "games.pgn"}, place.path);
        ASSERT_GT(engine.wait_for("   3 games,", 120), 0) << engine.output();
        engine.send("quit");
        ASSERT_EQ(engine.wait_exit(60), 0);
        EXPECT_NE(engine.output().find("loaded parameters from test1.rc\n\nStarting match...\n"),
                  std::string::npos);
        games = engine.read_file("games.pgn");
        // Every game printed was written whole, and no other.
        EXPECT_EQ(count_of(games, "[Event selfplay]\n"), count_of(engine.output(), " games,  "));
        EXPECT_EQ(games.substr(games.size() - 3), "}\n\n");
    }

    // Every game replays from the start position and its result follows from
    // its last ply.
    engine_up(1);
    Position& pos = thread_table[0]->pos;
    std::istringstream in(games);
    std::string word, result;
    std::vector<RecordedPly> plies;
    int checked = 0;
    auto check_game = [&] {
        if (plies.empty()) return;
        parse_fen(pos, kStartFen);
        EXPECT_TRUE(replays(pos, plies, 0)) << "game " << checked + 1;
        // The first 12 plies come from the book (depth 0), the rest from a search.
        for (std::size_t i = 0; i < plies.size(); ++i) {
            const std::string move = std::string(square_names[plies[i].from]) + square_names[plies[i].to];
            if (i < 12) {
                EXPECT_EQ(move + "/" + std::to_string(plies[i].depth), kBookMoves[i] + "/0");
            } else if (i + 1 < plies.size()) {
                EXPECT_GT(plies[i].depth, 0) << i;
            }
        }
        const RecordedPly& last = plies.back();
        const bool white_moved_last = plies.size() % 2 == 1;
        const char* expected = last.score > 1100    ? (white_moved_last ? "1-0" : "0-1")
                               : last.score < -1100 ? (white_moved_last ? "0-1" : "1-0")
                                                    : "1/2-1/2";
        EXPECT_EQ(result, expected) << "game " << checked + 1;
        ++checked;
        plies.clear();
    };
    while (in >> word) {
        if (word == "[Event") {
            check_game();
        } else if (word == "[Result") {
            in >> result;
            result = result.substr(1, result.find('"', 1) - 1);
        } else if (word.size() == 4 && word[0] >= 'a' && word[0] <= 'h') {
            std::string annotation;
            in >> annotation;  // {score/depth}
            plies.push_back({square_of(word.substr(0, 2)), square_of(word.substr(2)),
                             static_cast<int>(std::lround(std::atof(annotation.c_str() + 1) * 100)),
                             std::atoi(annotation.c_str() + annotation.find('/') + 1)});
        }
    }
    check_game();
    EXPECT_GE(checked, 3);
}

}  // namespace
