// The self-play match: the score line, games that end by the rules, and the
// real binary's fast games, whose record must replay legally.

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

namespace vorn {

namespace {

class MatchGames : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        players[0] = players[1] = params;
        limits.max_depth = 4;
        hash_mode = 0;
    }

    // Plays on from the game position; the plies as "move/score", a searched
    // move's score beyond 1100 as "won" and below -1100 as "lost".
    std::string play() {
        EXPECT_TRUE(play_match_game(*game, players, kWhite));
        std::string plies;
        char text[kMoveTextSize];
        for (int i = 0; i < game->count; ++i) {
            const MatchPly& ply = game->plies[i];
            const bool decided = ply.move != kNoMove && std::abs(ply.score) > 1100;
            plies += std::string(i ? " " : "") + move_to_text(ply.move, text) + "/" +
                     (decided ? (ply.score > 0 ? "won" : "lost") : std::to_string(ply.score));
        }
        return plies;
    }

    std::string pgn_of(int number, int player1_side) const {
        std::FILE* out = std::fopen("game.pgn", "w");
        write_match_game(out, *game, number, player1_side);
        std::fclose(out);
        return read_file("game.pgn");
    }

    EngineParams players[2];
    std::unique_ptr<MatchGame> game = std::make_unique<MatchGame>();
};

TEST_F(MatchGames, GamesEndByTheRules) {
    // The last ply recorded ends the game and is not played.
    const struct {
        const char* fen;
        int fifty_count;
        const char* plies;  // a pattern
        int result;
        const char* pgn_end;
    } cases[] = {
        {"7k/5Q2/6K1/8/8/8/8/8 b - -", 0, "null/0", kOtherResult,  // stalemate
         "[Result \"1/2-1/2\"]\n   a1a1 {0.00/1}\n\n\n"},
        {"7k/6Q1/6K1/8/8/8/8/8 b - -", 0, "null/-9999", kWhiteWon, ""},  // mated
        {"4k3/8/8/8/8/8/8/3QK3 w - -", 0, "[a-h1-8]{4}/won", kWhiteWon, ""},  // adjudicated
        {"4k3/8/8/8/8/8/8/3QK3 b - -", 0, "[a-h1-8]{4}/lost", kWhiteWon, ""},
        // The fifty-move rule: after one more quiet move the next ply finds a draw.
        {"r3k3/8/8/8/8/8/8/4K2R w - -", 99, "[a-h1-8]{4}/-?\\d+ null/0", kOtherResult, "}   a1a1 {0.00/0}\n\n\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        parse_fen(thread_table[0]->pos, c.fen);
        thread_table[0]->pos.fifty_count = static_cast<uint8_t>(c.fifty_count);
        const std::string plies = play();
        EXPECT_TRUE(std::regex_match(plies, std::regex(c.plies))) << plies;
        EXPECT_EQ(game->result, c.result);
        EXPECT_EQ(thread_table[0]->history_count, game->count - 1);
        // Player 1 as Black: Black's moves are indented and end the line.
        const std::string pgn = pgn_of(7, kBlack);
        EXPECT_EQ(pgn.rfind("[Event selfplay]\n[Game 7]\n[White \"Player2\"]\n[Black \"Player1\"]\n", 0), 0u);
        EXPECT_TRUE(pgn.ends_with(c.pgn_end)) << pgn;
    }
}

TEST_F(MatchGames, RepetitionAndLengthDraws) {
    Position& pos = thread_table[0]->pos;
    parse_fen(pos, kStartFen);
    const char* knights[] = {"Nf3", "Nf6", "Ng1", "Ng8"};
    auto play_knights = [&](int until) {
        while (thread_table[0]->history_count < until) {
            Move move = kNoMove;
            ASSERT_TRUE(parse_move(pos, knights[thread_table[0]->history_count % 4], &move));
            make_move(pos, move);
        }
    };
    play_knights(8);  // the start position a third time
    EXPECT_EQ(play(), "null/0");

    // A game the history can hold no more of is drawn with its move unplayed.
    play_knights(kGameHistoryLimit - 2);
    pos.fifty_count = 0;  // no repetition or fifty-move draw can end it first
    EXPECT_TRUE(std::regex_match(play(), std::regex("([a-h1-8]{4}/-?\\d+ ?){3}")));
    EXPECT_EQ(game->result, kOtherResult);
    EXPECT_EQ(thread_table[0]->history_count, kGameHistoryLimit);
}

// ---- the real binary ----

// Twelve complete piece-square tables of zeros as settings-file lines.
std::string flat_tables() {
    std::string file;
    for (const char* piece : {"pawn", "knight", "bishop", "rook", "queen", "king"})
        for (const char* phase : {"_op\n", "_en\n"}) {
            file += std::string("PST_") + piece + phase;
            for (int square = 0; square < 64; ++square) file += square % 8 == 7 ? "0\n" : "0 ";
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
        const std::string out = run_engine({"-nolog", "-match", "games.pgn"}, "", scratch_.path);
        EXPECT_NE(out.find(says), std::string::npos) << out;
        EXPECT_EQ(out.find("Starting match"), std::string::npos);
        write_file("test1.rc", "knight_value 300 300\n");
    }
    write_file("test1.rc", "# Player 1: junk lines, lighter knights, flat tables\nknight_value = 300, 300\n"
                           "[junk] = = ,,\n\xff\xfe garbage\n" + flat_tables());
    // The games are not written over a settings file; without a book the
    // match says once that every opening repeats.
    const std::string player1 = read_file("test1.rc");
    EXPECT_NE(run_engine({"-nolog", "-match", "test1.rc"}, "", scratch_.path)
                  .find("test1.rc is a settings file; the games are not written over it\n"), std::string::npos);
    EXPECT_EQ(read_file("test1.rc"), player1);
    EngineProcess bookless({"-nolog", "-d", "1", "-match", "games.pgn"}, scratch_.path);
    EXPECT_GT(bookless.wait_for("Starting match...\nno book: every game repeats its opening for each colour\n", 30), 0);
    ASSERT_EQ(bookless.quit(60), 0);

    // A book of one line, drawn in 20 games: a candidate at every ply.
    write_file("book.pgn", repeat(20, "[Result \"1/2-1/2\"]\n1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 "
                                      "6. Re1 b5 7. Bb3 d6\n"));
    printed_by(build_book);
    ASSERT_EQ(std::rename("book.opn", "vorn.opn"), 0);

    EngineProcess engine({"-nolog", "-d", "2", "-match", "games.pgn"}, scratch_.path);
    ASSERT_GT(engine.wait_for("   3 games,", 120), 0) << engine.output();
    ASSERT_EQ(engine.quit(60), 0);
    EXPECT_NE(engine.output().find("loaded parameters from test1.rc\n\nStarting match...\n   1 games,"), std::string::npos)
        << engine.output().substr(0, 300);
    const std::string games = read_file("games.pgn");

    // Every game printed was written whole, and nothing else: the games cover
    // the file and each ends after its last ply (a Black move brings its own
    // newline). Each replays from the start position and its result follows
    // from its last ply.
    const std::regex game_pattern("\\[Event selfplay\\]\n[\\s\\S]*?\\[Result \"([^\"]*)\"\\]\n([^\\[]*)");
    const std::regex ply_pattern("([a-h][1-8])([a-h][1-8]) \\{(-?[0-9.]+)/([0-9]+)\\}");
    auto square = [](const std::string& name) { return (name[0] - 'a') + 8 * (name[1] - '1'); };
    Position& pos = thread_table[0]->pos;
    int checked = 0;
    std::size_t covered = 0;
    for (std::sregex_iterator g(games.begin(), games.end(), game_pattern), end; g != end; ++g, ++checked) {
        SCOPED_TRACE("game " + std::to_string(checked + 1));
        EXPECT_EQ(std::size_t(g->position()), covered);
        covered += g->length();
        const std::string moves = (*g)[2];
        std::vector<RecordedPly> plies;
        for (std::sregex_iterator p(moves.begin(), moves.end(), ply_pattern); p != end; ++p)
            plies.push_back({square((*p)[1]), square((*p)[2]), int(std::lround(std::stod((*p)[3]) * 100)),
                             std::stoi((*p)[4])});
        ASSERT_GT(plies.size(), 12u);
        EXPECT_EQ(moves.substr(moves.rfind('}')), plies.size() % 2 == 1 ? "}\n\n" : "}\n\n\n");
        // The first 12 plies come from the book (depth 0), the rest from a search.
        EXPECT_EQ(moves.substr(0, 30), "e2e4 {0.00/0}   e7e5 {0.00/0}\n");
        for (std::size_t i = 0; i + 1 < plies.size(); ++i) EXPECT_EQ(plies[i].depth > 0, i >= 12) << i;
        parse_fen(pos, kStartFen);
        EXPECT_TRUE(replays(pos, plies, 0));
        // The score of the last ply, from White's side, gives the result.
        const int last = plies.size() % 2 == 1 ? plies.back().score : -plies.back().score;
        EXPECT_EQ((*g)[1].str(), last > 1100 ? "1-0" : last < -1100 ? "0-1" : "1/2-1/2");
    }
    EXPECT_GE(checked, 3);
    EXPECT_EQ(covered, games.size());
    std::size_t printed = 0;
    for (std::size_t at = 0; (at = engine.output().find(" games,  ", at)) != std::string::npos; ++at) ++printed;
    EXPECT_EQ(std::size_t(checked), printed);
}

}  // namespace

}  // namespace vorn
