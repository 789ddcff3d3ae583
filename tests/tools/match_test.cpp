// The self-play match: the score line, games that end at once (stalemate,
// mate, adjudication, the fifty-move rule, repetition), and the real binary
// playing a few fast games whose PGN record must replay legally and agree
// with its own results.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "book/book_builder.h"
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
    EXPECT_EQ(pgn_of(8, kWhite), "[Event selfplay]\n[Game 8]\n[White \"Player1\"]\n[Black \"Player2\"]\n"
                                 "[Result \"1/2-1/2\"]\n   a1a1 {0.00/1}\n\n\n");
    // Mated: the side to move loses.
    EXPECT_EQ(play("7k/6Q1/6K1/8/8/8/8/8 b - -"), (std::vector<std::string>{"null -9999"}));
    EXPECT_EQ(game->result, kWhiteWon);
    // A score beyond 1100 either way ends the game at once; the move is
    // recorded, not played.
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
    // Black's moves are indented and end the line.
    const std::string pgn = pgn_of(7, kBlack);
    EXPECT_EQ(pgn.rfind("[Event selfplay]\n[Game 7]\n[White \"Player2\"]\n[Black \"Player1\"]\n", 0), 0u);
    EXPECT_TRUE(pgn.ends_with("}   a1a1 {0.00/0}\n\n\n")) << pgn;
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
    EXPECT_TRUE(play_match_game(*game, players, kWhite));
    EXPECT_EQ(game->count, 1);
    EXPECT_EQ(game->plies[0].move, kNoMove);

    // A game the history can hold no more of is drawn with its move unplayed.
    while (thread_table[0]->history_count < kGameHistoryLimit - 2) {
        Move move = kNoMove;
        ASSERT_TRUE(parse_move(pos, knights[thread_table[0]->history_count % 4], &move));
        make_move(pos, move);
    }
    pos.fifty_count = 0;  // no repetition or fifty-move draw can end it first
    EXPECT_TRUE(play_match_game(*game, players, kWhite));
    EXPECT_EQ(game->count, 3);
    EXPECT_NE(game->plies[2].move, kNoMove);
    EXPECT_EQ(game->result, kOtherResult);
    EXPECT_EQ(thread_table[0]->history_count, kGameHistoryLimit);
}

// ---- the real binary ----

const char* const kBookMoves[12] = {"e2e4", "e7e5", "g1f3", "b8c6", "f1b5", "a7a6",
                                    "b5a4", "g8f6", "e1g1", "f8e7", "f1e1", "b7b5"};

// The default piece-square tables as settings-file lines.
std::string default_tables() {
    const char* names[] = {"pawn", "knight", "bishop", "rook", "queen", "king"};
    std::string file;
    for (int piece = 1; piece <= 6; ++piece) {
        for (int phase = 0; phase < 2; ++phase) {
            file += std::string("PST_") + names[piece - 1] + (phase ? "_en\n" : "_op\n");
            for (int rank = 7; rank >= 0; --rank) {
                for (int f = 0; f < 8; ++f) {
                    const ScorePair& v = params_backup.pst[piece][8 * rank + f];
                    file += std::to_string(phase ? v.en : v.op) + " ";
                }
                file += "\n";
            }
        }
    }
    return file;
}

struct RecordedPly {
    int from, to, score, depth;
};

// Replays plies [i, end) from the position; the last one ended the game and
// must be legal or "a1a1". A move without its promotion letter is tried as
// every legal move between its squares.
bool replays(Position& pos, const std::vector<RecordedPly>& plies, std::size_t i) {
    const RecordedPly& ply = plies[i];
    if (i + 1 == plies.size() && ply.from == 0 && ply.to == 0) return true;
    MoveEntry list[kMaxMoves];
    generate_all(pos, list);
    for (const MoveEntry* e = list; e->move != kMoveListEnd; ++e) {
        if (move_from(e->move) != ply.from || move_to(e->move) != ply.to) continue;
        if (!is_legal(pos, pos.side_to_move, e->move)) continue;
        if (i + 1 == plies.size()) return true;
        make_move(pos, e->move);
        const bool rest = replays(pos, plies, i + 1);
        unmake_move(pos);
        if (rest) return true;
    }
    return false;
}

using MatchProcess = ToolTest;

TEST_F(MatchProcess, FastGamesReplayLegallyAndAQuitLeavesWholeGames) {
    // Player 1's settings missing, then without piece-square tables: no match.
    for (const char* says : {"Can't open file test1.rc\n\n",
                             "file vorn.rc contains invalid PST\nCan't open file test1.rc\n\n"}) {
        EngineProcess engine({"-nolog", "-match", "games.pgn"}, directory_);
        ASSERT_EQ(engine.wait_exit(30), 0);
        EXPECT_NE(engine.output().find(says), std::string::npos) << engine.output();
        EXPECT_EQ(engine.output().find("Starting match"), std::string::npos);
        write_file("test1.rc", "knight_value 300 300\n");
    }
    write_file("test1.rc", "# Player 1: junk lines and lighter knights\nknight_value = 300, 300\n"
                           "[junk] = = ,,\n\xff\xfe garbage\n" + default_tables());
    // A book of one line, drawn in 20 games: a candidate at every ply.
    std::string book_games;
    for (int i = 0; i < 20; ++i)
        book_games += "[Result \"1/2-1/2\"]\n1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 6. Re1 b5 7. Bb3 d6\n";
    write_file("book.pgn", book_games);
    printed_by(build_book);
    ASSERT_EQ(std::rename("book.opn", "vorn.opn"), 0);

    EngineProcess engine({"-nolog", "-d", "2", "-match", "games.pgn"}, directory_);
    ASSERT_GT(engine.wait_for("   3 games,", 120), 0) << engine.output();
    engine.send("quit");
    ASSERT_EQ(engine.wait_exit(60), 0);
    EXPECT_NE(engine.output().find("loaded parameters from test1.rc\n\nStarting match...\n"), std::string::npos);
    const std::string games = read_file("games.pgn");
    EXPECT_TRUE(games.ends_with("}\n\n"));

    // Every game printed was written whole, and no other; each replays from
    // the start position and its result follows from its last ply.
    const std::regex game_pattern("\\[Event selfplay\\]\n[\\s\\S]*?\\[Result \"([^\"]*)\"\\]\n([^\\[]*)");
    const std::regex ply_pattern("([a-h][1-8])([a-h][1-8]) \\{(-?[0-9.]+)/([0-9]+)\\}");
    auto square = [](const std::string& name) { return (name[0] - 'a') + 8 * (name[1] - '1'); };
    Position& pos = thread_table[0]->pos;
    int checked = 0;
    for (std::sregex_iterator g(games.begin(), games.end(), game_pattern), end; g != end; ++g, ++checked) {
        SCOPED_TRACE("game " + std::to_string(checked + 1));
        const std::string moves = (*g)[2];
        std::vector<RecordedPly> plies;
        for (std::sregex_iterator p(moves.begin(), moves.end(), ply_pattern); p != end; ++p)
            plies.push_back({square((*p)[1]), square((*p)[2]), int(std::lround(std::stod((*p)[3]) * 100)),
                             std::stoi((*p)[4])});
        ASSERT_GT(plies.size(), 12u);
        parse_fen(pos, kStartFen);
        EXPECT_TRUE(replays(pos, plies, 0));
        // The first 12 plies come from the book (depth 0), the rest from a search.
        for (std::size_t i = 0; i + 1 < plies.size(); ++i) {
            const std::string move = std::string(square_names[plies[i].from]) + square_names[plies[i].to];
            if (i < 12) {
                EXPECT_EQ(move + "/" + std::to_string(plies[i].depth), kBookMoves[i] + std::string("/0"));
            } else {
                EXPECT_GT(plies[i].depth, 0) << i;
            }
        }
        const RecordedPly& last = plies.back();
        const bool white_moved_last = plies.size() % 2 == 1;
        const char* expected = last.score > 1100    ? (white_moved_last ? "1-0" : "0-1")
                               : last.score < -1100 ? (white_moved_last ? "0-1" : "1-0")
                                                    : "1/2-1/2";
        EXPECT_EQ((*g)[1].str(), expected);
    }
    EXPECT_GE(checked, 3);
    std::size_t printed = 0;
    for (std::size_t at = 0; (at = engine.output().find(" games,  ", at)) != std::string::npos; ++at) ++printed;
    EXPECT_EQ(std::size_t(checked), printed);
}

}  // namespace
